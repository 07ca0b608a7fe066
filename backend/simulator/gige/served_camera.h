// A simulated camera as a GigE Vision device on the network.
#pragma once

#include "base/mutex.h"
#include "base/unique_fd.h"
#include "simulator/camera_model.h"
#include "simulator/gige/address_pool.h"
#include "simulator/gige/control_channel.h"
#include "simulator/gige/kept_settings.h"
#include "simulator/gige/message_channel.h"
#include "simulator/gige/stream_channel.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace simulator::gige
{

/// A camera with its control thread, from construction to destruction. Pool and file are borrowed.
class ServedCamera final : private CameraObserver, private ControlHost
{
public:
    /// Answers at the address, which is claimed and is given back in the end. Throws
    /// std::system_error when it cannot be had.
    ServedCamera(const CameraConfig& config, std::uint32_t address, AddressPool& pool,
                 SettingsFile& file);
    ~ServedCamera() override;
    ServedCamera(const ServedCamera&) = delete;
    ServedCamera& operator=(const ServedCamera&) = delete;

    const CameraConfig& config() const { return model_.config(); }
    /// Where it answers now.
    std::uint32_t address() const { return address_.load(); }

private:
    using Clock = std::chrono::steady_clock;

    // CameraObserver: the control thread or the stream's.
    void acquisitionStarted() override;
    void acquisitionStopped() override;
    void triggered() override;
    void event(std::uint64_t eventId, const void* data, std::size_t size) override;
    void identityChanged() override;
    void unplugged(std::uint64_t backAfterMs) override;
    void bootstrapWritten(std::uint32_t address, std::uint32_t value) override;

    // ControlHost: the control thread.
    void resend(const wire::ResendRequest& request, const Endpoint& asker) override;
    bool forceIp(const IpConfig& ip) override;
    void sessionEnded() override;
    void switchedOver(const Endpoint& former) override;

    void restore();
    void keep();
    /// Opens all sockets at a claimed address. Throws std::system_error.
    void open(std::uint32_t address);
    std::shared_ptr<StreamChannel> stream() const;
    void openBroadcast(const HostAddress& host);
    bool moveTo(const IpConfig& ip);
    void run();
    void turn();
    void wait();
    void listen(const ServerSocket& socket);
    void answer(const ControlChannel::Answer& answer);
    void workOff();
    void wake();

    AddressPool& pool_;
    SettingsFile& file_;
    CameraModel model_;
    ControlChannel control_;
    std::atomic<std::uint32_t> address_{0};
    ServerSocket unicast_;
    std::vector<ServerSocket> broadcast_;
    mutable base::Mutex channels_;          ///< Guards the pointers against the observer's threads.
    std::shared_ptr<StreamChannel> stream_; ///< Set by the control thread.
    std::shared_ptr<MessageChannel> messages_; ///< Set by the control thread.
    base::UniqueFd wake_;
    bool startedOver_ = false; ///< FORCEIP asked for a new address.

    std::atomic<bool> ending_{false};
    std::atomic<bool> testPacketDue_{false};
    std::atomic<bool> settingsChanged_{false};
    std::atomic<std::int64_t> absentMs_{0}; ///< Unplugged for so long from now on; -1 for ever.
    Clock::time_point backAt_ = Clock::time_point::min();
    std::thread thread_; // last: it uses the rest
};

} // namespace simulator::gige
