// The scripted answers and the log of calls that the libraries of the double share.
#pragma once

#include "zel_err.h"
#include "zel_export.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>

namespace zel_double
{

using Json = nlohmann::json;

/// Texts travel through JSON one character per byte, so that any byte string can be scripted.
ZEL_API std::string bytesFromJson(const std::string& text);
ZEL_API std::string bytesToJson(const std::string& bytes);

/// A copy of these bytes (NUL-terminated) that lives as long as the process.
ZEL_API const std::string& keepBytes(const std::string& bytes);

/// The answer to one call: a JSON object whose "result" is the return value and whose other members
/// are the out-parameters. An operation that nobody scripted answers {}: 0, false, "" or null.
class Answer
{
public:
    explicit Answer(Json fields) : fields_(std::move(fields)) {}

    template <class T> T field(const char* key, T fallback = T{}) const
    {
        const auto found = fields_.find(key);
        if (found == fields_.end() || found->is_null()) {
            return fallback;
        }
        if constexpr (std::is_same_v<T, double>) {
            if (found->is_string()) { // "nan", "inf": numbers that JSON cannot carry
                return std::strtod(found->get<std::string>().c_str(), nullptr);
            }
        }
        return found->get<T>();
    }

    template <class T> T number(T fallback = T{}) const { return field<T>("result", fallback); }
    ZelCamErr code() const { return number<ZelCamErr>(); }

    /// Null when the script says so. Lives as long as the process.
    const char* text() const
    {
        const auto found = fields_.find("result");
        if (found != fields_.end() && found->is_null()) {
            return nullptr;
        }
        return keepBytes(bytesFromJson(field<std::string>("result"))).c_str();
    }

    const Json& result() const
    {
        static const Json nothing;
        const auto found = fields_.find("result");
        return found == fields_.end() ? nothing : *found;
    }

    /// Writes the member "err", by default 0, unless the script says null (left as it was).
    const Answer& err(ZelCamErr* target) const
    {
        const auto found = fields_.find("err");
        if (target != nullptr && (found == fields_.end() || !found->is_null())) {
            *target = field<ZelCamErr>("err");
        }
        return *this;
    }

    /// Writes a member if there is one.
    template <class T> const Answer& out(const char* key, T* target) const
    {
        if (target != nullptr && fields_.contains(key)) {
            *target = field<T>(key);
        }
        return *this;
    }

private:
    Json fields_;
};

/// Logs a call and takes its next answer. The answer belongs to the first of `keys` that has a
/// script; the last answer of a script stays. `name` is the object that was called.
ZEL_API Answer ask(std::initializer_list<std::string> keys, const std::string& call,
                   const std::string& name, Json arguments);

// What an argument looks like in the log; objects are described by their callers.
inline Json logged(const Json& description) { return description; }
inline Json logged(bool value) { return value; }
inline Json logged(std::int32_t value) { return value; }
inline Json logged(std::int64_t value) { return value; }
inline Json logged(std::uint32_t value) { return value; }
inline Json logged(std::uint64_t value) { return value; }
inline Json logged(double value)
{
    return std::isfinite(value) ? Json(value) : Json(std::isnan(value) ? "nan" : "inf");
}
inline Json logged(const char* text) { return text == nullptr ? Json() : Json(bytesToJson(text)); }
inline Json logged(const std::string& bytes) { return bytesToJson(bytes); }
inline Json logged(const ZelCamErr* err) { return err == nullptr ? Json() : Json("err"); }
inline Json logged(const void* pointer) { return pointer == nullptr ? Json() : Json("pointer"); }

template <class... Args> Json loggedAll(const Args&... args)
{
    Json list = Json::array();
    (list.push_back(logged(args)), ...);
    return list;
}

/// A call of a plain C function.
template <class... Args> Answer askFunction(const char* name, const Args&... args)
{
    return ask({name}, name, "", loggedAll(args...));
}

/// Part of every object of the double: its name, "Class:which", and its way to the answers. A
/// script may be for "Class:which.Operation", for "Class.Operation" or, for parameters, for
/// "Param.Operation". Objects have no other state and live as long as the process.
class Scripted
{
public:
    explicit Scripted(std::string name)
        : name_(std::move(name)), class_(name_.substr(0, name_.find(':')))
    {
    }
    const std::string& name() const { return name_; }

protected:
    template <class... Args> Answer call(const char* operation, const Args&... args) const
    {
        const std::string suffix = std::string(".") + operation;
        return ask({name_ + suffix, class_ + suffix, "Param" + suffix}, class_ + suffix, name_,
                   loggedAll(args...));
    }

private:
    std::string name_;
    std::string class_;
};

} // namespace zel_double
