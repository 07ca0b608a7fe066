// PyDevice: events.
#include "camera/device.h"
#include "module/binding/convert.h"
#include "module/binding/guard.h"
#include "module/binding/interpreter_lock.h"

#include <cxxabi.h>

namespace ZelCamPy
{

Py::Object PyDevice::RegisterEvent(const Py::Tuple& args)
{
    if (args.length() < 2 || device_ == nullptr) {
        return Py::False();
    }
    eventId_ = binding::toInt64(args[0]);
    binding::replace(eventCallback_, Py::Callable(args[1]));
    if (device_ == nullptr) {
        return Py::False();
    }
    device_->RegisterEvent(eventId_, &PyDevice::CameraCallback, context());
    return Py::True();
}

Py::Object PyDevice::UnRegisterEvent(const Py::Tuple& args)
{
    if (args.length() < 2 || device_ == nullptr) {
        return Py::False();
    }
    const long eventId = binding::toInt64(args[0]);
    // The SDK waits for a callback under way, which may be waiting for the lock held here. First,
    // because other threads may register while this one lets the lock go.
    const EventChannel::Pause pause(events_);
    eventId_ = eventId;
    binding::replace(eventCallback_, Py::None());
    if (device_ == nullptr) {
        return Py::False();
    }
    device_->UnRegisterEvent(eventId, &PyDevice::CameraCallback, context());
    return Py::True();
}

void PyDevice::CameraCallback(const void* data, std::uint64_t size, void* context)
{
    if (context == nullptr) {
        return;
    }
    const EventChannel::Delivery delivery(context);
    if (!delivery) {
        return;
    }
    const binding::LockHold lock;
    if (!lock) {
        return;
    }
    if (PyDevice* device = delivery.device()) {
        device->callBack(data, size);
    }
}

// A thread that is being ended unwinds without an object: the reference is bound to none.
[[gnu::no_sanitize("null")]] void PyDevice::callBack(const void* data, std::uint64_t size)
{
    if (eventCallback_.isNone()) {
        return;
    }
    // Plain references: a thread that is ended in the call has no right to touch objects.
    PyObject* const callback = Py::new_reference_to(eventCallback_);
    PyObject* args = nullptr;
    PyObject* result = nullptr;
    try {
        args =
            Py::new_reference_to(Py::TupleN(binding::byteArray(data, size), binding::toPython(size),
                                            Py::asObject(PyLong_FromVoidPtr(context()))));
        result = PyObject_CallObject(callback, args);
    } catch (const abi::__forced_unwind&) {
        binding::stayIfInterpreterGone();
        throw;
    } catch (...) {
        try {
            binding::rethrowAsPython();
        } catch (const Py::BaseException&) {
            result = nullptr; // The error is set.
        }
    }
    if (result == nullptr) {
        PyErr_WriteUnraisable(callback);
    }
    Py_XDECREF(result);
    Py_XDECREF(args);
    Py_DECREF(callback);
}

} // namespace ZelCamPy
