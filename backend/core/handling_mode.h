// Which frames a slow user gets.
#pragma once

#include <cstdint>

namespace core
{

/// The entries of StreamBufferHandlingMode with their values. Of three buffers or more one is with
/// the user, one waits and one is being filled; with fewer there is nothing to choose from.
enum class HandlingMode : std::uint64_t {
    OldestFirst = 0,          ///< Frames wait in order; without a free buffer new ones are lost.
    OldestFirstOverwrite = 1, ///< In order, but the oldest one makes room for a new one.
    NewestOnly = 2,           ///< Only the newest frame waits.
};

constexpr std::uint64_t kHandlingModes = 3;

} // namespace core
