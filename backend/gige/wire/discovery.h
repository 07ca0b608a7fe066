// What a device tells of itself: the answer to a discovery, which is also the first 248 bytes of
// its registers.
#pragma once

#include "gige/wire/gvcp.h"

#include <string>

namespace gige::wire
{

using MacAddress = std::array<std::uint8_t, 6>;

/// Payload of the acknowledge.
constexpr std::size_t kDiscoverySize = 0xF8;

/// Texts are cut to their fields when written (32, 32, 32, 48, 16 and 16 bytes) and valid UTF-8
/// when read.
struct DiscoveryRecord {
    std::uint16_t versionMajor = 1;
    std::uint16_t versionMinor = 2;
    std::uint32_t deviceMode = 0;
    MacAddress mac{};
    std::uint32_t supportedIpConfiguration = 0;
    std::uint32_t currentIpConfiguration = 0;
    std::uint32_t address = 0;
    std::uint32_t mask = 0;
    std::uint32_t gateway = 0;
    std::string vendor;
    std::string model;
    std::string version;
    std::string manufacturerInfo;
    std::string serialNumber;
    std::string userDefinedName;
};

/// Reads kDiscoverySize bytes; false when there are fewer.
bool readDiscovery(Bytes payload, DiscoveryRecord* record);
/// Writes kDiscoverySize bytes; 0 when they do not fit.
std::size_t writeDiscovery(const DiscoveryRecord& record, Writer* writer);

/// "02:5a:43:00:00:01"
std::string macText(const MacAddress& mac);

} // namespace gige::wire
