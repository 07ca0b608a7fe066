// A simulated camera as it hangs on its interface: plugged in or not, owned by somebody or not.
#pragma once

#include "gentl_abi/gentl_abi.h"
#include "simulator/camera_model.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace simulator::producer
{

/// The open device of a camera; told what the camera does. Called on the thread that wrote the
/// register or carries the frames; must not wait for either.
class CameraSession
{
public:
    virtual ~CameraSession() = default;
    /// Started or triggered: there may be a frame to expose.
    virtual void frameDue() = 0;
    virtual void acquisitionStopped() = 0;
    virtual void cameraEvent(std::uint64_t eventId, const void* data, std::size_t size) = 0;
    virtual void identityChanged() = 0;
    virtual void featureChanged(const char* name) = 0;
    /// The camera was unplugged; this session stays dead when it comes back.
    virtual void cameraLost() = 0;
};

/// Lives as long as the system is open, whether or not the device is. Thread safe.
class CameraEndpoint final : private CameraObserver
{
public:
    CameraEndpoint(std::string id, std::string tlType, const CameraConfig& config);
    ~CameraEndpoint() override;
    CameraEndpoint(const CameraEndpoint&) = delete;
    CameraEndpoint& operator=(const CameraEndpoint&) = delete;

    /// Made when it is first asked for: who only lists cameras needs none.
    CameraModel& model();
    const CameraConfig& config() const { return config_; }
    std::string userDefinedName();
    IpConfig ip();
    const std::string& id() const { return id_; }
    const std::string& tlType() const { return tlType_; }
    std::string displayName();

    bool isPresent() const;
    gentl::DeviceAccessStatus status() const;

    /// One session at a time. Throws Failure -1007 when unplugged, -1004 when the device is open,
    /// -1005 when the other host's hold does not allow `access`.
    void attach(const std::shared_ptr<CameraSession>& session, gentl::DeviceAccess access);
    /// Ends the session at the camera too. Calls to the session may still be under way.
    void detach();

    /// What another host on the network holds: none (1), control (3) or exclusive (4).
    gentl::DeviceAccess otherHost() const { return otherHost_; }
    void setOtherHost(gentl::DeviceAccess access) { otherHost_ = access; }

private:
    void acquisitionStarted() override;
    void acquisitionStopped() override;
    void triggered() override;
    void event(std::uint64_t eventId, const void* data, std::size_t size) override;
    void identityChanged() override;
    void featureChanged(const char* name) override;
    void unplugged(std::uint64_t backAfterMs) override;

    std::shared_ptr<CameraSession> session() const;

    using Clock = std::chrono::steady_clock;

    const std::string id_;
    const std::string tlType_;
    const CameraConfig config_;
    mutable std::mutex mutex_;
    std::weak_ptr<CameraSession> session_;
    gentl::DeviceAccess openAccess_ = gentl::kDeviceAccessNone;
    Clock::time_point backAt_ = Clock::time_point::min();
    std::atomic<gentl::DeviceAccess> otherHost_{gentl::kDeviceAccessNone};
    std::mutex making_;
    std::atomic<CameraModel*> made_{nullptr};
    std::unique_ptr<CameraModel> model_; // last: its calls end before the rest goes
};

} // namespace simulator::producer
