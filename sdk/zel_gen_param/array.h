// ZelGenParam::Array: the parameters of a camera, a transport or an interface.
#pragma once

#include "../zel_err.h"
#include "../zel_export.h"

#include <cstdint>

namespace ZelGenParam
{

class Boolean;
class Category;
class Command;
class Enum;
class Float;
class Int;
class NodeMap;
class Param;
class String;

/// A set of parameters. Owned by the device or interface that hands it out. Callable from any
/// thread; one lock per node map orders the calls. Once its device is closed it answers every
/// question with a failure code until the device is opened again.
///
/// `err` receives 0 or a code and may be null. Codes: -40205 unknown name, -40203 wrong type,
/// -40202 access, -40204 range, -40206 unknown entry or invalid argument, -40201 broken
/// description, -40207 transport; codes of a GenTL producer (-1001 to -1022) pass through.
/// Value texts live until the same thread reads the next value text of the same parameter.
class ZEL_API Array
{
public:
    /// Slots 0 to 6: a parameter by name; the typed ones give -40203 for a parameter of another
    /// type.
    virtual Param* GetParam(const char* name, ZelCamErr* err) = 0;
    virtual Boolean* GetBoolean(const char* name, ZelCamErr* err) = 0;
    virtual Command* GetCommand(const char* name, ZelCamErr* err) = 0;
    virtual Enum* GetEnum(const char* name, ZelCamErr* err) = 0;
    virtual Float* GetFloat(const char* name, ZelCamErr* err) = 0;
    virtual Int* GetInt(const char* name, ZelCamErr* err) = 0;
    virtual String* GetString(const char* name, ZelCamErr* err) = 0;
    /// Slot 7. The root of the category tree.
    virtual Category* GetRootCategory(ZelCamErr* err) = 0;
    /// Slot 8. Handle of the node map.
    virtual NodeMap* GetNodeMap(ZelCamErr* err) = 0;
    /// Slots 9 and 10: all features in the order of the category tree, each once, categories
    /// included, the root left out. An index out of range gives -40005.
    virtual std::int32_t GetCount() = 0;
    virtual Param* GetParamByIndex(std::int64_t index, ZelCamErr* err) = 0;
    /// Slots 11 to 24: values by name. A reader that fails returns 0, false or an empty text.
    virtual ZelCamErr SetBooleanValue(const char* name, bool value) = 0;
    virtual bool GetBooleanValue(const char* name, ZelCamErr* err) = 0;
    virtual ZelCamErr SetEnumValueStr(const char* name, const char* symbol) = 0;
    virtual ZelCamErr SetEnumValue(const char* name, std::int64_t value) = 0;
    virtual const char* GetEnumValueStr(const char* name, ZelCamErr* err) = 0;
    virtual std::int64_t GetEnumValue(const char* name, ZelCamErr* err) = 0;
    virtual ZelCamErr SetFloatValue(const char* name, double value) = 0;
    virtual double GetFloatValue(const char* name, ZelCamErr* err) = 0;
    virtual ZelCamErr SetIntegerValue(const char* name, std::int64_t value) = 0;
    virtual std::int64_t GetIntegerValue(const char* name, ZelCamErr* err) = 0;
    virtual ZelCamErr SetStringValue(const char* name, const char* value) = 0;
    virtual const char* GetStringValue(const char* name, ZelCamErr* err) = 0;
    virtual ZelCamErr ExecuteCommand(const char* name) = 0;
    virtual bool IsCommandDone(const char* name, ZelCamErr* err) = 0;

protected:
    ~Array() = default;
};

} // namespace ZelGenParam
