// The counters of a device's streams as GenICam features, the same on every transport.
#include "core/stream_statistics.h"

#include <array>
#include <cstring>

namespace core
{

namespace
{

struct Row {
    const char* name;
    std::uint64_t StreamStatistics::*counter;
    const char* toolTip;
};

// Register n of the space is row n: an unsigned little-endian number of eight bytes.
constexpr std::array<Row, 7> kRows = {{
    {"StreamDeliveredFrameCount", &StreamStatistics::delivered,
     "Frames delivered since the acquisition was started."},
    {"StreamIncompleteFrameCount", &StreamStatistics::incomplete,
     "Delivered frames of which a part is missing."},
    {"StreamLostFrameCount", &StreamStatistics::lost,
     "Frames that the camera sent and that never arrived."},
    {"StreamUnderrunFrameCount", &StreamStatistics::underruns,
     "Frames that were dropped because no buffer was queued."},
    {"StreamAnnouncedBufferCount", &StreamStatistics::announcedBuffers,
     "Buffers that the stream knows."},
    {"StreamInputBufferCount", &StreamStatistics::inputBuffers,
     "Buffers that wait to be filled or are being filled."},
    {"StreamOutputBufferCount", &StreamStatistics::outputBuffers,
     "Filled buffers that wait to be fetched."},
}};

constexpr std::size_t kRegisterSize = 8;

constexpr const char* kHead = R"(<?xml version="1.0" encoding="UTF-8"?>
<RegisterDescription ModelName="StreamStatistics" VendorName="ZelCam" StandardNameSpace="None"
 SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
 MajorVersion="1" MinorVersion="0" SubMinorVersion="0"
 ProductGuid="2f7b3f0e-7c62-4d0a-9c0e-5d2b8a1f6e01"
 VersionGuid="b0a1c3d4-90f5-4f8e-8d7a-1c2e3f405162"
 xmlns="http://www.genicam.org/GenApi/Version_1_1">
<Category Name="Root" NameSpace="Standard"><pFeature>StreamStatistics</pFeature></Category>
)";

} // namespace

ZelCamErr StreamStatisticsSource::description(std::string* document)
{
    std::string xml = kHead;
    xml += "<Category Name=\"StreamStatistics\"><ToolTip>Counters of the stream.</ToolTip>"
           "<DisplayName>Stream Statistics</DisplayName>";
    for (const Row& row : kRows) {
        xml += std::string("<pFeature>") + row.name + "</pFeature>";
    }
    xml += "</Category>\n";
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        xml += std::string("<IntReg Name=\"") + kRows[i].name + "\"><ToolTip>" + kRows[i].toolTip +
               "</ToolTip><Visibility>Expert</Visibility><Address>" +
               std::to_string(i * kRegisterSize) + "</Address><Length>" +
               std::to_string(kRegisterSize) +
               "</Length><AccessMode>RO</AccessMode><pPort>StatisticsPort</pPort>"
               "<Cachable>NoCache</Cachable><Sign>Unsigned</Sign>"
               "<Endianess>LittleEndian</Endianess></IntReg>\n";
    }
    xml += "<Port Name=\"StatisticsPort\"/>\n</RegisterDescription>\n";
    *document = std::move(xml);
    return ZelErr::kOk;
}

ZelCamErr StreamStatisticsSource::read(std::uint64_t address, void* data, std::size_t size)
{
    std::array<std::uint64_t, kRows.size()> registers{};
    if (address > sizeof registers || size > sizeof registers - address) {
        return ZelErr::kGenTLInvalidAddress;
    }
    const StreamStatistics statistics = ask_();
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        registers[i] = statistics.*kRows[i].counter;
    }
    std::memcpy(data, reinterpret_cast<const unsigned char*>(registers.data()) + address, size);
    return ZelErr::kOk;
}

ZelCamErr StreamStatisticsSource::write(std::uint64_t /*address*/, const void* /*data*/,
                                        std::size_t /*size*/)
{
    return ZelErr::kGenTLAccessDenied;
}

} // namespace core
