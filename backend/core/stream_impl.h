// ZelCam::Stream over a stream of any transport.
#pragma once

#include "core/buffer_pool.h"
#include "core/camera_control.h"
#include "core/stream_statistics.h"
#include "core/transport.h"
#include "zel_cam/stream.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

namespace core
{

class DeviceImpl;

/// The shell of one stream, kept and used again when its device is opened again. Locks, in the
/// order in which they are taken: the device's, control_ (one operation of the transport at a
/// time), the node map's, and last those of pool_ and counterMutex_. GetBuffer, CancelBuffer and
/// the transport's callbacks take only the last ones.
class StreamImpl final : public ZelCam::Stream, private StreamSink
{
public:
    StreamImpl(DeviceImpl& device, std::uint32_t index);

    void Release() override;
    ZelCam::Buffer* CreateBuffer(std::int64_t size, void* userPointer, ZelCamErr* err) override;
    ZelCamErr RevokeBuffer(ZelCam::Buffer* buffer) override;
    ZelCamErr QueueBuffer(ZelCam::Buffer* buffer) override;
    ZelCam::Buffer* GetBuffer(std::uint64_t timeoutMs, ZelCamErr* err) override;
    ZelCamErr CancelBuffer() override;
    ZelCamErr FlushBuffers(std::int64_t mode) override;
    ZelCamErr StartAcquisition(std::uint64_t frames, std::int64_t flags) override;
    ZelCamErr StopAcquisition(std::int64_t flags) override;
    ZelCamErr AllocBufferQueue(void* userPointer, std::uint64_t count) override;
    ZelCamErr ReleaseBufferQueue() override;
    std::uint64_t GetBufferQueueSize() override;
    std::uint64_t GetBufferSize() override;
    std::uint64_t GetMinNumBuffers() override;
    std::uint64_t GetBufferAlignment() override;

    /// For the device, under its lock. Opening an open stream does nothing.
    ZelCamErr open(TransportDevice& device);
    /// Stops, revokes and closes; later operations answer -1006.
    void close();
    bool isOpen();
    std::vector<genapi::FeatureSource*> features();

    /// Ends the waits, without taking a lock that a slow operation could hold. From now on waits
    /// end with `reason`.
    void breakOff(ZelCamErr reason) { pool_.setBroken(reason); }
    void endWaits() { pool_.endWaits(); }

    /// Adds this stream's counters; callable under a node map's lock.
    void addTo(StreamStatistics& statistics);

private:
    void bufferDone(BufferToken token, FrameInfo info) override;
    void streamBroken(ZelCamErr reason) override;

    template <class Body> ZelCamErr whileOpen(Body&& body);
    template <class Body> std::uint64_t ask(Body&& body);
    std::uint64_t payloadSize(TransportStream& transport);
    BufferImpl* announce(TransportStream& transport, std::uint64_t size, bool ofQueue,
                         ZelCamErr* code);
    ZelCamErr queue(TransportStream& transport, BufferImpl* buffer);
    ZelCamErr queueIdle(TransportStream& transport);
    void revoke(TransportStream& transport, BufferImpl* buffer);
    ZelCamErr fillQueue(TransportStream& transport, std::uint64_t count, std::uint64_t size);
    ZelCamErr emptyQueue(TransportStream& transport);
    ZelCamErr checkBuffers(TransportStream& transport);
    ZelCamErr start(TransportStream& transport, std::uint64_t frames);
    ZelCamErr stop(TransportStream& transport, bool atOnce);

    DeviceImpl& device_;
    const std::uint32_t index_;
    CameraControl camera_;
    BufferPool pool_;
    std::mutex control_;
    std::mutex counterMutex_; ///< Guards transport_ against counter readers, who lack control_.
    std::unique_ptr<TransportStream> transport_;
    std::atomic<bool> acquiring_{false};
};

} // namespace core
