// Diagnostic log of the backend: off by default, one line per entry.
//
// ZELCAM_LOG=gentl,backend,genapi[:file] names the channels ("all": every one) and, after a colon,
// the file that the lines are appended to; without it they go to standard error.
#pragma once

#include <atomic>
#include <cstdint>

namespace base
{

/// What a line is about; bits, so that a set of channels is a number.
enum class LogChannel : std::uint32_t {
    Backend = 1,
    GenTL = 2,
    GenApi = 4,
    Gige = 16,
    Usb3 = 32,
};

namespace detail
{
/// Set of the open channels, plus kUnread until the environment was read.
constexpr std::uint32_t kUnread = 0x80000000U;
extern std::atomic<std::uint32_t> openChannels;
/// Reads the environment once and answers for the channel.
bool readEnvironment(LogChannel channel);
} // namespace detail

/// Whether a channel is open. One relaxed load when it is closed: guard the work of making a line
/// with it.
inline bool logEnabled(LogChannel channel)
{
    const std::uint32_t open = detail::openChannels.load(std::memory_order_relaxed);
    return (open & detail::kUnread) != 0 ? detail::readEnvironment(channel)
                                         : (open & static_cast<std::uint32_t>(channel)) != 0;
}

/// Writes one line (time, channel, thread, text) if the channel is open; whole lines, from any
/// thread. Never throws.
[[gnu::format(printf, 2, 3)]] void log(LogChannel channel, const char* format, ...);

/// Writes a line whether the channel is open or not: for failures that the user has to know of and
/// that no code can carry, such as a producer that is skipped.
[[gnu::format(printf, 2, 3)]] void warn(LogChannel channel, const char* format, ...);

} // namespace base
