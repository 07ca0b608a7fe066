// The control channel to one camera.
#pragma once

#include "base/mutex.h"
#include "base/unique_fd.h"
#include "gige/udp_socket.h"
#include "gige/wire/gvcp.h"
#include "zel_err.h"

#include <array>
#include <atomic>
#include <functional>

namespace gige
{

/// Registers and memory of a device, one command at a time. Only the device's own answers reach the
/// socket, and of those only the one to the command under way counts. A command that is not
/// answered is sent again under its old number; one that stays unanswered means that the device is
/// gone. A device may ask for patience, but no operation takes longer than kOperationLimit.
/// Thread safe.
///
/// Codes: -1010 the device is gone (also at once for everything that comes later), -1011 it asked
/// for patience and did not answer in time, -1020 no descriptor to be had, else what it answered.
class ControlChannel
{
public:
    static constexpr std::chrono::milliseconds kAckTimeout{200};
    static constexpr int kTries = 3;
    static constexpr std::chrono::milliseconds kOperationLimit{5000};

    ControlChannel() = default;
    ControlChannel(const ControlChannel&) = delete;
    ControlChannel& operator=(const ControlChannel&) = delete;

    /// Call once, before everything else. -1010 when there is no way to the address.
    ZelCamErr connect(std::uint32_t device);
    std::uint32_t device() const { return device_; }
    /// The address of ours that the device talks to.
    std::uint32_t localAddress() const { return local_; }
    std::uint16_t localPort() const { return socket_.localPort(); }

    ZelCamErr readRegister(std::uint32_t address, std::uint32_t* value);
    ZelCamErr writeRegister(std::uint32_t address, std::uint32_t value);
    /// Whole words of four bytes at addresses that are multiples of four, in as many pieces as it
    /// takes, as long as `limit` allows.
    ZelCamErr readMemory(std::uint32_t address, void* data, std::size_t size,
                         std::chrono::milliseconds limit = kOperationLimit);
    ZelCamErr writeMemory(std::uint32_t address, const void* data, std::size_t size);

    /// Ends the operations under way; from now on everything answers -1010.
    void setLost();
    bool isLost() const { return lost_; }
    /// Called once, on the thread of whose command the device said nothing. Set before threads use
    /// the channel.
    void onSilence(std::function<void()> handler) { silent_ = std::move(handler); }

private:
    class Turn;

    ZelCamErr ask(const wire::Datagram& command, wire::Command code, std::uint16_t id,
                  Clock::time_point limit, wire::AckPacket* ack);
    ZelCamErr askOnce(const wire::Datagram& command, wire::Command code, std::uint16_t id,
                      Clock::time_point limit, wire::AckPacket* ack);
    bool await(wire::Command code, std::uint16_t id, Clock::time_point limit, wire::AckPacket* ack,
               bool* patient);
    std::uint16_t nextId();

    std::uint32_t device_ = 0;
    std::uint32_t local_ = 0;
    UdpSocket socket_;
    base::UniqueFd wake_; ///< Readable once the device is lost.
    std::function<void()> silent_;
    std::atomic<bool> lost_{false};
    std::atomic<std::size_t> piece_{512};

    base::Mutex mutex_; ///< Guards busy_.
    std::condition_variable free_;
    bool busy_ ZEL_GUARDED_BY(mutex_) = false;
    // Of the thread whose turn it is.
    std::uint16_t id_ = 0;
    std::array<std::uint8_t, kLongestControlPacket> buffer_{};
};

} // namespace gige
