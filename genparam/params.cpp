#include "genparam/params.h"

#include "genparam/enumeration.h"
#include "genparam/param.h"
#include "genparam/scalars.h"
#include "module/binding/constants.h"

namespace ZelGenParamPy
{

namespace
{

constexpr std::array<binding::Constant, 14> kCodes{{
    {"ParamUnknown", ZelGenParam::kTypeUnknown},
    {"ParamInt", ZelGenParam::kTypeInt},
    {"ParamFloat", ZelGenParam::kTypeFloat},
    {"ParamString", ZelGenParam::kTypeString},
    {"ParamEnum", ZelGenParam::kTypeEnum},
    {"ParamEnumEntry", ZelGenParam::kTypeEnumEntry},
    {"ParamBoolean", ZelGenParam::kTypeBoolean},
    {"ParamCommand", ZelGenParam::kTypeCommand},
    {"ParamCategory", ZelGenParam::kTypeCategory},
    {"VisBeginner", ZelGenParam::kVisBeginner},
    {"VisExpert", ZelGenParam::kVisExpert},
    {"VisGuru", ZelGenParam::kVisGuru},
    {"VisInvisible", ZelGenParam::kVisInvisible},
    {"VisUndefined", ZelGenParam::kVisUndefined},
}};

} // namespace

void PyGenParams::init_type()
{
    describe("PyGenParams");
    noargs<&PyGenParams::GetCount>("GetCount");
    varargs<&PyGenParams::GetParamByIndex>("GetParamByIndex");
    noargs<&PyGenParams::GetRootCategory>("GetRootCategory");
    varargs<&PyGenParams::GetParam>("GetParam");
    varargs<&PyGenParams::GetBoolean>("GetBoolean");
    varargs<&PyGenParams::GetBooleanValue>("GetBooleanValue");
    varargs<&PyGenParams::SetBooleanValue>("SetBooleanValue");
    varargs<&PyGenParams::GetInt>("GetInt");
    varargs<&PyGenParams::SetIntegerValue>("SetIntegerValue");
    varargs<&PyGenParams::GetIntegerValue>("GetIntegerValue");
    varargs<&PyGenParams::GetFloat>("GetFloat");
    varargs<&PyGenParams::SetFloatValue>("SetFloatValue");
    varargs<&PyGenParams::GetFloatValue>("GetFloatValue");
    varargs<&PyGenParams::GetCommand>("GetCommand");
    varargs<&PyGenParams::ExecuteCommand>("ExecuteCommand");
    varargs<&PyGenParams::IsCommandDone>("IsCommandDone");
    varargs<&PyGenParams::GetString>("GetString");
    varargs<&PyGenParams::GetStringValue>("GetStringValue");
    varargs<&PyGenParams::SetStringValue>("SetStringValue");
    varargs<&PyGenParams::GetEnum>("GetEnum");
    varargs<&PyGenParams::GetEnumValueStr>("GetEnumValueStr");
    varargs<&PyGenParams::GetEnumValue>("GetEnumValue");
    varargs<&PyGenParams::SetEnumValue>("SetEnumValue");
    varargs<&PyGenParams::SetEnumValueStr>("SetEnumValueStr");
    noargs<&PyGenParams::GetNodeMap>("GetNodeMap");
    noargs<&PyGenParams::GetLastError>("GetLastError");
}

binding::ConstantList PyGenParams::constants() { return binding::listOf(kCodes); }

template <class Value>
Py::Object PyGenParams::setByName(const Py::Tuple& args, const char* message,
                                  ZelCamErr (Array::*setter)(const char*, Value))
{
    if (binding::tooFew(args, {2, message}, lastError_)) {
        return Py::False();
    }
    const std::string name = binding::strOf(args[0]);
    const auto value = fromPython<typename Held<Value>::Type>(args[1]);
    if (array_ == nullptr) {
        return Py::False();
    }
    lastError_ = (array_->*setter)(name.c_str(), toSdk(value));
    return binding::toPython(lastError_ == ZelErr::kOk);
}

template <class Value>
Py::Object PyGenParams::getByName(const Py::Tuple& args, const char* message,
                                  Value (Array::*getter)(const char*, ZelCamErr*))
{
    if (binding::tooFew(args, {1, message}, lastError_) || array_ == nullptr) {
        return binding::noValue();
    }
    const std::string name = binding::strOf(args[0]);
    const Value value = (array_->*getter)(name.c_str(), &lastError_);
    return lastError_ == ZelErr::kOk ? binding::someValue(binding::toPython(value))
                                     : binding::noValue();
}

template <class Wrapper, class Sdk>
Py::Object PyGenParams::wrapByName(const Py::Tuple& args, const char* message,
                                   Sdk* (Array::*lookup)(const char*, ZelCamErr*))
{
    if (binding::tooFew(args, {1, message}, lastError_) || array_ == nullptr) {
        return Py::None();
    }
    const std::string name = binding::strOf(args[0]);
    Sdk* found = (array_->*lookup)(name.c_str(), &lastError_);
    return lastError_ == ZelErr::kOk ? binding::makeOrNone<Wrapper>(found) : Py::None();
}

Py::Object PyGenParams::GetCount()
{
    return binding::toPython(array_ != nullptr ? array_->GetCount() : 0);
}

Py::Object PyGenParams::GetParamByIndex(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "GetParamByIndex not enough actual args\n"}, lastError_) ||
        array_ == nullptr) {
        return Py::None();
    }
    const std::int64_t index = binding::toInt64(args[0]);
    ZelGenParam::Param* found = array_->GetParamByIndex(index, &lastError_);
    return lastError_ == ZelErr::kOk ? wrapByType(found) : Py::None();
}

Py::Object PyGenParams::GetRootCategory()
{
    if (array_ == nullptr) {
        return Py::None();
    }
    ZelGenParam::Category* root = array_->GetRootCategory(&lastError_);
    if (root == nullptr || lastError_ != ZelErr::kOk) {
        binding::reportFailure("Get root category error", lastError_);
        return Py::None();
    }
    return binding::make<PyGenParamCategory>(root);
}

Py::Object PyGenParams::GetParam(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "GetParamByIndex not enough actual args\n"}, lastError_) ||
        array_ == nullptr) {
        return Py::None();
    }
    ZelCamErr error = ZelErr::kOk;
    ZelGenParam::Param* found = array_->GetParam(binding::strOf(args[0]).c_str(), &error);
    return error == ZelErr::kOk ? wrapByType(found) : Py::None();
}

Py::Object PyGenParams::GetBoolean(const Py::Tuple& args)
{
    return wrapByName<PyGenParamBoolean>(args, "GetBoolean not enough actual args\n",
                                         &Array::GetBoolean);
}

Py::Object PyGenParams::GetBooleanValue(const Py::Tuple& args)
{
    return getByName(args, "GetBooleanValue not enough actual args\n", &Array::GetBooleanValue);
}

Py::Object PyGenParams::SetBooleanValue(const Py::Tuple& args)
{
    return setByName(args, "SetBooleanValue not enough actual args\n", &Array::SetBooleanValue);
}

Py::Object PyGenParams::GetInt(const Py::Tuple& args)
{
    return wrapByName<PyGenParamInt>(args, "GetInt not enough actual args\n", &Array::GetInt);
}

Py::Object PyGenParams::SetIntegerValue(const Py::Tuple& args)
{
    return setByName(args, "SetIntegerValue not enough actual args\n", &Array::SetIntegerValue);
}

Py::Object PyGenParams::GetIntegerValue(const Py::Tuple& args)
{
    return getByName(args, "GetIntegerValue not enough actual args\n", &Array::GetIntegerValue);
}

Py::Object PyGenParams::GetFloat(const Py::Tuple& args)
{
    return wrapByName<PyGenParamFloat>(args, "GetFloat not enough actual args\n", &Array::GetFloat);
}

Py::Object PyGenParams::SetFloatValue(const Py::Tuple& args)
{
    return setByName(args, "SetFloatValue not enough actual args\n", &Array::SetFloatValue);
}

Py::Object PyGenParams::GetFloatValue(const Py::Tuple& args)
{
    return getByName(args, "GetFloatValue not enough actual args\n", &Array::GetFloatValue);
}

Py::Object PyGenParams::GetCommand(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "GetCommand not enough actual args\n"}, lastError_) ||
        array_ == nullptr) {
        return Py::None();
    }
    const std::string name = binding::strOf(args[0]);
    ZelGenParam::Command* found = array_->GetCommand(name.c_str(), &lastError_);
    if (found == nullptr || lastError_ != ZelErr::kOk) {
        binding::reportFailure(("Get command(" + name + ") error").c_str(), lastError_);
        return Py::None();
    }
    return binding::make<PyGenParamCommand>(found);
}

Py::Object PyGenParams::ExecuteCommand(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "ExecuteCommand not enough actual args\n"}, lastError_)) {
        return Py::False();
    }
    const std::string name = binding::strOf(args[0]);
    if (array_ == nullptr) {
        return Py::False();
    }
    lastError_ = array_->ExecuteCommand(name.c_str());
    return binding::toPython(lastError_ == ZelErr::kOk);
}

Py::Object PyGenParams::IsCommandDone(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "IsCommandDone not enough actual args\n"}, lastError_) ||
        array_ == nullptr) {
        return binding::noValue();
    }
    const std::string name = binding::strOf(args[0]);
    const bool done = array_->IsCommandDone(name.c_str(), &lastError_);
    if (lastError_ != ZelErr::kOk) {
        binding::reportFailure("Is command done error", lastError_);
        return binding::noValue();
    }
    return binding::someValue(binding::toPython(done));
}

Py::Object PyGenParams::GetString(const Py::Tuple& args)
{
    return wrapByName<PyGenParamString>(args, "GetString not enough actual args\n",
                                        &Array::GetString);
}

Py::Object PyGenParams::GetStringValue(const Py::Tuple& args)
{
    return getByName(args, "GetStringValue not enough actual args\n", &Array::GetStringValue);
}

Py::Object PyGenParams::SetStringValue(const Py::Tuple& args)
{
    return setByName(args, "SetStringValue not enough actual args\n", &Array::SetStringValue);
}

Py::Object PyGenParams::GetEnum(const Py::Tuple& args)
{
    return wrapByName<PyGenParamEnum>(args, "GetEnum not enough actual args\n", &Array::GetEnum);
}

Py::Object PyGenParams::GetEnumValueStr(const Py::Tuple& args)
{
    return getByName(args, "GetStringValue not enough actual args\n", &Array::GetEnumValueStr);
}

Py::Object PyGenParams::GetEnumValue(const Py::Tuple& args)
{
    return getByName(args, "GetEnumValue not enough actual args\n", &Array::GetEnumValue);
}

Py::Object PyGenParams::SetEnumValue(const Py::Tuple& args)
{
    return setByName(args, "SetEnumValue not enough actual args\n", &Array::SetEnumValue);
}

Py::Object PyGenParams::SetEnumValueStr(const Py::Tuple& args)
{
    if (binding::tooFew(args, {2, "SetEnumValueStr not enough actual args\n"}, lastError_)) {
        return Py::False();
    }
    const std::string name = binding::toText(args[0]);
    const std::string symbol = binding::toText(args[1]);
    if (array_ == nullptr) {
        return Py::False();
    }
    lastError_ = array_->SetEnumValueStr(name.c_str(), symbol.c_str());
    return binding::toPython(lastError_ == ZelErr::kOk);
}

Py::Object PyGenParams::GetNodeMap()
{
    if (array_ == nullptr) {
        return binding::noValue();
    }
    ZelGenParam::NodeMap* nodeMap = array_->GetNodeMap(&lastError_);
    if (nodeMap == nullptr || lastError_ != ZelErr::kOk) {
        binding::reportFailure("Get node map error", lastError_);
        return binding::noValue();
    }
    return binding::someValue(binding::make<PyGenParamNodeMap>(nodeMap));
}

Py::Object PyGenParams::GetLastError() { return binding::toPython(lastError_); }

} // namespace ZelGenParamPy
