// PyDevice: events.
#include "camera/device.h"
#include "module/binding/convert.h"
#include "module/binding/interpreter_lock.h"

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

void PyDevice::callBack(const void* data, std::uint64_t size)
{
    const Py::Object callback(eventCallback_);
    if (callback.isNone()) {
        return;
    }
    try {
        const Py::TupleN args(binding::byteArray(data, size), binding::toPython(size),
                              Py::asObject(PyLong_FromVoidPtr(context())));
        Py::Callable(callback).apply(args);
        return;
    } catch (...) {
        try {
            binding::rethrowAsPython();
        } catch (const Py::BaseException&) {
            PyErr_WriteUnraisable(callback.ptr());
        }
    }
}

} // namespace ZelCamPy
