// What every command takes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace common
{

struct Options {
    std::vector<std::string> cameras;   ///< Choices, as camera_choice.h reads them.
    std::vector<std::string> providers; ///< GenTL producers to load first.
    std::vector<std::string> settings;  ///< NAME=VALUE, written after opening.
    std::optional<std::uint32_t> timeoutMs;
    bool json = false;
    bool verbose = false;

    /// Milliseconds to wait for cameras to answer.
    std::uint32_t discoveryMs() const { return timeoutMs.value_or(1000); }
    /// Milliseconds to wait for a frame.
    std::uint32_t frameMs() const { return timeoutMs.value_or(5000); }
};

} // namespace common
