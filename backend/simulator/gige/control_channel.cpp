#include "simulator/gige/control_channel.h"

#include "gentl_abi/gentl_abi.h"
#include "gige/wire/bootstrap.h"
#include "gige/wire/discovery.h"

#include <algorithm>
#include <cstring>

namespace simulator::gige
{

namespace
{

namespace reg = wire::reg;
namespace status = wire::status;
using wire::Command;
using wire::CommandPacket;
using wire::Datagram;

constexpr std::size_t kMostDeferred = 16;
constexpr std::chrono::seconds kRepeatTime{1};

bool isWrite(const CommandPacket& packet)
{
    return packet.is(Command::WriteRegister) || packet.is(Command::WriteMemory);
}

Datagram bareAck(const CommandPacket& packet, std::uint16_t code)
{
    return wire::makeAck(static_cast<std::uint16_t>(packet.code + 1U), packet.id, code);
}

} // namespace

ControlChannel::ControlChannel(CameraModel& camera, ControlHost& host)
    : camera_(camera), host_(host)
{
}

ControlChannel::Answer ControlChannel::handle(wire::Bytes datagram, const Endpoint& from,
                                              Clock::time_point now)
{
    Answer answer;
    answer.to = from;
    CommandPacket packet;
    if (!wire::parseCommand(datagram, &packet) || packet.id == 0 ||
        camera_.networkFaults().silentControl || !isForMe(packet)) {
        return answer;
    }
    if (packet.is(Command::PacketResend)) {
        wire::ResendRequest request;
        if (!privilege_.isFree() && from.address == privilege_.controller().address &&
            wire::readPacketResend(packet, &request)) {
            privilege_.heard(from, now);
            host_.resend(request, from);
        }
        return answer;
    }
    privilege_.heard(from, now);
    const bool once = isWrite(packet) || packet.is(Command::ForceIp) || packet.is(Command::Action);
    if (once && again(datagram, from, now, &answer)) {
        return answer;
    }
    const AnswerLie lieAbout =
        packet.is(Command::Discovery) ? AnswerLie::Off : camera_.takeAnswerLie();
    const Datagram reply = run(packet, from, now);
    if (once) {
        remember(datagram, from, now, reply);
    }
    if (!packet.wantsAck() && !packet.is(Command::Discovery)) {
        return answer;
    }
    answer.datagram = reply;
    answer.broadcast = (packet.flags & wire::kFlagBroadcastAck) != 0 &&
                       (packet.is(Command::Discovery) || packet.is(Command::ForceIp));
    lie(lieAbout, &answer.datagram);
    return defer(packet, answer, now);
}

Datagram ControlChannel::run(const CommandPacket& packet, const Endpoint& from,
                             Clock::time_point now)
{
    if (packet.is(Command::Discovery)) {
        std::array<std::uint8_t, wire::kDiscoverySize> identity{};
        camera_.readBootstrap(0, identity.data(), identity.size());
        return wire::makeAck(wire::ackCode(Command::Discovery), packet.id, status::kSuccess,
                             {identity.data(), identity.size()});
    }
    if (packet.is(Command::ForceIp)) {
        return forceIp(packet);
    }
    if (packet.is(Command::Action)) {
        return action(packet);
    }
    if (packet.is(Command::ReadRegister)) {
        return readRegisters(packet, from);
    }
    if (packet.is(Command::WriteRegister)) {
        return writeRegisters(packet, from, now);
    }
    if (packet.is(Command::ReadMemory)) {
        return readMemory(packet, from);
    }
    if (packet.is(Command::WriteMemory)) {
        return writeMemory(packet, from, now);
    }
    return bareAck(packet, status::kNotImplemented);
}

/// FORCEIP goes to all cameras and is meant for one.
bool ControlChannel::isForMe(const CommandPacket& packet) const
{
    if (!packet.is(Command::ForceIp)) {
        return true;
    }
    wire::ForceIp force;
    std::uint64_t mac = 0;
    if (!wire::readForceIp(packet.payload, &force)) {
        return false;
    }
    for (const std::uint8_t byte : force.mac) {
        mac = mac << 8U | byte;
    }
    return mac == (std::uint64_t{camera_.bootstrap(reg::kMacHigh)} << 32U |
                   camera_.bootstrap(reg::kMacLow));
}

Datagram ControlChannel::forceIp(const CommandPacket& packet)
{
    wire::ForceIp force;
    wire::readForceIp(packet.payload, &force);
    if (!privilege_.isFree()) {
        return bareAck(packet, status::kAccessDenied);
    }
    const bool taken = host_.forceIp({force.address, force.mask, force.gateway});
    return bareAck(packet, taken ? status::kSuccess : status::kInvalidParameter);
}

/// Goes to all cameras; those whose keys do not fit are silent.
Datagram ControlChannel::action(const CommandPacket& packet)
{
    wire::Action action;
    if (!wire::readAction(packet, &action)) {
        return bareAck(packet, status::kInvalidHeader);
    }
    const bool always = (camera_.bootstrap(reg::kControlConfiguration) &
                         wire::configuration::kUnconditionalAction) != 0;
    if (privilege_.isFree() && !always) {
        return {};
    }
    ActionCommand command{action.deviceKey, action.groupKey, action.groupMask, {}};
    if (action.scheduled) {
        command.time = action.time;
    }
    switch (camera_.actionCommand(command)) {
    case ActionFate::NotMeant:
        return {};
    case ActionFate::Done:
        return bareAck(packet, status::kSuccess);
    case ActionFate::Late:
        return bareAck(packet, laterCode(status::kActionLate));
    case ActionFate::Full:
        return bareAck(packet, laterCode(status::kOverflow));
    case ActionFate::NoClock:
        return bareAck(packet, laterCode(status::kNoReferenceTime));
    default:
        return bareAck(packet, status::kInvalidParameter);
    }
}

/// A status code of version 2 of the standard, for hosts that want to hear of them.
std::uint16_t ControlChannel::laterCode(std::uint16_t code)
{
    const bool isKnown =
        (camera_.bootstrap(reg::kControlConfiguration) & wire::configuration::kStatusCodes20) != 0;
    return isKnown ? code : status::kError;
}

std::uint16_t ControlChannel::refusal(std::int32_t code, std::uint32_t address, bool writing)
{
    switch (code) {
    case gentl::err::kSuccess:
        return status::kSuccess;
    case gentl::err::kInvalidAddress:
        return status::kInvalidAddress;
    case gentl::err::kAccessDenied:
        return writing && camera_.isReadOnly(address) ? status::kWriteProtect
                                                      : status::kAccessDenied;
    case gentl::err::kInvalidParameter:
    case gentl::err::kInvalidValue:
        return status::kInvalidParameter;
    case gentl::err::kNotImplemented:
        return status::kNotImplemented;
    case gentl::err::kBusy:
    case gentl::err::kResourceInUse:
        return status::kBusy;
    default:
        return status::kError;
    }
}

Datagram ControlChannel::readRegisters(const CommandPacket& packet, const Endpoint& from)
{
    const std::size_t count = wire::readRegisterCount(packet.payload);
    if (count == 0) {
        return bareAck(packet, status::kInvalidHeader);
    }
    std::array<std::uint32_t, wire::kMaxReadRegisters> values{};
    std::uint16_t code = privilege_.mayRead(from) ? status::kSuccess : status::kAccessDenied;
    std::size_t done = 0;
    while (done < count && code == status::kSuccess) {
        const std::uint32_t address = packet.payload.u32(4 * done);
        std::uint8_t bytes[4] = {};
        code = address % 4 != 0
                   ? status::kBadAlignment
                   : refusal(camera_.read(address, bytes, sizeof bytes), address, false);
        if (code == status::kSuccess) {
            values[done++] = base::loadBig<std::uint32_t>(bytes);
        }
    }
    return wire::makeReadRegistersAck(packet.id, code, values.data(), done);
}

Datagram ControlChannel::readMemory(const CommandPacket& packet, const Endpoint& from)
{
    wire::MemoryRange range;
    if (!wire::readMemoryRange(packet.payload, &range)) {
        return bareAck(packet, status::kInvalidHeader);
    }
    if (!privilege_.mayRead(from)) {
        return bareAck(packet, status::kAccessDenied);
    }
    if (range.address % 4 != 0) {
        return bareAck(packet, status::kBadAlignment);
    }
    if (range.count == 0 || range.count % 4 != 0 || range.count > wire::kMemoryBlock) {
        return bareAck(packet, status::kInvalidParameter);
    }
    std::array<std::uint8_t, wire::kMemoryBlock> bytes{};
    const std::uint16_t code =
        refusal(camera_.read(range.address, bytes.data(), range.count), range.address, false);
    return code == status::kSuccess
               ? wire::makeReadMemoryAck(packet.id, range.address, {bytes.data(), range.count})
               : bareAck(packet, code);
}

std::uint16_t ControlChannel::write(std::uint32_t address, wire::Bytes data, const Endpoint& from,
                                    Clock::time_point now)
{
    if (address % 4 != 0) {
        return status::kBadAlignment;
    }
    if (address == reg::kControlPrivilege && data.size == 4) {
        return writePrivilege(data.u32(0), from, now);
    }
    const bool touchesPrivilege =
        address <= reg::kControlPrivilege && data.size > reg::kControlPrivilege - address;
    if (!privilege_.isController(from) || touchesPrivilege) {
        return status::kAccessDenied;
    }
    return refusal(camera_.write(address, data.data, data.size), address, true);
}

Datagram ControlChannel::writeRegisters(const CommandPacket& packet, const Endpoint& from,
                                        Clock::time_point now)
{
    const std::size_t count = wire::writeRegisterCount(packet.payload);
    if (count == 0) {
        return bareAck(packet, status::kInvalidHeader);
    }
    std::size_t done = 0;
    std::uint16_t code = status::kSuccess;
    while (done < count && code == status::kSuccess) {
        code = write(packet.payload.u32(8 * done), packet.payload.from(8 * done + 4).first(4), from,
                     now);
        done += code == status::kSuccess ? 1 : 0;
    }
    return wire::makeWriteAck(Command::WriteRegister, packet.id, code,
                              static_cast<std::uint16_t>(done));
}

Datagram ControlChannel::writeMemory(const CommandPacket& packet, const Endpoint& from,
                                     Clock::time_point now)
{
    std::uint32_t address = 0;
    wire::Bytes data;
    if (!wire::readWriteMemory(packet.payload, &address, &data) || data.empty()) {
        return bareAck(packet, status::kInvalidHeader);
    }
    const std::uint16_t code = data.size % 4 != 0 || data.size > wire::kMemoryBlock
                                   ? status::kInvalidParameter
                                   : write(address, data, from, now);
    const auto written = static_cast<std::uint16_t>(code == status::kSuccess ? data.size : 0);
    return wire::makeWriteAck(Command::WriteMemory, packet.id, code, written);
}

std::uint16_t ControlChannel::writePrivilege(std::uint32_t value, const Endpoint& from,
                                             Clock::time_point now)
{
    const Endpoint former = privilege_.controller();
    const auto key = static_cast<std::uint16_t>(camera_.bootstrap(reg::kSwitchoverKey));
    switch (privilege_.request(from, value, key, now)) {
    case ControlPrivilege::Change::Refused:
        return status::kAccessDenied;
    case ControlPrivilege::Change::GivenBack:
        endSession();
        break;
    case ControlPrivilege::Change::Switched:
        publishPrivilege();
        host_.switchedOver(former);
        break;
    default:
        publishPrivilege();
    }
    return status::kSuccess;
}

void ControlChannel::publishPrivilege()
{
    const bool free = privilege_.isFree();
    camera_.setBootstrap(reg::kControlPrivilege, privilege_.value());
    camera_.setBootstrap(reg::kPrimaryAddress, free ? 0 : privilege_.controller().address);
    camera_.setBootstrap(reg::kPrimaryPort, free ? 0 : privilege_.controller().port);
}

void ControlChannel::endSession()
{
    privilege_.reset();
    publishPrivilege();
    host_.sessionEnded();
}

bool ControlChannel::hasHeartbeat() const
{
    return !privilege_.isFree() && (camera_.bootstrap(reg::kControlConfiguration) &
                                    wire::configuration::kHeartbeatOff) == 0;
}

void ControlChannel::expire(Clock::time_point now)
{
    if (std::any_of(deferred_.begin(), deferred_.end(), [this](const Deferred& each) {
            return privilege_.isController(each.answer.to);
        })) {
        privilege_.heard(privilege_.controller(), now); // it waits for us
    }
    const std::chrono::milliseconds timeout(camera_.bootstrap(reg::kHeartbeatTimeout));
    if (hasHeartbeat() && privilege_.isExpired(timeout, now)) {
        endSession();
    }
}

void ControlChannel::reset()
{
    privilege_.reset();
    publishPrivilege();
    deferred_.clear();
    remembered_ = {};
}

bool ControlChannel::again(wire::Bytes datagram, const Endpoint& from, Clock::time_point now,
                           Answer* answer) const
{
    for (const Remembered& each : remembered_) {
        if (each.answer.size != 0 && each.from == from && now - each.time < kRepeatTime &&
            each.command.size == datagram.size &&
            std::memcmp(each.command.data.data(), datagram.data, datagram.size) == 0) {
            const bool waits =
                std::any_of(deferred_.begin(), deferred_.end(),
                            [&](const Deferred& deferred) { return deferred.answer.to == from; });
            if (!waits) {
                answer->datagram = each.answer;
            }
            return true;
        }
    }
    return false;
}

void ControlChannel::remember(wire::Bytes datagram, const Endpoint& from, Clock::time_point now,
                              const Datagram& answer)
{
    if (datagram.size > Datagram::kCapacity) {
        return;
    }
    Remembered& place = remembered_[nextRemembered_];
    nextRemembered_ = (nextRemembered_ + 1) % remembered_.size();
    place.from = from;
    place.time = now;
    std::memcpy(place.command.data.data(), datagram.data, datagram.size);
    place.command.size = datagram.size;
    place.answer = answer;
}

/// Work that takes its time (or is told to) is announced, and discoveries are answered within the
/// time that the host allows.
ControlChannel::Answer ControlChannel::defer(const CommandPacket& packet, Answer answer,
                                             Clock::time_point now)
{
    std::uint64_t delayMs = 0;
    if (packet.is(Command::Discovery)) {
        const std::uint32_t most = camera_.bootstrap(reg::kDiscoveryDelay);
        delayMs = most == 0 ? 0 : dice_() % most;
    } else if (isWrite(packet)) {
        delayMs = std::max(camera_.networkFaults().answerDelayMs, camera_.takeWork());
    }
    if (delayMs == 0 || answer.datagram.size == 0) {
        return answer;
    }
    if (deferred_.size() == kMostDeferred) {
        answer.datagram =
            packet.is(Command::Discovery) ? Datagram{} : bareAck(packet, status::kBusy);
        return answer;
    }
    deferred_.push_back({now + std::chrono::milliseconds(delayMs), answer});
    const bool announces =
        (camera_.bootstrap(reg::kControlConfiguration) & wire::configuration::kPendingAck) != 0 &&
        delayMs > camera_.bootstrap(reg::kPendingTimeout);
    answer.datagram = Datagram{};
    if (isWrite(packet) && announces) {
        answer.datagram = wire::makePendingAck(
            packet.id, static_cast<std::uint16_t>(std::min<std::uint64_t>(delayMs + 100, 0xFFFF)));
    }
    return answer;
}

bool ControlChannel::takeDue(Clock::time_point now, Answer* answer)
{
    const auto it = std::find_if(deferred_.begin(), deferred_.end(),
                                 [now](const Deferred& each) { return each.due <= now; });
    if (it == deferred_.end()) {
        return false;
    }
    *answer = it->answer;
    deferred_.erase(it);
    return true;
}

std::optional<ControlChannel::Clock::time_point> ControlChannel::nextDue() const
{
    std::optional<Clock::time_point> next;
    for (const Deferred& each : deferred_) {
        next = next ? std::min(*next, each.due) : each.due;
    }
    if (hasHeartbeat()) {
        const auto end = privilege_.lastHeard() +
                         std::chrono::milliseconds(camera_.bootstrap(reg::kHeartbeatTimeout) + 1);
        next = next ? std::min(*next, end) : end;
    }
    return next;
}

void ControlChannel::lie(AnswerLie lie, Datagram* answer)
{
    std::uint8_t* const bytes = answer->data.data();
    if (answer->size < wire::kControlHeader) {
        return;
    }
    switch (lie) {
    case AnswerLie::OtherId:
        base::storeBig<std::uint16_t>(
            bytes + 6, static_cast<std::uint16_t>(base::loadBig<std::uint16_t>(bytes + 6) + 7U));
        break;
    case AnswerLie::OtherCommand:
        bytes[3] = static_cast<std::uint8_t>(bytes[3] ^ 0x06U);
        break;
    case AnswerLie::HugeLength:
        bytes[4] = 0xFF;
        break;
    case AnswerLie::Short:
        bytes[4] = bytes[5] = 0;
        answer->size = wire::kControlHeader;
        break;
    case AnswerLie::Error:
        bytes[0] = 0x8A;
        bytes[1] = 0xBC;
        break;
    default:
        break;
    }
}

} // namespace simulator::gige
