// How large the packets of a stream may be.
#pragma once

#include "gige/control_channel.h"
#include "gige/network_adapter.h"

namespace gige
{

/// The largest packet that the way to a device carries as far as this host knows: headers of IP and
/// UDP included, a multiple of four, never above what the register holds.
std::uint32_t largestPacket(const NetworkAdapter& adapter, std::uint32_t device);

/// Has the device send test packets and sets its first stream channel to the largest one that
/// arrives, up to `largest`. One that answers none keeps its size, or gets `largest` where its own
/// is above. The channel must be closed, and is afterwards. -1010 when the device is gone.
ZelCamErr negotiatePacketSize(ControlChannel& control, std::uint32_t largest, bool loopback);

} // namespace gige
