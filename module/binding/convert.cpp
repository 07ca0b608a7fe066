#include "module/binding/convert.h"

#include "module/binding/large_copy.h"

#include <new>

namespace binding
{

namespace
{

/// The UTF-8 of a str object.
std::string encoded(PyObject* text)
{
    Py_ssize_t size = 0;
    const char* bytes = PyUnicode_AsUTF8AndSize(text, &size);
    if (bytes == nullptr) {
        throw Py::Exception();
    }
    std::string result(bytes, static_cast<std::size_t>(size));
    if (result.find('\0') != std::string::npos) {
        throw Py::ValueError("embedded null character");
    }
    return result;
}

/// Takes over a new reference; null means that a Python error is set.
Py::Object owned(PyObject* object)
{
    if (object == nullptr) {
        throw Py::Exception();
    }
    return Py::asObject(object);
}

} // namespace

std::int64_t toInt64(const Py::Object& object)
{
    const bool isInt = PyLong_CheckExact(object.ptr()) != 0; // As most are.
    const long long value =
        PyLong_AsLongLong(isInt ? object.ptr() : owned(PyNumber_Long(object.ptr())).ptr());
    if (value == -1 && PyErr_Occurred() != nullptr) {
        throw Py::Exception();
    }
    return value;
}

std::uint64_t toUint64(const Py::Object& object)
{
    const Py::Object number = owned(PyNumber_Long(object.ptr()));
    int overflow = 0;
    const long long value = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
    if (overflow == 0) {
        return static_cast<std::uint64_t>(value);
    }
    const unsigned long long large = PyLong_AsUnsignedLongLong(number.ptr());
    if (PyErr_Occurred() != nullptr) {
        throw Py::Exception();
    }
    return large;
}

double toDouble(const Py::Object& object)
{
    return PyFloat_AsDouble(owned(PyNumber_Float(object.ptr())).ptr());
}

bool toBool(const Py::Object& object)
{
    const int truth = PyObject_IsTrue(object.ptr());
    if (truth < 0) {
        throw Py::Exception();
    }
    return truth != 0;
}

std::string toText(const Py::Object& object)
{
    if (PyUnicode_Check(object.ptr()) == 0) {
        throw Py::TypeError(std::string("expected str, not ") + Py_TYPE(object.ptr())->tp_name);
    }
    return encoded(object.ptr());
}

std::string strOf(const Py::Object& object)
{
    if (PyUnicode_CheckExact(object.ptr()) != 0) {
        return encoded(object.ptr()); // As most are.
    }
    return encoded(owned(PyObject_Str(object.ptr())).ptr());
}

Py::Object toPython(const char* text)
{
    return owned(PyUnicode_FromString(text != nullptr ? text : ""));
}

Py::Object byteArray(const void* data, std::uint64_t size)
{
    if (size > static_cast<std::uint64_t>(PY_SSIZE_T_MAX)) {
        throw std::bad_alloc();
    }
    const Py::Object bytes = owned(PyByteArray_FromStringAndSize(
        nullptr, data != nullptr ? static_cast<Py_ssize_t>(size) : 0));
    if (data != nullptr && size > 0) {
        copyLarge(PyByteArray_AsString(bytes.ptr()), data, size);
    }
    return bytes;
}

// The answers of every reader: the object layer would look at each item anew.
Py::Object noValue() { return owned(PyTuple_Pack(2, Py_False, Py_None)); }

Py::Object someValue(const Py::Object& value)
{
    return owned(PyTuple_Pack(2, Py_True, value.ptr()));
}

} // namespace binding
