// What the streams of a device have in common as GenICam features, the same on every transport.
#include "core/stream_features.h"

#include "base/endian.h"

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

// Register n of the space is row n: an unsigned little-endian number of eight bytes. The mode
// follows the counters.
constexpr std::array<Row, 8> kRows = {{
    {"StreamDeliveredFrameCount", &StreamStatistics::delivered,
     "Frames delivered since the last start of the acquisition."},
    {"StreamIncompleteFrameCount", &StreamStatistics::incomplete,
     "Delivered frames of which a part is missing, since the last start."},
    {"StreamLostFrameCount", &StreamStatistics::lost,
     "Frames that the camera began and that never arrived, since the last start."},
    {"StreamUnderrunFrameCount", &StreamStatistics::underruns,
     "Frames that were dropped because no buffer was queued, since the last start."},
    {"StreamSkippedFrameCount", &StreamStatistics::skipped,
     "Delivered frames that StreamBufferHandlingMode gave up for newer ones, since the last "
     "start."},
    {"StreamAnnouncedBufferCount", &StreamStatistics::announcedBuffers,
     "Buffers that the stream knows."},
    {"StreamInputBufferCount", &StreamStatistics::inputBuffers,
     "Buffers that wait to be filled or are being filled."},
    {"StreamOutputBufferCount", &StreamStatistics::outputBuffers,
     "Filled buffers that wait to be fetched."},
}};

struct Mode {
    const char* name;
    HandlingMode mode;
    const char* toolTip;
};

constexpr std::array<Mode, kHandlingModes> kModes = {{
    {"OldestFirst", HandlingMode::OldestFirst,
     "Frames wait in order; without a free buffer new ones are lost."},
    {"OldestFirstOverwrite", HandlingMode::OldestFirstOverwrite,
     "Frames wait in order; without a free buffer the oldest one makes room for a new one."},
    {"NewestOnly", HandlingMode::NewestOnly, "Only the newest frame waits. Wants three buffers."},
}};

constexpr std::size_t kRegisterSize = 8;
constexpr std::uint64_t kModeAddress = kRows.size() * kRegisterSize;
constexpr std::size_t kSpaceSize = kModeAddress + kRegisterSize;

constexpr const char* kHead = R"(<?xml version="1.0" encoding="UTF-8"?>
<RegisterDescription ModelName="Streams" VendorName="ZelCam" StandardNameSpace="None"
 SchemaMajorVersion="1" SchemaMinorVersion="1" SchemaSubMinorVersion="0"
 MajorVersion="1" MinorVersion="1" SubMinorVersion="0"
 ProductGuid="2f7b3f0e-7c62-4d0a-9c0e-5d2b8a1f6e01"
 VersionGuid="b0a1c3d4-90f5-4f8e-8d7a-1c2e3f405163"
 xmlns="http://www.genicam.org/GenApi/Version_1_1">
<Category Name="Root" NameSpace="Standard"><pFeature>BufferHandlingControl</pFeature>
<pFeature>StreamStatistics</pFeature></Category>
<Category Name="BufferHandlingControl"><ToolTip>Which frames a slow user gets.</ToolTip>
<DisplayName>Buffer Handling Control</DisplayName>
<pFeature>StreamBufferHandlingMode</pFeature></Category>
<Category Name="StreamStatistics"><ToolTip>Counters of the streams.</ToolTip>
<DisplayName>Stream Statistics</DisplayName>
)";

std::string registerNode(const std::string& name, std::uint64_t address, const char* access,
                         const std::string& texts)
{
    return "<IntReg Name=\"" + name + "\">" + texts + "<Address>" + std::to_string(address) +
           "</Address><Length>" + std::to_string(kRegisterSize) + "</Length><AccessMode>" + access +
           "</AccessMode><pPort>StreamsPort</pPort><Cachable>NoCache</Cachable>"
           "<Sign>Unsigned</Sign><Endianess>LittleEndian</Endianess></IntReg>\n";
}

std::string modeNodes()
{
    std::string xml = "<Enumeration Name=\"StreamBufferHandlingMode\">"
                      "<ToolTip>Which frames wait for being fetched.</ToolTip>";
    for (const Mode& mode : kModes) {
        xml += std::string("<EnumEntry Name=\"") + mode.name + "\"><ToolTip>" + mode.toolTip +
               "</ToolTip><Value>" + std::to_string(static_cast<std::uint64_t>(mode.mode)) +
               "</Value></EnumEntry>";
    }
    return xml + "<pValue>StreamBufferHandlingModeReg</pValue></Enumeration>\n" +
           registerNode("StreamBufferHandlingModeReg", kModeAddress, "RW", "");
}

} // namespace

ZelCamErr StreamFeatures::description(std::string* document)
{
    std::string xml = kHead;
    for (const Row& row : kRows) {
        xml += std::string("<pFeature>") + row.name + "</pFeature>";
    }
    xml += "</Category>\n" + modeNodes();
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        xml += registerNode(kRows[i].name, i * kRegisterSize, "RO",
                            std::string("<ToolTip>") + kRows[i].toolTip +
                                "</ToolTip><Visibility>Expert</Visibility>");
    }
    xml += "<Port Name=\"StreamsPort\"/>\n</RegisterDescription>\n";
    *document = std::move(xml);
    return ZelErr::kOk;
}

ZelCamErr StreamFeatures::read(std::uint64_t address, void* data, std::size_t size)
{
    if (address > kSpaceSize || size > kSpaceSize - address) {
        return ZelErr::kGenTLInvalidAddress;
    }
    if (const ZelCamErr lost = owner_.lost(); lost != ZelErr::kOk) {
        return lost;
    }
    std::array<unsigned char, kSpaceSize> registers{};
    const StreamStatistics statistics = owner_.statistics();
    for (std::size_t i = 0; i < kRows.size(); ++i) {
        base::storeLittle(registers.data() + i * kRegisterSize, statistics.*kRows[i].counter);
    }
    base::storeLittle(registers.data() + kModeAddress,
                      static_cast<std::uint64_t>(owner_.handlingMode()));
    std::memcpy(data, registers.data() + address, size);
    return ZelErr::kOk;
}

ZelCamErr StreamFeatures::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (address != kModeAddress || size != kRegisterSize) {
        return ZelErr::kGenTLAccessDenied;
    }
    const auto mode = base::loadLittle<std::uint64_t>(data);
    if (mode >= kHandlingModes) {
        return ZelErr::kGenTLInvalidValue;
    }
    owner_.setHandlingMode(static_cast<HandlingMode>(mode));
    return ZelErr::kOk;
}

} // namespace core
