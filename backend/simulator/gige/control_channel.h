// Commands of hosts to a served camera, and its answers.
#pragma once

#include "gige/wire/gvcp.h"
#include "simulator/camera_model.h"
#include "simulator/gige/control_privilege.h"
#include "simulator/network_faults.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <random>

namespace simulator::gige
{

/// What commands do beside reading and writing registers. Called inside ControlChannel::handle()
/// and expire().
class ControlHost
{
public:
    virtual ~ControlHost() = default;
    virtual void resend(const wire::ResendRequest& request, const Endpoint& asker) = 0;
    /// Takes another address; false when this camera may not have it. Address 0: start over.
    virtual bool forceIp(const IpConfig& ip) = 0;
    virtual void sessionEnded() = 0;
    /// Another host took control from this one.
    virtual void switchedOver(const Endpoint& former) = 0;
};

/// Nothing here blocks, and whatever comes in, memory and time stay bounded. Not thread safe.
class ControlChannel
{
public:
    using Clock = std::chrono::steady_clock;

    struct Answer {
        wire::Datagram datagram; ///< Size 0: silence.
        Endpoint to;
        bool broadcast = false; ///< The host may be in another subnet.
    };

    ControlChannel(CameraModel& camera, ControlHost& host);

    /// What to send at once; answers that have to wait come from takeDue().
    Answer handle(wire::Bytes datagram, const Endpoint& from, Clock::time_point now);
    /// The next waiting answer whose time has come.
    bool takeDue(Clock::time_point now, Answer* answer);
    /// Ends the session when its host was not heard for too long.
    void expire(Clock::time_point now);
    /// Ends the session without a word, as an unplugged camera does.
    void reset();
    /// When takeDue() or expire() have something to do.
    std::optional<Clock::time_point> nextDue() const;

private:
    struct Deferred {
        Clock::time_point due;
        Answer answer;
    };
    /// An answer that is given again when its command comes again: it must not run twice.
    struct Remembered {
        Endpoint from;
        Clock::time_point time;
        wire::Datagram command;
        wire::Datagram answer;
    };

    wire::Datagram run(const wire::CommandPacket& packet, const Endpoint& from,
                       Clock::time_point now);
    wire::Datagram action(const wire::CommandPacket& packet);
    wire::Datagram forceIp(const wire::CommandPacket& packet);
    wire::Datagram readRegisters(const wire::CommandPacket& packet, const Endpoint& from);
    wire::Datagram writeRegisters(const wire::CommandPacket& packet, const Endpoint& from,
                                  Clock::time_point now);
    wire::Datagram readMemory(const wire::CommandPacket& packet, const Endpoint& from);
    wire::Datagram writeMemory(const wire::CommandPacket& packet, const Endpoint& from,
                               Clock::time_point now);
    std::uint16_t write(std::uint32_t address, wire::Bytes data, const Endpoint& from,
                        Clock::time_point now);
    std::uint16_t writePrivilege(std::uint32_t value, const Endpoint& from, Clock::time_point now);
    std::uint16_t laterCode(std::uint16_t code);
    std::uint16_t refusal(std::int32_t code, std::uint32_t address, bool writing);
    bool hasHeartbeat() const;
    void publishPrivilege();
    void endSession();
    bool isForMe(const wire::CommandPacket& packet) const;
    bool again(wire::Bytes datagram, const Endpoint& from, Clock::time_point now,
               Answer* answer) const;
    void remember(wire::Bytes datagram, const Endpoint& from, Clock::time_point now,
                  const wire::Datagram& answer);
    Answer defer(const wire::CommandPacket& packet, Answer answer, Clock::time_point now);
    static void lie(AnswerLie lie, wire::Datagram* answer);

    CameraModel& camera_;
    ControlHost& host_;
    ControlPrivilege privilege_;
    std::deque<Deferred> deferred_;
    std::array<Remembered, 8> remembered_;
    std::size_t nextRemembered_ = 0;
    std::minstd_rand dice_{1};
};

} // namespace simulator::gige
