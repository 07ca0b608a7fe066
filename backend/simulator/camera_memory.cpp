#include "simulator/camera_memory.h"

#include "gentl_abi/gentl_abi.h"
#include "gige/wire/xml_url.h"
#include "simulator/description_archive.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace simulator
{

namespace
{

/// Reads from a text of `length` bytes in the camera's memory, which is padded with zeros to whole
/// words; `copy` brings a part of it that is there.
template <class Copy>
bool readText(std::uint64_t address, void* data, std::size_t size, std::uint64_t base,
              std::size_t length, const Copy& copy)
{
    if (length == 0 || !liesIn(address, size, base, (length + 3) / 4 * 4)) {
        return false;
    }
    const std::size_t offset = std::min<std::size_t>(length, address - base);
    const std::size_t count = std::min(size, length - offset);
    copy(offset, count);
    std::memset(static_cast<char*>(data) + count, 0, size - count);
    return true;
}

bool mayBeArchive(std::uint64_t address)
{
    return address >= kArchiveBase && address < kUserMemoryBase;
}

} // namespace

CameraMemory::CameraMemory(CameraContext& context, NetworkSection* network, LutSection& lut,
                           FileSection& files)
    : context_(context), network_(network), lut_(lut), files_(files), memory_(context)
{
}

const std::string& CameraMemory::archive() const
{
    if (network_ != nullptr) {
        std::call_once(archiveOnce_, [this] {
            const std::string name = identifierOf(context_.config.model);
            const std::string xml = context_.table.xml();
            archive_ = zipped(name + ".xml", xml);
            const auto url = [&name](const char* ending, std::uint64_t base, std::size_t length) {
                return ::gige::wire::makeXmlUrl(name + ending, static_cast<std::uint32_t>(base),
                                                static_cast<std::uint32_t>(length));
            };
            network_->setUrls(archive_.empty() ? std::string()
                                               : url(".zip", kArchiveBase, archive_.size()),
                              url(".xml", kXmlBase, xml.size()));
        });
    }
    return archive_;
}

bool CameraMemory::readDescription(std::uint64_t address, void* data, std::size_t size) const
{
    const auto plain = [&](std::size_t offset, std::size_t count) {
        context_.table.readXml(offset, data, count);
    };
    const auto zipped = [&](std::size_t offset, std::size_t count) {
        std::memcpy(data, archive().data() + offset, count);
    };
    return readText(address, data, size, kXmlBase, context_.table.xmlSize(), plain) ||
           (mayBeArchive(address) &&
            readText(address, data, size, kArchiveBase, archive().size(), zipped));
}

bool CameraMemory::isDescription(std::uint64_t address) const
{
    return liesIn(address, 1, kXmlBase, context_.table.xmlSize()) ||
           (mayBeArchive(address) && liesIn(address, 1, kArchiveBase, archive().size()));
}

bool CameraMemory::isFeature(std::uint64_t address, std::size_t size) const
{
    const FeatureTable& table = context_.table;
    return liesIn(address, size, table.base(), table.end() - table.base());
}

std::int32_t CameraMemory::read(std::uint64_t address, void* data, std::size_t size)
{
    if (isFeature(address, size)) {
        return context_.table.read(address, data, size);
    }
    if (network_ != nullptr && address < kBootstrapEnd) {
        archive(); // Two of the registers tell where it lies.
        return network_->registers().read(address, data, size);
    }
    if (liesIn(address, size, kLutBase, sizeof(LookUpTable))) {
        return lut_.read(address - kLutBase, data, size);
    }
    if (liesIn(address, size, kFileBufferBase, kFileBufferSize)) {
        files_.read(address - kFileBufferBase, data, size);
        return gentl::err::kSuccess;
    }
    return memory_.read(address, data, size);
}

std::int32_t CameraMemory::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (isFeature(address, size)) {
        return context_.table.write(address, data, size);
    }
    if (network_ != nullptr && address < kBootstrapEnd) {
        return network_->registers().write(address, data, size);
    }
    if (liesIn(address, size, kLutBase, sizeof(LookUpTable))) {
        return lut_.write(address - kLutBase, data, size);
    }
    if (liesIn(address, size, kFileBufferBase, kFileBufferSize)) {
        files_.write(address - kFileBufferBase, data, size);
        return gentl::err::kSuccess;
    }
    return memory_.write(address, data, size);
}

bool CameraMemory::isReadOnly(std::uint64_t address) const
{
    return (network_ != nullptr && network_->registers().isReadOnly(address)) ||
           context_.table.isReadOnly(address) || isDescription(address) ||
           liesIn(address, 1, kFactoryMemoryBase, kFactoryMemorySize);
}

} // namespace simulator
