// A data stream of an open device: its buffers, its engine, its counters.
#pragma once

#include "simulator/producer/buffer_queues.h"
#include "simulator/producer/camera_endpoint.h"
#include "simulator/producer/frame_engine.h"
#include "simulator/producer/module.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace simulator::producer
{

class DeviceModule;

/// Thread safe. The engine and the buffers have the lock of the queues; starting and stopping are
/// serialised by one of their own, which is never held while a table or the tree lock is awaited.
class StreamModule final : public Module
{
public:
    static constexpr const char* kId = "Stream0";
    static constexpr std::size_t kMinBuffers = 1;

    static std::shared_ptr<StreamModule> open(HandleRegistry& handles,
                                              const std::shared_ptr<DeviceModule>& device,
                                              std::shared_ptr<CameraEndpoint> camera);

    PortFacts facts() override;
    std::string xmlFileName() const override { return "simulated_stream.xml"; }

    /// Answers DSGetInfo.
    InfoValue streamInfo(std::int32_t command);
    /// Answers DSGetBufferInfo.
    InfoValue info(const std::shared_ptr<AnnouncedBuffer>& buffer, std::int32_t command);
    BufferQueues& queues() { return *queues_; }
    gentl::Handle parent() const { return parent_; }
    bool hasDevice(const DeviceModule* device) const;

    /// Throws Failure -1009 for unknown flags or no frames, -1004 when started, -1013 for too few
    /// buffers, -1016 for a buffer below the payload, -1010 when the device is gone, -1006 when the
    /// stream is closed.
    void start(std::int32_t flags, std::uint64_t frames);
    /// Throws Failure -1009 for unknown flags, -1004 when not started.
    void stop(std::int32_t flags);
    /// Signals the engine to end, without waiting for it.
    void endSoon() { engine_.requestStop(true); }
    /// Ends the engine before the process goes; nothing starts after it.
    void halt();

    // From the session.
    void frameDue() { engine_.frameDue(); }
    void cameraStopped() { engine_.cameraStopped(); }
    void cameraLost();

private:
    StreamModule(HandleRegistry& handles, const std::shared_ptr<DeviceModule>& device,
                 std::shared_ptr<CameraEndpoint> camera, std::shared_ptr<BufferQueues> queues);
    void addFeatures();
    void addCounters();
    void closeChildren() override;
    bool definesPayloadSize() const;
    void requireStartable();
    void tellLocked(const char* value);
    void stopEngine(bool kill);

    const std::weak_ptr<DeviceModule> device_;
    const gentl::Handle parent_;
    const std::shared_ptr<CameraEndpoint> camera_;
    const std::shared_ptr<BufferQueues> queues_; ///< The new-buffer event shares it.
    std::mutex control_;
    bool halted_ = false;
    std::atomic<bool> grabbing_{false};
    FrameEngine engine_;
};

} // namespace simulator::producer
