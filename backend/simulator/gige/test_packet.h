// Packets that try out which sizes reach the host.
#pragma once

#include "simulator/gige/sent_frame.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace simulator::gige
{

/// The bytes of test packets: a linear feedback shift register of 16 bits that runs through all its
/// states but 0 (x^16 + x^5 + x^3 + x^2 + 1, from 0xFFFF on); each step gives its low byte.
class TestBytes
{
public:
    std::uint8_t next()
    {
        const auto byte = static_cast<std::uint8_t>(state_ & 0xFFU);
        state_ = static_cast<std::uint16_t>((state_ >> 1U) ^ ((state_ & 1U) != 0 ? 0x8016U : 0U));
        return byte;
    }
    std::uint16_t state() const { return state_; }

private:
    std::uint16_t state_ = 0xFFFF;
};

/// A datagram of `size` bytes, at least a header: block 0, packet 0, then TestBytes.
inline std::vector<std::uint8_t> testPacket(std::size_t size, bool extended)
{
    const PacketView view = emptyPacket(0, 0, 0, extended);
    std::vector<std::uint8_t> datagram(
        view.header.begin(), view.header.begin() + static_cast<std::ptrdiff_t>(view.headerSize));
    TestBytes bytes;
    while (datagram.size() < size) {
        datagram.push_back(bytes.next());
    }
    return datagram;
}

} // namespace simulator::gige
