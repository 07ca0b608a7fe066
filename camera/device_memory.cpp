// PyDevice: register memory.
#include "camera/device.h"
#include "module/binding/convert.h"

#include <cstring>

namespace ZelCamPy
{

namespace
{

/// The answer of an access that was not attempted.
Py::Object notAttempted() { return Py::TupleN(Py::Long(1), Py::Long(0)); }

} // namespace

Py::Object PyDevice::ReadMem(const Py::Tuple& args)
{
    if (cannotTry(args, 2)) {
        return notAttempted();
    }
    const std::int64_t address = binding::toInt64(args[0]);
    const std::int64_t length = binding::toInt64(args[1]);
    if (length < 1) {
        return notAttempted();
    }
    const Py::Object data(PyBytes_FromStringAndSize(nullptr, length), true);
    if (data.isNull()) {
        throw Py::Exception();
    }
    char* bytes = PyBytes_AS_STRING(data.ptr());
    // Zeros, not leftovers of the process, where the device delivered nothing.
    std::memset(bytes, 0, static_cast<std::size_t>(length));
    if (cannotTry(args, 2)) {
        return notAttempted();
    }
    lastError_ = device_->ReadMem(address, bytes, length);
    return Py::TupleN(binding::toPython(lastError_), data);
}

Py::Object PyDevice::WriteMem(const Py::Tuple& args)
{
    if (cannotTry(args, 2)) {
        return notAttempted();
    }
    const std::int64_t address = binding::toInt64(args[0]);
    const Py_ssize_t length = PyObject_Size(args[1].ptr());
    if (length < 0) {
        throw Py::Exception();
    }
    if (length == 0) {
        return notAttempted();
    }
    const Py::Object text(PyObject_Str(args[1].ptr()), true);
    Py_ssize_t available = 0;
    const char* bytes = text.isNull() ? nullptr : PyUnicode_AsUTF8AndSize(text.ptr(), &available);
    if (bytes == nullptr) {
        throw Py::Exception();
    }
    // An object may claim a length that its text does not have.
    if (available < length) {
        throw Py::ValueError("text is shorter than the length of its object");
    }
    if (cannotTry(args, 2)) {
        return notAttempted();
    }
    std::int64_t written = 0;
    lastError_ = device_->WriteMem(address, bytes, length, &written);
    return Py::TupleN(binding::toPython(lastError_),
                      binding::toPython(static_cast<std::int32_t>(written)));
}

} // namespace ZelCamPy
