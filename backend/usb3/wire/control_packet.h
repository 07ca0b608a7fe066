// Commands of the control channel and their answers, as they go over the wire.
#pragma once

#include "zel_err.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace usb3::wire
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kControlHeader = 12;
/// Bytes in front of a write's data: header and address.
constexpr std::size_t kWriteOverhead = kControlHeader + 8;

enum class Command : std::uint16_t {
    ReadMemory = 0x0800,
    WriteMemory = 0x0802,
    Pending = 0x0804, ///< Its answer, one more, asks for patience.
    Event = 0x0C00,
};

/// A command that wants an answer. `size` at most 65535; `id` is never 0.
Bytes makeRead(std::uint16_t id, std::uint64_t address, std::size_t size);
Bytes makeWrite(std::uint16_t id, std::uint64_t address, const void* data, std::size_t size);

/// What an answer is to the command that waits.
struct Answer {
    enum class Kind {
        Stranger, ///< Damaged, late or not ours: wait on.
        Pending,  ///< `milliseconds` more are needed.
        Final,    ///< `status` decides.
    };
    Kind kind = Kind::Stranger;
    std::uint16_t status = 0;
    std::uint32_t milliseconds = 0;
    const std::uint8_t* data = nullptr; ///< Into the given bytes, behind the header.
    std::size_t size = 0;
};

/// Looks at `size` bytes that arrived while the command `command` with `id` waits. Never reads
/// outside them; an answer that says to be longer than it is counts as a stranger.
Answer readAnswer(const std::uint8_t* bytes, std::size_t size, Command command, std::uint16_t id);

constexpr std::uint16_t kStatusBusy = 0x8007;

/// The code that users get for a status; 0 for success.
ZelCamErr codeOfStatus(std::uint16_t status);

} // namespace usb3::wire
