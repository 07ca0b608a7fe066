// The receive buffer of a socket that a library opened.
#pragma once

#include <cstdint>

namespace vision
{

/// Enlarges the receive buffer of this process's UDP socket with the local port to `bytes`, or as
/// far as the system lets us; never makes it smaller. False when there is no such socket.
bool enlargeReceiveBuffer(std::uint16_t localPort, int bytes);

} // namespace vision
