// The table that tells where a camera keeps its GenICam description.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace usb3::wire
{

constexpr std::size_t kManifestEntry = 64;
constexpr std::uint64_t kManifestHeader = 8; ///< Bytes in front of the entries: their number.
constexpr std::uint64_t kMaxManifestEntries = 256;
constexpr std::uint64_t kMaxDescription = std::uint64_t{64} << 20U;

/// One file of the camera.
struct ManifestEntry {
    std::uint32_t version = 0; ///< Higher is newer.
    std::uint64_t address = 0;
    std::uint64_t size = 0;
    /// A device's description of a size that can be; other files are not for us.
    bool isUsable = false;
};

ManifestEntry readManifestEntry(const std::array<std::uint8_t, kManifestEntry>& bytes);

} // namespace usb3::wire
