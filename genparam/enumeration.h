// Python types of enumerations and their entries.
#pragma once

#include "genparam/param_wrapper.h"

namespace ZelGenParamPy
{

/// Its writers answer None, not False, when they cannot even try.
class PyGenParamEnum : public ParamWrapper<PyGenParamEnum, ZelGenParam::Enum>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();

private:
    Py::Object SetValue(const Py::Tuple& args);
    Py::Object SetValueStr(const Py::Tuple& args);
    Py::Object GetEnumEntryByIndex(const Py::Tuple& args);
};

class PyGenParamEnumEntry : public ParamWrapper<PyGenParamEnumEntry, ZelGenParam::EnumEntry>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();
};

} // namespace ZelGenParamPy
