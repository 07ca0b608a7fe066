// Conversions between Python values and the types of the SDK.
//
// Every conversion from Python raises the Python exception of the protocol that it follows, as a
// Py::BaseException with the Python error set. Conversions may run Python code, so a caller checks
// pointers that Python code can clear after its last conversion.
#pragma once

#include "module/binding/pycxx.h"

#include <cstdint>
#include <string>

namespace binding
{

/// int(object) as a signed 64-bit number; OverflowError outside its range. As int() does, it takes
/// "12" for 12 and 3.9 for 3: it is a conversion, never a type check.
std::int64_t toInt64(const Py::Object& object);
/// int(object) as an unsigned 64-bit number; negative numbers down to -2^63 wrap around, so that -1
/// means all bits set.
std::uint64_t toUint64(const Py::Object& object);
/// float(object).
double toDouble(const Py::Object& object);
/// The truth value of the object.
bool toBool(const Py::Object& object);
/// A str as UTF-8. TypeError for anything else, UnicodeEncodeError for lone surrogates, ValueError
/// for a NUL inside, which a NUL-terminated text cannot carry.
std::string toText(const Py::Object& object);
/// str(object) as UTF-8, with the same rules for its characters.
std::string strOf(const Py::Object& object);

inline Py::Object toPython(bool value) { return Py::Boolean(value); }
inline Py::Object toPython(std::int32_t value) { return Py::Long(static_cast<long>(value)); }
inline Py::Object toPython(std::uint32_t value)
{
    return Py::Long(static_cast<unsigned long>(value));
}
inline Py::Object toPython(std::int64_t value) { return Py::Long(value); }
inline Py::Object toPython(std::uint64_t value) { return Py::Long(value); }
inline Py::Object toPython(double value) { return Py::Float(value); }
/// A text of the SDK as str, UTF-8 decoded strictly; a null text counts as empty.
Py::Object toPython(const char* text);

/// A new bytearray with a copy of `size` bytes; a null `data` counts as no bytes. MemoryError when
/// there is no room.
Py::Object byteArray(const void* data, std::uint64_t size);

/// (False, None), the answer of a reader that failed.
Py::Object noValue();
/// (True, value).
Py::Object someValue(const Py::Object& value);

/// Puts a value into a field. What the field held is let go last: its destructor may run Python
/// code, which then sees the new value.
inline void replace(Py::Object& field, const Py::Object& value)
{
    const Py::Object old(field);
    field = value;
}

/// A new wrapper object.
template <class Wrapper, class... Arguments> Py::Object make(Arguments... arguments)
{
    return Py::asObject(new Wrapper(arguments...));
}

/// A new wrapper over an SDK object, or None when there is none.
template <class Wrapper, class Sdk> Py::Object makeOrNone(Sdk* object)
{
    return object != nullptr ? make<Wrapper>(object) : Py::None();
}

/// The wrapper behind a Python object, or null when the object is of another class. Borrowed.
template <class Wrapper> Wrapper* wrapperIn(const Py::Object& object)
{
    return Wrapper::check(object) ? static_cast<Wrapper*>(object.ptr()) : nullptr;
}

} // namespace binding
