// Python type PyBuffer: one image buffer of a data stream.
#pragma once

#include "module/binding/wrapper.h"
#include "zel_camera_api.h"

namespace ZelCamPy
{

/// Wraps a buffer of the SDK, borrowed from its stream, and holds a copy of the last frame. Python
/// sees the copy only. Neither revokes nor queues its buffer when it goes.
class PyBuffer : public binding::Wrapper<PyBuffer>
{
public:
    static void init_type();

    /// Without a buffer, to be filled by fetch.
    PyBuffer() = default;
    /// Announces a new buffer of `size` bytes to the stream. A refusal is reported on standard
    /// error and leaves the object without a buffer.
    PyBuffer(ZelCam::Stream* stream, std::int64_t size);

    /// Waits without the interpreter lock, at most `timeoutMs` milliseconds, for the next frame of
    /// the stream and copies it. Returns 0, or the code of a failure, which it reports on standard
    /// error: -40001 for null, a released stream. A frame that cannot be an image goes straight
    /// back to the stream: code -40001. Throws when there is no memory for the copy; the buffer
    /// then waits to be queued again by the script.
    ZelCamErr fetch(ZelCam::Stream* stream, std::int64_t timeoutMs);

    /// The SDK buffer of the moment, or null.
    ZelCam::Buffer* buffer() const { return buffer_; }

private:
    /// A value that the SDK buffer is asked for on every call; 0 without one.
    template <auto value> Py::Object current();
    Py::Object GetWidth();
    Py::Object GetHeight();
    Py::Object GetBufferPtr();
    Py::Object GetImage();
    Py::Object IsIncomplete();

    void readSize();

    Py::Object data_ = Py::Tuple(); ///< bytearray of the last good frame, before it ().
    ZelCam::Buffer* buffer_ = nullptr;
    std::int64_t size_ = 0; ///< As asked for at the announcement.
    std::uint64_t width_ = 0;
    std::uint64_t height_ = 0;
};

} // namespace ZelCamPy
