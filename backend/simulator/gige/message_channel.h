// Events on their way to the host.
#pragma once

#include "base/mutex.h"
#include "gige/wire/events.h"
#include "simulator/camera_model.h"
#include "simulator/gige/server_socket.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace simulator::gige
{

/// Sends one event after the other, again when no acknowledge comes and the host wants one. post()
/// may be called by any thread; the rest belongs to the control thread.
class MessageChannel
{
public:
    using Clock = std::chrono::steady_clock;
    /// More than this wait for nobody: the newest are lost.
    static constexpr std::size_t kMostWaiting = 256;

    /// Takes a port of `address` and tells the camera's registers. Throws std::system_error.
    MessageChannel(CameraModel& camera, std::uint32_t address);

    int fd() const { return socket_.fd(); }
    /// `data` stands behind the event's own header.
    void post(std::uint16_t id, std::uint64_t timestamp, std::uint64_t blockId,
              const std::vector<std::uint8_t>& data) ZEL_EXCLUDES(mutex_);
    /// Takes acknowledges and sends what is due. Returns when it wants to be called again.
    std::optional<Clock::time_point> service(Clock::time_point now) ZEL_EXCLUDES(mutex_);
    /// Forgets all events; the channel was closed.
    void clear() ZEL_EXCLUDES(mutex_);

private:
    struct Message {
        std::uint16_t id;
        std::uint64_t timestamp;
        std::uint64_t blockId;
        std::vector<std::uint8_t> data;
    };
    void takeAcknowledges();
    void sendPresent(bool ackRequired);
    bool next() ZEL_EXCLUDES(mutex_);

    CameraModel& camera_;
    ServerSocket socket_;
    base::Mutex mutex_;
    std::deque<Message> waiting_ ZEL_GUARDED_BY(mutex_);

    std::optional<Message> present_; ///< Sent, and not acknowledged yet.
    Endpoint to_;
    std::uint16_t request_ = 0;
    std::uint32_t triesLeft_ = 0;
    Clock::time_point again_;
};

} // namespace simulator::gige
