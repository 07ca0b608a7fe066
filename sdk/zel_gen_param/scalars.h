// The scalar parameters: Int, Float, Boolean, String, Command.
//
// `err` receives 0 or a code and may be null everywhere. A reader that fails returns 0, false or an
// empty text. A writer checks access, type and range before anything is written: -40202 not
// writable now, -40204 out of range or off the increment.
#pragma once

#include "param.h"

namespace ZelGenParam
{

class ZEL_API Int : public Param
{
public:
    /// Slot 23.
    virtual ZelCamErr SetValue(std::int64_t value) = 0;
    /// Slot 24.
    virtual std::int64_t GetValue(ZelCamErr* err) = 0;
    /// Slots 25 to 27: present range and step.
    virtual std::int64_t GetMin(ZelCamErr* err) = 0;
    virtual std::int64_t GetMax(ZelCamErr* err) = 0;
    virtual std::int64_t GetIncrement(ZelCamErr* err) = 0;

protected:
    ~Int() = default;
};

class ZEL_API Float : public Param
{
public:
    /// Slot 23. A NaN is refused with -40204.
    virtual ZelCamErr SetValue(double value) = 0;
    /// Slot 24.
    virtual double GetValue(ZelCamErr* err) = 0;
    /// Slots 25 and 26: present range.
    virtual double GetMin(ZelCamErr* err) = 0;
    virtual double GetMax(ZelCamErr* err) = 0;
    /// Slot 27. Unit as the camera's description gives it, possibly empty.
    virtual const char* GetUnit(ZelCamErr* err) = 0;

protected:
    ~Float() = default;
};

class ZEL_API Boolean : public Param
{
public:
    /// Slot 23.
    virtual ZelCamErr SetValue(bool value) = 0;
    /// Slot 24.
    virtual bool GetValue(ZelCamErr* err) = 0;

protected:
    ~Boolean() = default;
};

class ZEL_API String : public Param
{
public:
    /// Slot 23. The most bytes that a value may have; 2147483647 where there is no limit.
    virtual std::int32_t GetMaxLength(ZelCamErr* err) = 0;
    /// Slot 24.
    virtual const char* GetValue(ZelCamErr* err) = 0;
    /// Slot 25. A text longer than GetMaxLength is refused with -40204.
    virtual ZelCamErr SetValue(const char* value) = 0;

protected:
    ~String() = default;
};

class ZEL_API Command : public Param
{
public:
    /// Slot 23. Starts the command and returns; IsDone tells when it has ended.
    virtual ZelCamErr Execute() = 0;
    /// Slot 24.
    virtual bool IsDone(ZelCamErr* err) = 0;

protected:
    ~Command() = default;
};

} // namespace ZelGenParam
