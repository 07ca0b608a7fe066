// Finding GigE Vision devices and giving them addresses.
#pragma once

#include "gige/network_adapter.h"
#include "gige/udp_socket.h"
#include "zel_err.h"

#include <vector>

namespace gige
{

/// A device and the adapter by which its answer came.
struct FoundDevice {
    wire::DiscoveryRecord record;
    int adapter = 0; ///< Number.
};

/// Asks devices by all of the given adapters at once. No answer is kept but from the port of the
/// protocol and to a question of ours, and no more of them than a network has devices. One thread
/// at a time.
class Discovery
{
public:
    explicit Discovery(std::vector<NetworkAdapter> adapters);

    /// Listens for `wait` and asks several times, because packets get lost. With `until` only as
    /// long as it answers false for each new device.
    template <class Until>
    std::vector<FoundDevice> find(std::chrono::milliseconds wait, Until&& until);
    std::vector<FoundDevice> find(std::chrono::milliseconds wait)
    {
        return find(wait, [](const FoundDevice&) { return false; });
    }

    /// Sends FORCEIP twice when the first one is not answered. -1011: the device did not answer
    /// within `wait`, else what it answered.
    ZelCamErr forceIp(const wire::ForceIp& force, std::chrono::milliseconds wait);

private:
    void broadcast(const wire::Datagram& question);
    /// Asks again when it is time. False: the time is over.
    bool next(const wire::Datagram& question, Clock::time_point end, wire::AckPacket* ack,
              Sender* sender);
    void begin();
    static bool read(const wire::AckPacket& ack, const Sender& sender, FoundDevice* device);
    static bool add(const FoundDevice& device, std::vector<FoundDevice>* found);

    const std::vector<NetworkAdapter> adapters_;
    UdpSocket socket_;
    std::uint16_t id_ = 0;
    std::array<std::uint8_t, kLongestControlPacket> buffer_{};
    Clock::time_point askAgain_{};
    Clock::duration pause_{};
};

template <class Until>
std::vector<FoundDevice> Discovery::find(std::chrono::milliseconds wait, Until&& until)
{
    std::vector<FoundDevice> found;
    begin();
    const wire::Datagram question = wire::makeCommand(
        wire::Command::Discovery, wire::kFlagAckRequired | wire::kFlagBroadcastAck, id_);
    const Clock::time_point end = Clock::now() + wait;
    wire::AckPacket ack;
    Sender sender;
    while (next(question, end, &ack, &sender)) {
        FoundDevice device;
        if (ack.answers(wire::Command::Discovery, id_) && read(ack, sender, &device) &&
            add(device, &found) && until(found.back())) {
            break;
        }
    }
    return found;
}

} // namespace gige
