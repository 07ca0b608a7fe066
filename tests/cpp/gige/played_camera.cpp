#include "played_camera.h"

#include "gige/wire/bootstrap.h"

#include <netinet/in.h>
#include <sys/socket.h>

using namespace gige;
using namespace std::chrono_literals;

namespace
{

constexpr std::uint32_t kBroadcast = 0xFFFFFFFFU;

void sendTo(const UdpSocket& socket, wire::Bytes bytes, std::uint32_t address, std::uint16_t port)
{
    socket.sendTo(bytes, address, port);
}

} // namespace

PlayedCamera::PlayedCamera(std::uint32_t address)
    : address_(address), socket_(address, wire::kControlPort),
      broadcasts_(kBroadcast, wire::kControlPort), stream_(address)
{
    // Groups are on loopback, too.
    in_addr adapter{};
    adapter.s_addr = htonl(address);
    ::setsockopt(stream_.descriptor(), IPPROTO_IP, IP_MULTICAST_IF, &adapter, sizeof adapter);
    setWord(wire::reg::kStreamChannelCount, 1);
    setWord(wire::reg::kControlCapability, wire::capability::kPacketResend);
    setWord(wire::reg::kTickFrequencyLow, 1000000000);
    setWord(wire::streamRegister(0, wire::stream::kPacketSize), 576);
    setWord(wire::streamRegister(0, wire::stream::kSourcePort), stream_.localPort());
    thread_ = std::thread([this] { run(); });
}

PlayedCamera::~PlayedCamera()
{
    ending_ = true;
    thread_.join();
}

std::uint32_t PlayedCamera::load(std::uint32_t address)
{
    std::uint32_t value = 0;
    for (std::uint32_t i = 0; i < 4; ++i) {
        value = value << 8U | memory_[address + i];
    }
    return value;
}

void PlayedCamera::store(std::uint32_t address, std::uint32_t value)
{
    for (std::uint32_t i = 0; i < 4; ++i) {
        memory_[address + i] = static_cast<std::uint8_t>(value >> (24U - 8U * i));
    }
}

std::uint32_t PlayedCamera::word(std::uint32_t address)
{
    const base::Lock lock(mutex_);
    return load(address);
}

void PlayedCamera::setWord(std::uint32_t address, std::uint32_t value)
{
    const base::Lock lock(mutex_);
    store(address, value);
}

void PlayedCamera::setText(std::uint32_t address, const std::string& text)
{
    const base::Lock lock(mutex_);
    for (const char letter : text) {
        memory_[address++] = static_cast<std::uint8_t>(letter);
    }
}

std::uint32_t PlayedCamera::destination()
{
    return word(wire::streamRegister(0, wire::stream::kDestination));
}

std::uint16_t PlayedCamera::port()
{
    return static_cast<std::uint16_t>(word(wire::streamRegister(0, wire::stream::kPort)));
}

bool PlayedCamera::send(const stream_maker::Packet& packet)
{
    return stream_.sendTo({packet.data(), packet.size()}, destination(), port());
}

bool PlayedCamera::send(const std::vector<stream_maker::Packet>& packets)
{
    const std::uint32_t to = destination();
    const std::uint16_t where = port();
    bool sent = true;
    for (const stream_maker::Packet& packet : packets) {
        sent = stream_.sendTo({packet.data(), packet.size()}, to, where) && sent;
    }
    return sent;
}

std::vector<wire::ResendRequest> PlayedCamera::takeRequests()
{
    const base::Lock lock(mutex_);
    return std::exchange(requests_, {});
}

std::vector<wire::Action> PlayedCamera::takeActions()
{
    const base::Lock lock(mutex_);
    return std::exchange(actions_, {});
}

void PlayedCamera::run()
{
    std::array<std::uint8_t, kLongestControlPacket> buffer;
    while (!ending_) {
        for (UdpSocket* socket : {&socket_, &broadcasts_}) {
            Sender from;
            wire::CommandPacket packet;
            const auto wait = socket == &socket_ ? 10ms : 0ms;
            const wire::Bytes got = socket->receive(Clock::now() + wait, buffer.data(), &from);
            if (!got.empty() && wire::parseCommand(got, &packet)) {
                handle(packet, from);
            }
        }
    }
}

void PlayedCamera::handle(const wire::CommandPacket& packet, const Sender& from)
{
    wire::ResendRequest request;
    wire::Action action;
    {
        const base::Lock lock(mutex_);
        if (packet.is(wire::Command::PacketResend) && wire::readPacketResend(packet, &request)) {
            requests_.push_back(request);
            return;
        }
        if (packet.is(wire::Command::Action) && wire::readAction(packet, &action)) {
            actions_.push_back(action);
            return;
        }
    }
    if (packet.wantsAck()) {
        sendTo(socket_, answer(packet).bytes(), from.address, from.port);
    }
}

wire::Datagram PlayedCamera::readMemory(const wire::CommandPacket& packet)
{
    wire::MemoryRange range;
    if (!wire::readMemoryRange(packet.payload, &range) || (refusesMemory && range.count == 4)) {
        return wire::makeAck(wire::ackCode(wire::Command::ReadMemory), packet.id,
                             wire::status::kInvalidAddress);
    }
    const base::Lock lock(mutex_);
    std::vector<std::uint8_t> bytes(range.count);
    for (std::uint32_t i = 0; i < range.count; ++i) {
        bytes[i] = memory_[range.address + i];
    }
    return wire::makeReadMemoryAck(packet.id, range.address, {bytes.data(), bytes.size()});
}

wire::Datagram PlayedCamera::answer(const wire::CommandPacket& packet)
{
    wire::Bytes data;
    std::uint32_t address = 0;
    if (packet.is(wire::Command::ReadMemory)) {
        return readMemory(packet);
    }
    if (packet.is(wire::Command::ReadRegister)) {
        const std::uint32_t value = word(packet.payload.u32(0));
        return wire::makeReadRegistersAck(packet.id, 0, &value, 1);
    }
    if (packet.is(wire::Command::WriteRegister)) {
        const wire::RegisterValue value = wire::registerToWrite(packet.payload, 0);
        written(value.address, value.value);
        return wire::makeWriteAck(wire::Command::WriteRegister, packet.id, 0, 1);
    }
    if (packet.is(wire::Command::WriteMemory) &&
        wire::readWriteMemory(packet.payload, &address, &data)) {
        for (std::uint32_t i = 0; i < data.size; i += 4) {
            written(address + i, data.u32(i));
        }
        return wire::makeWriteAck(wire::Command::WriteMemory, packet.id, 0,
                                  static_cast<std::uint16_t>(data.size));
    }
    return wire::makeAck(static_cast<std::uint16_t>(packet.code + 1U), packet.id,
                         wire::status::kNotImplemented);
}

void PlayedCamera::written(std::uint32_t address, std::uint32_t value)
{
    ++writes;
    const bool fire = address == wire::streamRegister(0, wire::stream::kPacketSize) &&
                      (value & wire::kFireTestPacket) != 0;
    setWord(address, fire ? value & ~wire::kFireTestPacket : value);
    const std::uint32_t size = value & wire::kPacketSizeMask;
    if (fire && size <= path && size > wire::kDatagramOverhead) {
        send(stream_maker::Packet(size - wire::kDatagramOverhead, 0));
    }
}
