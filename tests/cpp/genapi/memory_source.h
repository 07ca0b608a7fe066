// A module in memory: registers, a description, switches for failures.
#pragma once

#include "genapi/feature_source.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

/// 64 KiB of registers behind a hand-written description.
class MemorySource final : public genapi::FeatureSource
{
public:
    explicit MemorySource(std::string document = {}) : document_(std::move(document)) {}

    ZelCamErr description(std::string* document) override
    {
        *document = document_;
        return document_.empty() ? ZelErr::kGenTLNoData : ZelErr::kOk;
    }

    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override
    {
        ++reads;
        if (onAccess)
            onAccess();
        if (failure != ZelErr::kOk)
            return failure;
        if (address > memory.size() || memory.size() - address < size)
            return ZelErr::kGenTLInvalidAddress;
        std::memcpy(data, memory.data() + address, size);
        return ZelErr::kOk;
    }

    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override
    {
        if (onAccess)
            onAccess();
        if (failure != ZelErr::kOk)
            return failure;
        if (address > memory.size() || memory.size() - address < size)
            return ZelErr::kGenTLInvalidAddress;
        ++writes;
        std::memcpy(memory.data() + address, data, size);
        if (onWrite)
            onWrite(address);
        return ZelErr::kOk;
    }

    bool hasNetworkByteOrder() override { return isNetworkOrder; }

    std::uint32_t word(std::uint64_t address) const
    {
        std::uint32_t value = 0;
        std::memcpy(&value, memory.data() + address, sizeof value);
        return value;
    }

    void setWord(std::uint64_t address, std::uint32_t value)
    {
        std::memcpy(memory.data() + address, &value, sizeof value);
    }

    std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(65536);
    ZelCamErr failure = ZelErr::kOk;
    int reads = 0;
    int writes = 0;
    bool isNetworkOrder = false;
    std::function<void()> onAccess;
    std::function<void(std::uint64_t)> onWrite; ///< After the bytes are stored.

private:
    std::string document_;
};

/// A description with these nodes; `features` are the children of the root category.
inline std::string describe(const std::string& nodes, const std::vector<std::string>& features,
                            const std::string& schemaMinor = "1")
{
    std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
        "<RegisterDescription ModelName=\"Model\" VendorName=\"Vendor\" SchemaMajorVersion=\"1\" "
        "SchemaMinorVersion=\"" +
        schemaMinor +
        "\" SchemaSubMinorVersion=\"0\" xmlns=\"http://www.genicam.org/GenApi/Version_1_1\">"
        "<Category Name=\"Root\">";
    for (const std::string& feature : features)
        text += "<pFeature>" + feature + "</pFeature>";
    return text + "</Category>" + nodes + "<Port Name=\"Device\"/></RegisterDescription>";
}

/// A little-endian 4-byte register; `more` are further elements.
inline std::string intReg(const std::string& name, const std::string& address,
                          const std::string& more = "<AccessMode>RW</AccessMode>")
{
    return "<IntReg Name=\"" + name + "\"><Address>" + address + "</Address><Length>4</Length>" +
           more + "<pPort>Device</pPort><Endianess>LittleEndian</Endianess></IntReg>";
}
