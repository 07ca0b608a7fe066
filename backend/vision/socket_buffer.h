// The receive buffer of a socket that a library opened. Its descriptor is not told, so it is looked
// for among this process's UDP sockets by its local port.
#pragma once

#include <cstdint>

namespace vision
{

/// Enlarges the buffer to `bytes`, or as far as the system lets us; never makes it smaller. False
/// when there is no such socket.
bool enlargeReceiveBuffer(std::uint16_t localPort, int bytes);

/// Throws away what waits in the buffer, as long as nobody else reads from it. Ends although
/// packets keep coming.
void discardReceived(std::uint16_t localPort);

} // namespace vision
