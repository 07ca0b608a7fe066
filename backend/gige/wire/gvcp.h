// Commands and acknowledges of the control channel, to be sent and as received.
//
// A side that sends commands uses the make…() of commands and parseAck(), then read…Ack(); a device
// uses parseCommand(), read…() and the make…Ack(). Nothing allocates.
#pragma once

#include "gige/wire/bytes.h"

namespace gige::wire
{

constexpr std::uint16_t kControlPort = 3956;
constexpr std::size_t kControlHeader = 8;
/// Bytes after the header.
constexpr std::size_t kControlPayload = Datagram::kCapacity - kControlHeader;
/// Data of one READMEM or WRITEMEM.
constexpr std::size_t kMemoryBlock = 536;
constexpr std::size_t kMaxReadRegisters = kControlPayload / 4;
constexpr std::size_t kMaxWriteRegisters = kControlPayload / 8;

/// Codes of commands; an acknowledge has the next number.
enum class Command : std::uint16_t {
    Discovery = 0x0002,
    ForceIp = 0x0004,
    PacketResend = 0x0040, ///< Is answered by the stream, never by an acknowledge.
    ReadRegister = 0x0080,
    WriteRegister = 0x0082,
    ReadMemory = 0x0084,
    WriteMemory = 0x0086,
    Event = 0x00C0,
    EventData = 0x00C2,
    Action = 0x0100,
};
constexpr std::uint16_t kPendingAckCode = 0x0089;
constexpr std::uint16_t ackCode(Command command)
{
    return static_cast<std::uint16_t>(static_cast<std::uint16_t>(command) + 1U);
}

/// Flags of a command.
constexpr std::uint8_t kFlagAckRequired = 0x01;
constexpr std::uint8_t kFlagBroadcastAck = 0x10; ///< Discovery, ForceIp: answer may be broadcast.
constexpr std::uint8_t kFlagExtendedIds = 0x10;  ///< PacketResend, Event, EventData.
constexpr std::uint8_t kFlagScheduled = 0x80;    ///< Action: with a time.

/// Status of an acknowledge or of a stream packet. Bit 0x8000 means failure.
namespace status
{
constexpr std::uint16_t kSuccess = 0x0000;
constexpr std::uint16_t kPacketResend = 0x0100; ///< Stream only: the packet is sent again.
constexpr std::uint16_t kNotImplemented = 0x8001;
constexpr std::uint16_t kInvalidParameter = 0x8002;
constexpr std::uint16_t kInvalidAddress = 0x8003;
constexpr std::uint16_t kWriteProtect = 0x8004;
constexpr std::uint16_t kBadAlignment = 0x8005;
constexpr std::uint16_t kAccessDenied = 0x8006;
constexpr std::uint16_t kBusy = 0x8007;
constexpr std::uint16_t kPacketUnavailable = 0x800C;
constexpr std::uint16_t kDataOverrun = 0x800D;
constexpr std::uint16_t kInvalidHeader = 0x800E;
constexpr std::uint16_t kPacketNotYetAvailable = 0x8010;
constexpr std::uint16_t kPacketAndPreviousRemoved = 0x8011;
constexpr std::uint16_t kPacketRemoved = 0x8012;
constexpr std::uint16_t kNoReferenceTime = 0x8013;
constexpr std::uint16_t kPacketTemporarilyUnavailable = 0x8014;
constexpr std::uint16_t kOverflow = 0x8015;
constexpr std::uint16_t kActionLate = 0x8016;
constexpr std::uint16_t kError = 0x8FFF;
constexpr bool failed(std::uint16_t status) { return (status & 0x8000U) != 0; }
} // namespace status

/// A command as it came in. `payload` borrows from the datagram.
struct CommandPacket {
    std::uint8_t flags = 0;
    std::uint16_t code = 0; ///< A Command, or something unknown.
    std::uint16_t id = 0;   ///< Of the request; never 0 in a sound one.
    Bytes payload;

    bool is(Command command) const { return code == static_cast<std::uint16_t>(command); }
    bool wantsAck() const { return (flags & kFlagAckRequired) != 0; }
};

/// An acknowledge as it came in. `payload` borrows from the datagram.
struct AckPacket {
    std::uint16_t status = 0;
    std::uint16_t code = 0; ///< ackCode() of a Command, kPendingAckCode, or something unknown.
    std::uint16_t id = 0;   ///< Of the request that it answers.
    Bytes payload;

    bool answers(Command command, std::uint16_t request) const
    {
        return code == ackCode(command) && id == request;
    }
};

/// False unless the datagram has the key of commands and all bytes that its header announces. What
/// follows them is left out.
bool parseCommand(Bytes datagram, CommandPacket* packet);
/// False unless all announced bytes are there, or when the datagram is a command.
bool parseAck(Bytes datagram, AckPacket* packet);

/// Any command or acknowledge: size 0 when the payload does not fit.
Datagram makeCommand(Command command, std::uint8_t flags, std::uint16_t id, Bytes payload = {});
Datagram makeAck(std::uint16_t code, std::uint16_t id, std::uint16_t status, Bytes payload = {});

// ---- FORCEIP

struct ForceIp {
    std::array<std::uint8_t, 6> mac{};
    std::uint32_t address = 0; ///< 0: start the configuration anew.
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;
};
Datagram makeForceIp(std::uint16_t id, const ForceIp& force, std::uint8_t flags);
bool readForceIp(Bytes payload, ForceIp* force);

// ---- READREG, WRITEREG

struct RegisterValue {
    std::uint32_t address = 0;
    std::uint32_t value = 0;
};
/// At most kMaxReadRegisters; more than one only with capability::kConcatenation.
Datagram makeReadRegisters(std::uint16_t id, const std::uint32_t* addresses, std::size_t count);
/// Number of addresses in a READREG; 0 when it is malformed. Address i: payload.u32(4 * i).
std::size_t readRegisterCount(Bytes payload);
Datagram makeReadRegistersAck(std::uint16_t id, std::uint16_t status, const std::uint32_t* values,
                              std::size_t count);

Datagram makeWriteRegisters(std::uint16_t id, const RegisterValue* values, std::size_t count);
/// Number of pairs in a WRITEREG; 0 when it is malformed.
std::size_t writeRegisterCount(Bytes payload);
RegisterValue registerToWrite(Bytes payload, std::size_t index);

/// For WRITEREG: registers written (on failure the index of the refused one); for WRITEMEM: bytes.
Datagram makeWriteAck(Command command, std::uint16_t id, std::uint16_t status, std::uint16_t index);

// ---- READMEM, WRITEMEM

struct MemoryRange {
    std::uint32_t address = 0;
    std::uint16_t count = 0;
};
Datagram makeReadMemory(std::uint16_t id, MemoryRange range);
/// Checks the form alone: alignment and limits are for the device to answer.
bool readMemoryRange(Bytes payload, MemoryRange* range);
Datagram makeReadMemoryAck(std::uint16_t id, std::uint32_t address, Bytes data);
/// False unless the acknowledge is about `address` and holds `count` bytes, which `*data` borrows.
bool readMemoryAck(const AckPacket& ack, MemoryRange asked, Bytes* data);

Datagram makeWriteMemory(std::uint16_t id, std::uint32_t address, Bytes data);
bool readWriteMemory(Bytes payload, std::uint32_t* address, Bytes* data);

// ---- PENDING_ACK

Datagram makePendingAck(std::uint16_t id, std::uint16_t milliseconds);
/// Milliseconds until the answer.
std::uint16_t readPendingAck(const AckPacket& ack);

// ---- PACKETRESEND

struct ResendRequest {
    /// Up to the end of the block, whatever its length.
    static constexpr std::uint32_t kToEnd = 0xFFFFFFFFU;

    std::uint16_t channel = 0;
    std::uint64_t blockId = 0;
    std::uint32_t first = 0;
    std::uint32_t last = 0; ///< Inclusive.
    bool extended = false;  ///< 64-bit block ids.
};
Datagram makePacketResend(std::uint16_t id, const ResendRequest& request);
/// Of a PACKETRESEND command; the flags tell its form. kToEnd in either form is read as kToEnd.
bool readPacketResend(const CommandPacket& packet, ResendRequest* request);

// ---- ACTION

struct Action {
    std::uint32_t deviceKey = 0;
    std::uint32_t groupKey = 0;
    std::uint32_t groupMask = 0;
    bool scheduled = false;
    std::uint64_t time = 0; ///< Of the devices' clock; only when scheduled.
};
/// `flags`: kFlagAckRequired or 0; the one of the time is added.
Datagram makeAction(std::uint16_t id, const Action& action, std::uint8_t flags);
bool readAction(const CommandPacket& packet, Action* action);

} // namespace gige::wire
