#include "gige/discovery.h"

#include "gige/status_codes.h"

#include <algorithm>

namespace gige
{

namespace
{

constexpr std::uint32_t kLimitedBroadcast = 0xFFFFFFFF;
// More than any network of cameras has: who answers more often than this is no camera.
constexpr std::size_t kMostDevices = 1024;
// From one question to the next, doubled each time up to the second.
constexpr std::chrono::milliseconds kFirstPause{60};
constexpr std::chrono::milliseconds kLongestPause{500};

} // namespace

Discovery::Discovery(std::vector<NetworkAdapter> adapters)
    : adapters_(std::move(adapters)), socket_(0)
{
    // Bound to no address: answers that are broadcast, by cameras of foreign subnets, reach only
    // such sockets. The adapter is named with every packet instead.
    if (socket_.isOpen() && !socket_.tellAdapters()) {
        socket_ = {};
    }
}

void Discovery::begin()
{
    id_ = id_ == 0xFFFF ? std::uint16_t{1} : static_cast<std::uint16_t>(id_ + 1);
    pause_ = kFirstPause;
    askAgain_ = Clock::now();
}

void Discovery::broadcast(const wire::Datagram& question)
{
    for (const NetworkAdapter& adapter : adapters_) {
        const auto send = [&](std::uint32_t to) {
            socket_.sendBy(adapter.index, adapter.address, question.bytes(), to,
                           wire::kControlPort);
        };
        // Some cameras listen only to the one, some only to the other.
        send(kLimitedBroadcast);
        if (adapter.broadcast != 0) {
            send(adapter.broadcast);
        }
    }
}

bool Discovery::next(const wire::Datagram& question, Clock::time_point end, wire::AckPacket* ack,
                     Sender* sender)
{
    for (;;) {
        const Clock::time_point now = Clock::now();
        if (!socket_.isOpen() || now >= end) {
            return false;
        }
        if (now >= askAgain_) {
            broadcast(question);
            askAgain_ = now + pause_;
            pause_ = std::min<Clock::duration>(2 * pause_, kLongestPause);
        }
        const wire::Bytes got = socket_.receive(std::min(end, askAgain_), buffer_.data(), sender);
        if (!got.empty() && sender->port == wire::kControlPort && wire::parseAck(got, ack)) {
            return true;
        }
    }
}

bool Discovery::read(const wire::AckPacket& ack, const Sender& sender, FoundDevice* device)
{
    device->adapter = sender.adapter;
    return !wire::status::failed(ack.status) && wire::readDiscovery(ack.payload, &device->record);
}

bool Discovery::add(const FoundDevice& device, std::vector<FoundDevice>* found)
{
    const auto same = [&device](const FoundDevice& other) {
        return other.record.mac == device.record.mac &&
               other.record.address == device.record.address &&
               other.record.serialNumber == device.record.serialNumber;
    };
    if (found->size() >= kMostDevices || std::any_of(found->begin(), found->end(), same)) {
        return false;
    }
    found->push_back(device);
    return true;
}

ZelCamErr Discovery::forceIp(const wire::ForceIp& force, std::chrono::milliseconds wait)
{
    begin();
    pause_ = wait / 2;
    const wire::Datagram command =
        wire::makeForceIp(id_, force, wire::kFlagAckRequired | wire::kFlagBroadcastAck);
    const Clock::time_point end = Clock::now() + wait;
    wire::AckPacket ack;
    Sender sender;
    while (next(command, end, &ack, &sender)) {
        if (ack.answers(wire::Command::ForceIp, id_)) {
            return codeOf(ack.status);
        }
    }
    return ZelErr::kGenTLTimeout;
}

} // namespace gige
