#include "camera/buffer.h"

#include "camera/image.h"
#include "module/binding/convert.h"
#include "module/binding/interpreter_lock.h"
#include "module/binding/report.h"

namespace ZelCamPy
{

namespace
{

/// Frames larger than this on a side are taken for broken.
constexpr std::uint64_t kMaxSide = 20480;

bool isPlausible(std::uint64_t width, std::uint64_t height, std::uint64_t size)
{
    return width > 0 && width <= kMaxSide && height > 0 && height <= kMaxSide && size > 0;
}

} // namespace

void PyBuffer::init_type()
{
    using Buffer = ZelCam::Buffer;
    describe("PyBuffer");
    noargs<&PyBuffer::GetWidth>("GetWidth");
    noargs<&PyBuffer::GetHeight>("GetHeight");
    noargs<&PyBuffer::GetBufferPtr>("GetBufferPtr");
    noargs<&PyBuffer::GetImage>("GetImage");
    noargs<&PyBuffer::IsIncomplete>("IsIncomplete");
    noargs<&PyBuffer::current<&Buffer::GetPixelFormat>>("GetPixelFormat");
    noargs<&PyBuffer::current<&Buffer::GetFrameID>>("GetFrameID");
    noargs<&PyBuffer::current<&Buffer::GetXOffset>>("GetXOffset");
    noargs<&PyBuffer::current<&Buffer::GetYOffset>>("GetYOffset");
    noargs<&PyBuffer::current<&Buffer::GetXPadding>>("GetXPadding");
    noargs<&PyBuffer::current<&Buffer::GetYPadding>>("GetYPadding");
    noargs<&PyBuffer::current<&Buffer::GetTimestamp>>("GetTimestamp");
}

PyBuffer::PyBuffer(ZelCam::Stream* stream, std::int64_t size) : size_(size)
{
    if (stream == nullptr) {
        binding::report("wrong dataStream\n");
        return;
    }
    ZelCamErr error = ZelErr::kOk;
    buffer_ = stream->CreateBuffer(size_, nullptr, &error);
    if (buffer_ != nullptr) {
        readSize();
    } else {
        binding::reportFailure("wrong buffer. Error", error);
    }
}

ZelCamErr PyBuffer::fetch(ZelCam::Stream* stream, std::int64_t timeoutMs)
{
    if (stream == nullptr) {
        binding::report("wrong dataStream\n");
        return ZelErr::kUnknown;
    }
    ZelCamErr error = ZelErr::kOk;
    ZelCam::Buffer* filled = nullptr;
    binding::withoutLock(
        [&] { filled = stream->GetBuffer(static_cast<std::uint64_t>(timeoutMs), &error); });
    buffer_ = filled;
    if (filled == nullptr) {
        if (error == ZelErr::kGenTLTimeout) {
            binding::report("Get buffer error: timeout\n");
        } else {
            binding::reportFailure("wrong buffer. Error", error);
        }
        return error;
    }
    readSize();
    const std::uint64_t size = filled->GetBufferSize();
    const std::int64_t offset = filled->GetImageOffset();
    const auto* base = static_cast<const char*>(filled->GetBufferPtr());
    if (base == nullptr || !isPlausible(width_, height_, size)) {
        stream->QueueBuffer(filled);
        return ZelErr::kUnknown;
    }
    try {
        data_ = binding::byteArray(base + offset, size);
    } catch (...) {
        buffer_ = nullptr;
        stream->QueueBuffer(filled); // Nobody else has it.
        throw;
    }
    return ZelErr::kOk;
}

void PyBuffer::readSize()
{
    width_ = buffer_->GetWidth();
    height_ = buffer_->GetHeight();
}

template <auto value> Py::Object PyBuffer::current()
{
    return buffer_ != nullptr ? binding::toPython((buffer_->*value)()) : binding::toPython(0);
}

Py::Object PyBuffer::GetWidth() { return binding::toPython(width_); }

Py::Object PyBuffer::GetHeight() { return binding::toPython(height_); }

Py::Object PyBuffer::GetBufferPtr() { return data_; }

Py::Object PyBuffer::GetImage()
{
    if (buffer_ == nullptr) {
        binding::report("wrong buffer\n");
        return Py::None();
    }
    return binding::make<PyImage>(buffer_->GetImage());
}

Py::Object PyBuffer::IsIncomplete()
{
    return binding::toPython(buffer_ == nullptr || buffer_->IsIncomplete());
}

} // namespace ZelCamPy
