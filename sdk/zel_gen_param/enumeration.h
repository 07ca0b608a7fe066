// ZelGenParam::Enum and ZelGenParam::EnumEntry.
#pragma once

#include "param.h"

namespace ZelGenParam
{

/// One entry of an enumeration. Owned by the enumeration.
class ZEL_API EnumEntry : public Param
{
public:
    /// Slot 23. The entry's integer value; `err` may be null.
    virtual std::int64_t GetValue(ZelCamErr* err) = 0;
    /// Slot 24. The entry's symbol, for example "Mono8".
    virtual const char* GetValueStr(ZelCamErr* err) = 0;

protected:
    ~EnumEntry() = default;
};

/// An enumeration. Entries come in the order of the camera's description; whether an entry can be
/// chosen now is told by its IsAvailable.
class ZEL_API Enum : public Param
{
public:
    /// Slot 23. Number of implemented entries, available or not; `err` may be null.
    virtual std::int32_t GetCount(ZelCamErr* err) = 0;
    /// Slot 24. Null past the last entry and for a negative index.
    virtual EnumEntry* GetEnumEntryByIndex(std::int64_t index) = 0;
    virtual void reserved25() {}
    virtual void reserved26() {}
    /// Slot 27. Integer value of the current entry.
    virtual std::int64_t GetValue(ZelCamErr* err) = 0;
    /// Slot 28. Symbol of the current entry.
    virtual const char* GetValueStr(ZelCamErr* err) = 0;
    /// Slots 29 and 30. Unknown entries give -40206, unavailable ones -40202.
    virtual ZelCamErr SetValue(std::int64_t value) = 0;
    virtual ZelCamErr SetValueStr(const char* symbol) = 0;

protected:
    ~Enum() = default;
};

} // namespace ZelGenParam
