// Python types of the generic side of parameters: any parameter, its node, categories.
#pragma once

#include "genparam/param_wrapper.h"

namespace ZelGenParamPy
{

/// The wrapper that arrays and categories hand out for a parameter: PyGenParamCategory for a
/// category, PyGenParam for anything else, None for null.
Py::Object wrapByType(ZelGenParam::Param* param);

/// Any parameter, seen through what all have in common.
class PyGenParam : public ParamWrapper<PyGenParam, ZelGenParam::Param>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();

private:
    Py::Object GetNode();
    Py::Object IsVisible(const Py::Tuple& args);
};

/// The node behind a parameter.
class PyGenParamNode : public ParamWrapper<PyGenParamNode, ZelGenParam::Node>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();
};

/// The node map behind an array: a handle without methods.
class PyGenParamNodeMap : public ParamWrapper<PyGenParamNodeMap, ZelGenParam::NodeMap>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();
};

/// A folder of parameters.
class PyGenParamCategory : public ParamWrapper<PyGenParamCategory, ZelGenParam::Category>
{
public:
    using ParamWrapper::ParamWrapper;
    static void init_type();

private:
    Py::Object GetParamByIndex(const Py::Tuple& args);
};

} // namespace ZelGenParamPy
