// Python types of the scalar parameters: integer, float, boolean, string and command.
#pragma once

#include "genparam/param_wrapper.h"

namespace ZelGenParamPy
{

class PyGenParamBoolean : public ParamWrapper<PyGenParamBoolean, ZelGenParam::Boolean>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();
};

class PyGenParamInt : public ParamWrapper<PyGenParamInt, ZelGenParam::Int>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();
};

class PyGenParamFloat : public ParamWrapper<PyGenParamFloat, ZelGenParam::Float>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();
};

class PyGenParamString : public ParamWrapper<PyGenParamString, ZelGenParam::String>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();
};

/// Has no type and access methods.
class PyGenParamCommand : public ParamWrapper<PyGenParamCommand, ZelGenParam::Command>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();
};

} // namespace ZelGenParamPy
