// An open device: its remote port, its stream, its events.
#pragma once

#include "simulator/producer/camera_endpoint.h"
#include "simulator/producer/module.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace simulator::producer
{

class RemotePort;
class StreamModule;

/// Thread safe.
class DeviceModule final : public Module, public CameraSession
{
public:
    /// Module event: the camera is gone; its port holds the host's time in nanoseconds.
    static constexpr std::uint64_t kDeviceLostEvent = 0xA001;

    /// Throws what CameraEndpoint::attach() throws. The tree lock is held.
    static std::shared_ptr<DeviceModule> open(HandleRegistry& handles, gentl::Handle interface,
                                              std::shared_ptr<CameraEndpoint> camera,
                                              gentl::DeviceAccess access);

    PortFacts facts() override;
    std::string xmlFileName() const override { return "simulated_device.xml"; }

    gentl::Handle parent() const { return parent_; }
    CameraEndpoint& camera() { return *camera_; }
    gentl::DeviceAccess access() const { return access_; }
    /// Throws Failure -1010 when the camera was unplugged since this device was opened.
    void requireAlive() const;
    bool isLost() const { return lost_; }

    gentl::Handle remotePort() const { return remotePort_; }
    /// Throws Failure -1007, -1004 when it is open, -1005 for a device opened to read only, -1010.
    /// The tree lock is held.
    gentl::Handle openStream(const std::string& id);
    /// The tree lock is held.
    void closeStream(StreamModule& stream);

    /// Signals the stream to end: many are closed faster when all know it first.
    void endSoon();

    // CameraSession
    void frameDue() override;
    void acquisitionStopped() override;
    void cameraEvent(std::uint64_t eventId, const void* data, std::size_t size) override;
    void identityChanged() override;
    void featureChanged(const char* name) override;
    void cameraLost() override;

private:
    DeviceModule(HandleRegistry& handles, gentl::Handle interface,
                 std::shared_ptr<CameraEndpoint> camera, gentl::DeviceAccess access);
    void addFeatures();
    void addNetworkFeatures();
    void closeChildren() override;
    std::shared_ptr<StreamModule> stream() const;

    const gentl::Handle parent_;
    const std::shared_ptr<CameraEndpoint> camera_;
    const gentl::DeviceAccess access_;
    std::atomic<bool> lost_{false};
    std::atomic<std::uint16_t> messages_{0}; ///< Numbers of event commands.
    gentl::Handle remotePort_ = nullptr;
    mutable std::mutex streamMutex_;
    std::shared_ptr<StreamModule> stream_;
};

/// Answers IFGetDeviceInfo and DevGetInfo. Throws Failure -1009 for unknown commands.
InfoValue deviceInfo(CameraEndpoint& camera, std::int32_t command);

} // namespace simulator::producer
