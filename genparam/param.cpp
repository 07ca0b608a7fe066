#include "genparam/param.h"

namespace ZelGenParamPy
{

using ZelGenParam::Param;

namespace
{

/// Visibility of a wrapper without a parameter; no parameter has it.
constexpr std::int32_t kNoVisibility = 99;

} // namespace

Py::Object wrapByType(Param* param)
{
    if (param == nullptr) {
        return Py::None();
    }
    if (param->GetType() == ZelGenParam::kTypeCategory) {
        return binding::make<PyGenParamCategory>(dynamic_cast<ZelGenParam::Category*>(param));
    }
    return binding::make<PyGenParam>(param);
}

void PyGenParam::init_type()
{
    describe("PyGenParam");
    noargs<&PyGenParam::GetNode>("GetNode");
    noargs<&PyGenParam::ask<&Param::GetType, ZelGenParam::kTypeUnknown>>("GetType");
    noargs<&PyGenParam::askText<&Param::GetName>>("GetName");
    noargs<&PyGenParam::askText<&Param::GetToolTip>>("GetToolTip");
    noargs<&PyGenParam::askText<&Param::GetDescription>>("GetDescription");
    noargs<&PyGenParam::askText<&Param::GetDisplayName>>("GetDisplayName");
    noargs<&PyGenParam::ask<&Param::GetVisibility, kNoVisibility>>("GetVisibility");
    varargs<&PyGenParam::IsVisible>("IsVisible");
    noargs<&PyGenParam::ask<&Param::IsValueCached, false>>("IsValueCached");
    noargs<&PyGenParam::ask<&Param::IsAvailable, false>>("IsAvailable");
    noargs<&PyGenParam::ask<&Param::IsWritable, false>>("IsWritable");
    noargs<&PyGenParam::ask<&Param::IsReadable, false>>("IsReadable");
    noargs<&PyGenParam::ask<&Param::IsStreamable, false>>("IsStreamable");
}

Py::Object PyGenParam::GetNode()
{
    return param() != nullptr ? binding::makeOrNone<PyGenParamNode>(param()->GetNode())
                              : Py::None();
}

Py::Object PyGenParam::IsVisible(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "IsVisible not enough actual args\n"}) || param() == nullptr) {
        return Py::False();
    }
    return binding::toPython(param()->IsVisible(binding::toInt64(args[0])));
}

void PyGenParamNode::init_type()
{
    describe("PyGenParamNode");
    noargs<&PyGenParamNode::ask<&ZelGenParam::Node::IsFeature, false>>("IsFeature");
}

void PyGenParamNodeMap::init_type() { describe("PyGenParamNodeMap"); }

void PyGenParamCategory::init_type()
{
    describe("PyGenParamCategory");
    noargs<&PyGenParamCategory::ask<&Param::GetType, ZelGenParam::kTypeUnknown>>("GetType");
    noargs<&PyGenParamCategory::ask<&ZelGenParam::Category::GetCount, 0>>("GetCount");
    varargs<&PyGenParamCategory::GetParamByIndex>("GetParamByIndex");
}

Py::Object PyGenParamCategory::GetParamByIndex(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "GetParamByIndex not enough actual args\n"}) ||
        param() == nullptr) {
        return Py::None();
    }
    ZelCamErr error = ZelErr::kOk;
    Param* child = param()->GetParamByIndex(binding::toInt64(args[0]), &error);
    return error == ZelErr::kOk ? wrapByType(child) : Py::None();
}

} // namespace ZelGenParamPy
