// ZelCam::Stream over a stream of any transport.
#pragma once

#include "base/mutex.h"
#include "core/buffer_pool.h"
#include "core/camera_control.h"
#include "core/stream_features.h"
#include "core/transport.h"
#include "zel_cam/stream.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <vector>

namespace core
{

class DeviceImpl;

/// The shell of one stream, kept and used again when its device is opened again. Locks, in the
/// order in which they are taken: the device's, control_ (one operation of the transport at a
/// time), the node map's, and last those of pool_ and handleMutex_. GetBuffer, CancelBuffer and
/// the transport's callbacks take only the last ones. Private functions that take the transport
/// are called with control_ held.
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
    /// Back within kStopPatience whatever the camera does; what is not done by then is done in the
    /// background, and the next operation of the stream waits for it.
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
    /// Waits for no operation, as the two that follow.
    std::vector<genapi::FeatureSource*> features();

    /// Ends the waits, without taking a lock that a slow operation could hold. From now on waits
    /// end with `reason`.
    void breakOff(ZelCamErr reason) { pool_.setBroken(reason); }
    void endWaits() { pool_.endWaits(); }

    /// Adds this stream's counters; callable under a node map's lock.
    void addTo(StreamStatistics& statistics);
    void resetCounters();
    void setHandlingMode(HandlingMode mode) { pool_.setMode(mode); }

    /// How long StopAcquisition waits for the camera and the transport.
    static constexpr std::chrono::milliseconds kStopPatience{12};

private:
    void bufferDone(BufferToken token, FrameInfo info) override;
    BufferToken takeSpare() override { return pool_.takeSpare(); }
    void streamBroken(ZelCamErr reason) override;

    template <class Body> ZelCamErr whileOpen(Body&& body);
    template <class Body> std::uint64_t ask(Body&& body);
    void awaitStops(base::Lock& control) ZEL_REQUIRES(control_);
    void stopInTurn(bool atOnce, ZelCamErr* code);
    void noteCounters() ZEL_REQUIRES(handleMutex_);
    void setTransport(std::unique_ptr<TransportStream> transport) ZEL_REQUIRES(control_);
    std::uint64_t payloadSize(TransportStream& transport);
    BufferImpl* announce(TransportStream& transport, std::uint64_t size, bool ofQueue,
                         ZelCamErr* code);
    ZelCamErr queue(TransportStream& transport, BufferImpl* buffer);
    ZelCamErr queueIdle(TransportStream& transport);
    void revoke(TransportStream& transport, BufferImpl* buffer);
    void revokeAll(TransportStream& transport);
    ZelCamErr fillQueue(TransportStream& transport, std::uint64_t count, std::uint64_t size);
    ZelCamErr emptyQueue(TransportStream& transport);
    ZelCamErr checkBuffers(TransportStream& transport);
    ZelCamErr start(TransportStream& transport, std::uint64_t frames);
    ZelCamErr stop(TransportStream& transport, bool atOnce);

    DeviceImpl& device_;
    const std::uint32_t index_;
    CameraControl camera_;
    BufferPool pool_;
    base::Mutex control_;
    std::unique_ptr<TransportStream> transport_ ZEL_GUARDED_BY(control_);
    std::condition_variable stopDone_;
    std::atomic<int> pendingStops_{0}; ///< Falls under control_ only.
    std::atomic<bool> acquiring_{false};

    base::Mutex handleMutex_; ///< For those who must not wait for an operation; leaf.
    TransportStream* handle_ ZEL_GUARDED_BY(handleMutex_) = nullptr; ///< That of transport_.
    StreamCounters counters_ ZEL_GUARDED_BY(handleMutex_); ///< The highest since the start.
};

} // namespace core
