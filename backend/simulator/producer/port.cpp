// Answers about a port and its description.
#include "simulator/producer/port.h"

#include "features/feature_xml.h"
#include "simulator/producer/failure.h"
#include "simulator/producer/sha1.h"

#include <cinttypes>
#include <cstdio>

namespace simulator::producer
{

std::string Port::url() const
{
    char place[64];
    std::snprintf(place, sizeof place, ";%" PRIX64 ";%zX", xmlAddress(), xmlSize());
    return "local:" + xmlFileName() + place;
}

InfoValue Port::info(std::int32_t command)
{
    const PortFacts port = facts();
    switch (command) {
    case gentl::kPortInfoId:
        return InfoValue::text(port.id);
    case gentl::kPortInfoVendor:
        return InfoValue::text(port.vendor);
    case gentl::kPortInfoModel:
        return InfoValue::text(port.model);
    case gentl::kPortInfoTlType:
        return InfoValue::text(port.tlType);
    case gentl::kPortInfoModule:
        return InfoValue::text(port.module);
    case gentl::kPortInfoLittleEndian:
        return InfoValue::bool8(!port.bigEndian);
    case gentl::kPortInfoBigEndian:
        return InfoValue::bool8(port.bigEndian);
    case gentl::kPortInfoAccessRead:
        return InfoValue::bool8(port.readable && port.reachable);
    case gentl::kPortInfoAccessWrite:
        return InfoValue::bool8(port.writable && port.reachable);
    case gentl::kPortInfoAccessNa:
        return InfoValue::bool8(!port.reachable);
    case gentl::kPortInfoAccessNi:
        return InfoValue::bool8(false);
    case gentl::kPortInfoVersion:
        return InfoValue::text(port.version);
    case gentl::kPortInfoPortName:
        return InfoValue::text(port.portName);
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown port info command");
    }
}

InfoValue Port::urlInfo(std::int32_t command) const
{
    constexpr std::int32_t kSchemeLocal = 0;
    switch (command) {
    case gentl::kUrlInfoUrl:
        return InfoValue::text(url() + "?SchemaVersion=1.1.0");
    case gentl::kUrlInfoSchemaVersionMajor:
        return InfoValue::int32(features::description::kSchemaMajor);
    case gentl::kUrlInfoSchemaVersionMinor:
        return InfoValue::int32(features::description::kSchemaMinor);
    case gentl::kUrlInfoFileVersionMajor:
        return InfoValue::int32(features::description::kMajor);
    case gentl::kUrlInfoFileVersionMinor:
        return InfoValue::int32(features::description::kMinor);
    case gentl::kUrlInfoFileVersionSubMinor:
        return InfoValue::int32(features::description::kSubMinor);
    case gentl::kUrlInfoFileSha1Hash: {
        const Sha1Digest digest = sha1(xml());
        return InfoValue::bytes(digest.data(), digest.size());
    }
    case gentl::kUrlInfoFileRegisterAddress:
        return InfoValue::uint64(xmlAddress());
    case gentl::kUrlInfoFileSize:
        return InfoValue::uint64(xmlSize());
    case gentl::kUrlInfoScheme:
        return InfoValue::int32(kSchemeLocal);
    case gentl::kUrlInfoFileName:
        return InfoValue::text(xmlFileName());
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown URL info command");
    }
}

} // namespace simulator::producer
