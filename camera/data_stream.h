// Python type PyDataStream: one image data stream of an opened device.
#pragma once

#include "module/binding/wrapper.h"
#include "zel_camera_api.h"

namespace ZelCamPy
{

/// Wraps a stream of the SDK, borrowed from its device, which this object does not keep alive.
/// Flush modes are attributes. Without the stream (after Release) the SDK is not called and methods
/// answer with their failure value; QueueBuffer alone goes on calling it.
class PyDataStream : public binding::Wrapper<PyDataStream>
{
public:
    static void init_type();

    explicit PyDataStream(ZelCam::Stream* stream) : stream_(stream), queue_(stream) {}

    static binding::ConstantList constants();

private:
    Py::Object GetBufferSize();
    Py::Object GetBufferAlignment();
    Py::Object GetMinNumBuffers();
    Py::Object StartAcquisition();
    Py::Object StopAcquisition(const Py::Tuple& args);
    Py::Object CreateBuffer(const Py::Tuple& args);
    Py::Object GetBufferQueueSize();
    Py::Object QueueBuffer(const Py::Tuple& args);
    Py::Object GetBuffer(const Py::Tuple& args);
    Py::Object FlushBuffers(const Py::Tuple& args);
    Py::Object Release();
    Py::Object RevokeBuffer(const Py::Tuple& args);
    Py::Object AllocBufferQueue(const Py::Tuple& args);
    Py::Object ReleaseBufferQueue();
    Py::Object CancelBuffer();
    Py::Object GetLastError();

    /// Runs an operation of the stream: True when it succeeded, False without a stream.
    template <class... Parameters, class... Arguments>
    Py::Object succeeded(ZelCamErr (ZelCam::Stream::*operation)(Parameters...),
                         Arguments... arguments);

    ZelCam::Stream* stream_; ///< Null after Release.
    ZelCam::Stream* queue_;  ///< The same stream, kept for QueueBuffer.
    Py::Object current_;     ///< PyBuffer that GetBuffer fills, or None.
    std::uint64_t bufferSize_ = 325546;
    std::uint64_t minNumBuffers_ = 3;
    ZelCamErr lastError_ = ZelErr::kOk;
};

} // namespace ZelCamPy
