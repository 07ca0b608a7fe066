// Who controls a camera, and for how long.
#pragma once

#include "gige/wire/bootstrap.h"
#include "simulator/gige/server_socket.h"

#include <chrono>
#include <cstdint>
#include <optional>

namespace simulator::gige
{

/// The control channel privilege and its heartbeat. Not thread safe.
class ControlPrivilege
{
public:
    using Clock = std::chrono::steady_clock;
    /// What became of a write to the privilege register.
    enum class Change {
        None,     ///< Granted as it was, or nothing to give back.
        Taken,    ///< A session begins.
        Changed,  ///< The same host, with other rights.
        Switched, ///< Another host follows; the session goes on.
        GivenBack,
        Refused,
    };

    std::uint32_t value() const { return value_; }
    bool isFree() const { return value_ == 0; }
    bool isController(const Endpoint& host) const { return !isFree() && host == controller_; }
    const Endpoint& controller() const { return controller_; }
    /// Others read nothing while one host has the camera exclusively.
    bool mayRead(const Endpoint& host) const
    {
        return (value_ & wire::kPrivilegeExclusive) == 0 || isController(host);
    }

    /// `key`: what a host has to show to follow the present one.
    Change request(const Endpoint& host, std::uint32_t value, std::uint16_t key,
                   Clock::time_point now);
    /// A command came from this host.
    void heard(const Endpoint& host, Clock::time_point now)
    {
        if (isController(host)) {
            heard_ = now;
        }
    }
    bool isExpired(std::chrono::milliseconds timeout, Clock::time_point now) const
    {
        return !isFree() && now - heard_ > timeout;
    }
    Clock::time_point lastHeard() const { return heard_; }
    void reset() { value_ = 0; }

private:
    std::uint32_t value_ = 0;
    Endpoint controller_;
    Clock::time_point heard_;
};

} // namespace simulator::gige
