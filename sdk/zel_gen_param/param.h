// ZelGenParam::Param: what all parameters share.
#pragma once

#include "../zel_err.h"
#include "../zel_export.h"

#include <cstdint>

namespace ZelGenParam
{

class Node;

/// Values of Param::GetType.
constexpr std::int32_t kTypeUnknown = 0;
constexpr std::int32_t kTypeInt = 1;
constexpr std::int32_t kTypeFloat = 2;
constexpr std::int32_t kTypeString = 3;
constexpr std::int32_t kTypeEnum = 4;
constexpr std::int32_t kTypeEnumEntry = 5;
constexpr std::int32_t kTypeBoolean = 6;
constexpr std::int32_t kTypeCommand = 7;
constexpr std::int32_t kTypeCategory = 8;

/// Values of Param::GetVisibility.
constexpr std::int32_t kVisBeginner = 0;
constexpr std::int32_t kVisExpert = 1;
constexpr std::int32_t kVisGuru = 2;
constexpr std::int32_t kVisInvisible = 3;
constexpr std::int32_t kVisUndefined = 4;

/// One parameter (GenICam feature). Owned by its array. Callable from any thread. After the device
/// is closed the texts stay as they were and everything else answers no, 0, null or a code.
///
/// Texts are UTF-8, owned by the parameter, never null. Descriptive texts live as long as the
/// parameter; value texts until the same thread reads the next value text of this parameter.
class ZEL_API Param
{
public:
    /// Slot 0. One of the kType values.
    virtual std::int32_t GetType() = 0;
    /// Slots 1 to 4: feature name and texts for people.
    virtual const char* GetName() = 0;
    virtual const char* GetToolTip() = 0;
    virtual const char* GetDescription() = 0;
    virtual const char* GetDisplayName() = 0;
    /// Slot 5. One of the kVis values.
    virtual std::int32_t GetVisibility() = 0;
    /// Slot 6. True when the value may be kept by a reader until something invalidates it.
    virtual bool IsValueCached() = 0;
    /// Slot 7. True when the feature is implemented and available now.
    virtual bool IsAvailable() = 0;
    /// Slot 8. True when it can be written now: available, not locked, access mode with writing.
    virtual bool IsWritable() = 0;
    /// Slot 9. True when it can be read now.
    virtual bool IsReadable() = 0;
    /// Slot 10. True when the value belongs into a configuration file.
    virtual bool IsStreamable() = 0;
    /// Slot 11. True when a user interface that shows this level (a kVis value) shows the feature.
    virtual bool IsVisible(std::int64_t level) = 0;
    virtual void reserved12() {}
    virtual void reserved13() {}
    /// Slot 14. The node behind the parameter; owned by the parameter.
    virtual Node* GetNode() = 0;
    virtual void reserved15() {}
    virtual void reserved16() {}
    virtual void reserved17() {}
    virtual void reserved18() {}
    virtual void reserved19() {}
    virtual void reserved20() {}
    virtual void reserved21() {}
    virtual void reserved22() {}

protected:
    ~Param() = default;
};

} // namespace ZelGenParam
