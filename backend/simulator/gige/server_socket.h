// UDP sockets of a camera on the network.
#pragma once

#include "base/unique_fd.h"
#include "gige/wire/bytes.h"

#include <netinet/in.h>

#include <cstdint>
#include <string>

namespace simulator::gige
{

namespace wire = ::gige::wire;

/// Host integers.
struct Endpoint {
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    bool operator==(const Endpoint& other) const
    {
        return address == other.address && port == other.port;
    }
    sockaddr_in toSocket() const;
    static Endpoint of(const sockaddr_in& address);
};

/// A bound socket that never blocks. Sending is thread safe.
class ServerSocket
{
public:
    ServerSocket() = default;
    /// Binds; port 0: any. `shared`: others may bind the same broadcast address. A device name
    /// limits the socket to that adapter. Throws std::system_error.
    ServerSocket(Endpoint local, bool shared, const std::string& device = {});

    int fd() const { return fd_.get(); }
    bool isOpen() const { return static_cast<bool>(fd_); }
    Endpoint local() const { return local_; }

    /// False when the system refused; the packet is lost then, as on any network.
    bool send(const Endpoint& to, wire::Bytes data) const;
    /// The next datagram into `data` (its size then tells how long it is); false when there is
    /// none. What is longer than `capacity` is cut.
    bool receive(std::uint8_t* data, std::size_t capacity, std::size_t* size, Endpoint* from) const;
    void allowBroadcast() const;
    /// Nothing that comes in is kept.
    void dropInput() const;
    /// Whether packets that are too large for a link are dropped, not cut.
    void setDoNotFragment(bool drop) const;

private:
    base::UniqueFd fd_;
    Endpoint local_;
};

} // namespace simulator::gige
