// What the wrappers of single parameters share: readers, flags and writers over an SDK object.
#pragma once

#include "module/binding/arguments.h"
#include "module/binding/convert.h"
#include "module/binding/wrapper.h"
#include "zel_gen_param_api.h"

#include <string>

namespace ZelGenParamPy
{

/// Converts an argument to the type of an SDK writer by the protocol of that type: int(), float(),
/// truth value or str().
template <class Value> Value fromPython(const Py::Object& object);
template <> inline std::int64_t fromPython(const Py::Object& object)
{
    return binding::toInt64(object);
}
template <> inline double fromPython(const Py::Object& object) { return binding::toDouble(object); }
template <> inline bool fromPython(const Py::Object& object) { return binding::toBool(object); }
template <> inline std::string fromPython(const Py::Object& object)
{
    return binding::strOf(object);
}

/// A converted argument as the SDK takes it. Texts live as long as the argument.
template <class Value> Value toSdk(Value value) { return value; }
inline const char* toSdk(const std::string& text) { return text.c_str(); }

/// The type in which an argument is held before it goes to an SDK writer.
template <class Value> struct Held {
    using Type = Value;
};
template <> struct Held<const char*> {
    using Type = std::string;
};

/// A wrapper over one parameter object of the SDK, borrowed from its array; null makes every method
/// answer with its failure value. Failures show in results only.
///
/// The members below are the bodies of methods; a wrapper names the SDK operation as the argument.
template <class Self, class Sdk> class ParamWrapper : public binding::Wrapper<Self>
{
public:
    explicit ParamWrapper(Sdk* param) : param_(param) {}

protected:
    /// (True, value), or (False, None) when the SDK cannot read it.
    template <auto reader> Py::Object read()
    {
        if (param_ == nullptr) {
            return binding::noValue();
        }
        ZelCamErr error = ZelErr::kOk;
        const auto value = (param_->*reader)(&error);
        return error == ZelErr::kOk ? binding::someValue(binding::toPython(value))
                                    : binding::noValue();
    }

    /// The plain answer of an SDK question; `fallback` without a parameter.
    template <auto question, auto fallback> Py::Object ask()
    {
        return binding::toPython(param_ != nullptr ? (param_->*question)() : fallback);
    }

    /// A text of the SDK; None without a parameter.
    template <auto question> Py::Object askText()
    {
        return param_ != nullptr ? binding::toPython((param_->*question)()) : Py::None();
    }

    /// Like ask, for questions that could also tell a code, which is not asked for.
    template <auto question, auto fallback> Py::Object askWithoutCode()
    {
        return binding::toPython(param_ != nullptr ? (param_->*question)(nullptr) : fallback);
    }

    /// Writes one argument: True when the SDK took it.
    template <auto writer> Py::Object write(const Py::Tuple& args)
    {
        return writeValue(args, writer);
    }

    /// Runs an SDK operation: True when it succeeded.
    template <auto operation> Py::Object run()
    {
        return binding::toPython(param_ != nullptr && (param_->*operation)() == ZelErr::kOk);
    }

    Sdk* param() const { return param_; }

private:
    template <class Value>
    Py::Object writeValue(const Py::Tuple& args, ZelCamErr (Sdk::*writer)(Value))
    {
        if (binding::tooFew(args, {1, "SetValue not enough actual args\n"})) {
            return Py::False();
        }
        const auto value = fromPython<typename Held<Value>::Type>(args[0]);
        return binding::toPython(param_ != nullptr &&
                                 (param_->*writer)(toSdk(value)) == ZelErr::kOk);
    }

    Sdk* param_;
};

} // namespace ZelGenParamPy
