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

/// Reads from a text in the camera's memory, which is padded with zeros to whole words.
bool readText(std::uint64_t address, void* data, std::size_t size, std::uint64_t base,
              const std::string& text)
{
    if (text.empty() || !liesIn(address, size, base, (text.size() + 3) / 4 * 4)) {
        return false;
    }
    const std::size_t offset = address - base;
    const std::size_t count = std::min(size, text.size() - std::min(text.size(), offset));
    std::memcpy(data, text.data() + std::min(text.size(), offset), count);
    std::memset(static_cast<char*>(data) + count, 0, size - count);
    return true;
}

} // namespace

CameraMemory::CameraMemory(CameraContext& context, NetworkSection* network, LutSection& lut,
                           FileSection& files)
    : context_(context), network_(network), lut_(lut), files_(files), memory_(context)
{
}

void CameraMemory::publishDescription()
{
    if (network_ == nullptr) {
        return;
    }
    const std::string name = identifierOf(context_.config.model);
    const std::string& xml = context_.table.xml();
    const auto length = [](const std::string& text) {
        return static_cast<std::uint32_t>(text.size());
    };
    archive_ = zipped(name + ".xml", xml);
    network_->setUrls(archive_.empty()
                          ? std::string()
                          : ::gige::wire::makeXmlUrl(name + ".zip", kArchiveBase, length(archive_)),
                      ::gige::wire::makeXmlUrl(name + ".xml", kXmlBase, length(xml)));
}

bool CameraMemory::readDescription(std::uint64_t address, void* data, std::size_t size) const
{
    return readText(address, data, size, kXmlBase, context_.table.xml()) ||
           readText(address, data, size, kArchiveBase, archive_);
}

bool CameraMemory::isDescription(std::uint64_t address) const
{
    return liesIn(address, 1, kXmlBase, context_.table.xml().size()) ||
           liesIn(address, 1, kArchiveBase, archive_.size());
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
