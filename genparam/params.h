// Python type PyGenParams: a parameter array.
#pragma once

#include "module/binding/arguments.h"
#include "module/binding/wrapper.h"
#include "zel_gen_param_api.h"

namespace ZelGenParamPy
{

/// Wraps a parameter array of the SDK, borrowed from its device or interface. Parameter types and
/// visibilities are attributes. Every call into the SDK leaves its code in the last error, but for
/// GetParam and GetCount.
class PyGenParams : public binding::Wrapper<PyGenParams>
{
public:
    static void init_type();

    /// A null array makes every method answer with its failure value.
    explicit PyGenParams(ZelGenParam::Array* array) : array_(array) {}

    static binding::ConstantList constants();
    Py::Object attribute(const char* name) { return getattr_default(name); }

private:
    using Array = ZelGenParam::Array;

    Py::Object GetCount();
    Py::Object GetParamByIndex(const Py::Tuple& args);
    Py::Object GetRootCategory();
    Py::Object GetParam(const Py::Tuple& args);
    Py::Object GetBoolean(const Py::Tuple& args);
    Py::Object GetBooleanValue(const Py::Tuple& args);
    Py::Object SetBooleanValue(const Py::Tuple& args);
    Py::Object GetInt(const Py::Tuple& args);
    Py::Object SetIntegerValue(const Py::Tuple& args);
    Py::Object GetIntegerValue(const Py::Tuple& args);
    Py::Object GetFloat(const Py::Tuple& args);
    Py::Object SetFloatValue(const Py::Tuple& args);
    Py::Object GetFloatValue(const Py::Tuple& args);
    Py::Object GetCommand(const Py::Tuple& args);
    Py::Object ExecuteCommand(const Py::Tuple& args);
    Py::Object IsCommandDone(const Py::Tuple& args);
    Py::Object GetString(const Py::Tuple& args);
    Py::Object GetStringValue(const Py::Tuple& args);
    Py::Object SetStringValue(const Py::Tuple& args);
    Py::Object GetEnum(const Py::Tuple& args);
    Py::Object GetEnumValueStr(const Py::Tuple& args);
    Py::Object GetEnumValue(const Py::Tuple& args);
    Py::Object SetEnumValue(const Py::Tuple& args);
    Py::Object SetEnumValueStr(const Py::Tuple& args);
    Py::Object GetNodeMap();
    Py::Object GetLastError();

    /// Writes a value by name: True when the SDK took it. `message` is for too few arguments here
    /// and below.
    template <class Value>
    Py::Object setByName(const Py::Tuple& args, const char* message,
                         ZelCamErr (Array::*setter)(const char*, Value));
    /// Reads a value by name: (True, value) or (False, None).
    template <class Value>
    Py::Object getByName(const Py::Tuple& args, const char* message,
                         Value (Array::*getter)(const char*, ZelCamErr*));
    /// A typed wrapper by name, or None.
    template <class Wrapper, class Sdk>
    Py::Object wrapByName(const Py::Tuple& args, const char* message,
                          Sdk* (Array::*lookup)(const char*, ZelCamErr*));

    Array* array_;
    ZelCamErr lastError_ = ZelErr::kOk;
};

} // namespace ZelGenParamPy
