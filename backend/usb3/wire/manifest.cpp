#include "usb3/wire/manifest.h"

#include "base/endian.h"

namespace usb3::wire
{

ManifestEntry readManifestEntry(const std::array<std::uint8_t, kManifestEntry>& bytes)
{
    constexpr std::uint32_t kFileType = 7; // 0: the device's description
    ManifestEntry entry;
    entry.version = base::loadLittle<std::uint32_t>(&bytes[0]);
    entry.address = base::loadLittle<std::uint64_t>(&bytes[8]);
    entry.size = base::loadLittle<std::uint64_t>(&bytes[16]);
    const auto format = base::loadLittle<std::uint32_t>(&bytes[4]);
    entry.isUsable = (format & kFileType) == 0 && entry.size > 0 && entry.size <= kMaxDescription &&
                     entry.address <= ~std::uint64_t{0} - entry.size;
    return entry;
}

} // namespace usb3::wire
