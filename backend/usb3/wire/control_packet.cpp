#include "usb3/wire/control_packet.h"

#include "base/endian.h"

#include <cstring>

namespace usb3::wire
{

namespace
{

using base::loadLittle;
using base::storeLittle;

constexpr std::uint32_t kMagic = 0x43563355; // "U3VC"
constexpr std::uint16_t kWantsAnswer = 0x4000;

Bytes makeCommand(Command command, std::uint16_t id, std::size_t dataSize)
{
    Bytes bytes(kControlHeader + dataSize);
    storeLittle(&bytes[0], kMagic);
    storeLittle(&bytes[4], kWantsAnswer);
    storeLittle(&bytes[6], static_cast<std::uint16_t>(command));
    storeLittle(&bytes[8], static_cast<std::uint16_t>(dataSize));
    storeLittle(&bytes[10], id);
    return bytes;
}

} // namespace

Bytes makeRead(std::uint16_t id, std::uint64_t address, std::size_t size)
{
    Bytes bytes = makeCommand(Command::ReadMemory, id, 12);
    storeLittle(&bytes[12], address);
    storeLittle(&bytes[22], static_cast<std::uint16_t>(size));
    return bytes;
}

Bytes makeWrite(std::uint16_t id, std::uint64_t address, const void* data, std::size_t size)
{
    Bytes bytes = makeCommand(Command::WriteMemory, id, 8 + size);
    storeLittle(&bytes[12], address);
    std::memcpy(bytes.data() + kWriteOverhead, data, size);
    return bytes;
}

Answer readAnswer(const std::uint8_t* bytes, std::size_t size, Command command, std::uint16_t id)
{
    Answer answer;
    if (size < kControlHeader || loadLittle<std::uint32_t>(bytes) != kMagic ||
        loadLittle<std::uint16_t>(bytes + 10) != id ||
        loadLittle<std::uint16_t>(bytes + 8) > size - kControlHeader) {
        return answer;
    }
    answer.data = bytes + kControlHeader;
    answer.size = loadLittle<std::uint16_t>(bytes + 8);
    const auto kind = loadLittle<std::uint16_t>(bytes + 6);
    if (kind == static_cast<std::uint16_t>(Command::Pending) + 1) {
        // Its status is success: the identifier has to be looked at first.
        if (answer.size >= 4) {
            answer.kind = Answer::Kind::Pending;
            answer.milliseconds = loadLittle<std::uint16_t>(answer.data + 2);
        }
        return answer;
    }
    answer.status = loadLittle<std::uint16_t>(bytes + 4);
    // Some cameras leave the command's own identifier in the answer that refuses it.
    if (kind == static_cast<std::uint16_t>(command) + 1 ||
        (kind == static_cast<std::uint16_t>(command) && answer.status != 0)) {
        answer.kind = Answer::Kind::Final;
    }
    return answer;
}

ZelCamErr codeOfStatus(std::uint16_t status)
{
    switch (status) {
    case 0x0000:
        return ZelErr::kOk;
    case 0x8001:
        return ZelErr::kGenTLNotImplemented;
    case 0x8002:
        return ZelErr::kGenTLInvalidParameter;
    case 0x8003:
    case 0x8005: // bad alignment
        return ZelErr::kGenTLInvalidAddress;
    case 0x8004: // write protected
    case 0x8006:
        return ZelErr::kGenTLAccessDenied;
    case kStatusBusy:
        return ZelErr::kGenTLBusy;
    case 0x800B: // the camera lost the rest of a command
        return ZelErr::kGenTLTimeout;
    case 0xA003: // stream sizes that do not fit
    case 0xA004:
        return ZelErr::kGenTLInvalidValue;
    default:
        return ZelErr::kGenTLError;
    }
}

} // namespace usb3::wire
