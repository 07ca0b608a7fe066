#include "camera/data_stream.h"

#include "camera/buffer.h"
#include "module/binding/arguments.h"
#include "module/binding/constants.h"
#include "module/binding/convert.h"

#include <utility>

namespace ZelCamPy
{

namespace
{

constexpr std::array<binding::Constant, 4> kFlushModes{{
    {"Flush_OutputDiscard", ZelCam::kFlushOutputDiscard},
    {"Flush_AllToInput", ZelCam::kFlushAllToInput},
    {"Flush_UnqueuedToInput", ZelCam::kFlushUnqueuedToInput},
    {"Flush_AllDiscard", ZelCam::kFlushAllDiscard},
}};

} // namespace

void PyDataStream::init_type()
{
    describe("PyDataStream");
    noargs<&PyDataStream::GetBufferSize>("GetBufferSize");
    noargs<&PyDataStream::GetBufferAlignment>("GetBufferAlignment");
    noargs<&PyDataStream::GetMinNumBuffers>("GetMinNumBuffers");
    noargs<&PyDataStream::StartAcquisition>("StartAcquisition");
    varargs<&PyDataStream::StopAcquisition>("StopAcquisition");
    varargs<&PyDataStream::CreateBuffer>("CreateBuffer");
    noargs<&PyDataStream::GetBufferQueueSize>("GetBufferQueueSize");
    varargs<&PyDataStream::QueueBuffer>("QueueBuffer");
    varargs<&PyDataStream::GetBuffer>("GetBuffer");
    varargs<&PyDataStream::FlushBuffers>("FlushBuffers");
    noargs<&PyDataStream::Release>("Release");
    varargs<&PyDataStream::RevokeBuffer>("RevokeBuffer");
    varargs<&PyDataStream::AllocBufferQueue>("AllocBufferQueue");
    noargs<&PyDataStream::ReleaseBufferQueue>("ReleaseBufferQueue");
    noargs<&PyDataStream::CancelBuffer>("CancelBuffer");
    noargs<&PyDataStream::GetLastError>("GetLastError");
}

binding::ConstantList PyDataStream::constants() { return binding::listOf(kFlushModes); }

template <class... Parameters, class... Arguments>
Py::Object PyDataStream::succeeded(ZelCamErr (ZelCam::Stream::*operation)(Parameters...),
                                   Arguments... arguments)
{
    return binding::toPython(stream_ != nullptr &&
                             (stream_->*operation)(arguments...) == ZelErr::kOk);
}

Py::Object PyDataStream::GetBufferSize()
{
    if (stream_ != nullptr) {
        bufferSize_ = stream_->GetBufferSize();
    }
    return binding::toPython(bufferSize_);
}

Py::Object PyDataStream::GetBufferAlignment()
{
    return binding::toPython(stream_ != nullptr ? stream_->GetBufferAlignment() : 0);
}

Py::Object PyDataStream::GetMinNumBuffers()
{
    if (stream_ != nullptr) {
        minNumBuffers_ = stream_->GetMinNumBuffers();
    }
    return binding::toPython(minNumBuffers_);
}

Py::Object PyDataStream::StartAcquisition()
{
    constexpr std::int64_t kNoFlags = 0;
    return succeeded(&ZelCam::Stream::StartAcquisition, ZelCam::kInfinite, kNoFlags);
}

Py::Object PyDataStream::StopAcquisition(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "Not enough actual args\n"}, lastError_)) {
        return Py::False();
    }
    return succeeded(&ZelCam::Stream::StopAcquisition, binding::toInt64(args[0]));
}

Py::Object PyDataStream::CreateBuffer(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "Not enough actual args\n"}, lastError_)) {
        return Py::None();
    }
    const std::int64_t size = binding::toInt64(args[0]);
    if (stream_ == nullptr) {
        binding::report("wrong dataStream\n");
        return Py::None();
    }
    return binding::make<PyBuffer>(stream_, size);
}

Py::Object PyDataStream::GetBufferQueueSize()
{
    return binding::toPython(stream_ != nullptr ? stream_->GetBufferQueueSize() : 0);
}

Py::Object PyDataStream::QueueBuffer(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "QueueBuffer not enough actual args\n"}, lastError_)) {
        return Py::False();
    }
    const auto* buffer = binding::wrapperIn<PyBuffer>(args[0]);
    if (buffer == nullptr || buffer->buffer() == nullptr) {
        return Py::False();
    }
    return binding::toPython(queue_->QueueBuffer(buffer->buffer()) == ZelErr::kOk);
}

Py::Object PyDataStream::GetBuffer(const Py::Tuple& args)
{
    const std::int64_t timeout = args.length() > 0 ? binding::toInt64(args[0]) : -1;
    // Other threads run during the wait and may put another buffer in this one's place.
    const Py::Object current(current_);
    auto* buffer = binding::wrapperIn<PyBuffer>(current);
    if (buffer == nullptr) {
        return Py::None();
    }
    lastError_ = buffer->fetch(stream_, timeout);
    if (lastError_ == ZelErr::kOk) {
        return current;
    }
    // Ctrl-C ends the wait; here it becomes the exception that the script expects.
    if (PyErr_CheckSignals() != 0) {
        throw Py::Exception();
    }
    return Py::None();
}

Py::Object PyDataStream::FlushBuffers(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "FlushBuffers not enough actual args\n"}, lastError_)) {
        return Py::False();
    }
    return succeeded(&ZelCam::Stream::FlushBuffers, binding::toInt64(args[0]));
}

Py::Object PyDataStream::Release()
{
    if (ZelCam::Stream* stream = std::exchange(stream_, nullptr)) {
        stream->Release();
    }
    return Py::None();
}

Py::Object PyDataStream::RevokeBuffer(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "RevokeBuffer not enough actual args\n"}, lastError_)) {
        return Py::False();
    }
    const auto* buffer = binding::wrapperIn<PyBuffer>(args[0]);
    return buffer != nullptr ? succeeded(&ZelCam::Stream::RevokeBuffer, buffer->buffer())
                             : Py::False();
}

Py::Object PyDataStream::AllocBufferQueue(const Py::Tuple& args)
{
    if (binding::tooFew(args, {1, "AllocBufferQueue not enough actual args\n"}, lastError_)) {
        return Py::False();
    }
    const auto count = static_cast<std::uint64_t>(binding::toInt64(args[0]));
    if (stream_ == nullptr) {
        return Py::False();
    }
    const Py::Object fresh = binding::make<PyBuffer>(); // First: a queue cannot be without.
    if (stream_->AllocBufferQueue(nullptr, count) != ZelErr::kOk) {
        return Py::False();
    }
    current_ = fresh;
    return Py::True();
}

Py::Object PyDataStream::ReleaseBufferQueue()
{
    return succeeded(&ZelCam::Stream::ReleaseBufferQueue);
}

Py::Object PyDataStream::CancelBuffer() { return succeeded(&ZelCam::Stream::CancelBuffer); }

Py::Object PyDataStream::GetLastError() { return binding::toPython(lastError_); }

} // namespace ZelCamPy
