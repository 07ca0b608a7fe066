#include "usb3/camera_registers.h"

#include "base/endian.h"
#include "base/log.h"
#include "base/text.h"
#include "usb3/wire/manifest.h"
#include "usb3/wire/register_map.h"

#include <array>
#include <string_view>
#include <utility>

namespace usb3
{

namespace
{
constexpr std::chrono::milliseconds kAnswer{500};
}

ZelCamErr CameraRegisters::readBootstrap()
{
    ControlLimits limits;
    std::uint64_t sbrm = 0;
    // Some cameras leave registers out that they do not need; the address of the others they do.
    static_cast<void>(channel_.read32(wire::abrm::kMaxResponseTime, &limits.responseMs));
    static_cast<void>(channel_.read64(wire::abrm::kManifestTable, &manifest_));
    ZelCamErr code = channel_.read64(wire::abrm::kSbrm, &sbrm);
    if (code != ZelErr::kOk || sbrm == 0 || sbrm > ~std::uint64_t{0} - 0x100) {
        return code != ZelErr::kOk ? code : ZelErr::kGenTLIo;
    }
    code = channel_.read32(sbrm + wire::sbrm::kMaxCommand, &limits.maxCommand);
    if (code == ZelErr::kOk) {
        code = channel_.read32(sbrm + wire::sbrm::kMaxAnswer, &limits.maxAnswer);
    }
    if (code != ZelErr::kOk) {
        return code;
    }
    std::uint64_t capability = wire::sbrm::kHasSirm;
    static_cast<void>(channel_.read64(sbrm + wire::sbrm::kCapability, &capability));
    if ((capability & wire::sbrm::kHasSirm) != 0) {
        static_cast<void>(channel_.read64(sbrm + wire::sbrm::kSirm, &sirm_));
    }
    if ((capability & wire::sbrm::kHasEirm) != 0) {
        static_cast<void>(channel_.read64(sbrm + wire::sbrm::kEirm, &eirm_));
    }
    channel_.setLimits(limits);
    return channel_.isLost() ? ZelErr::kGenTLIo : ZelErr::kOk;
}

ZelCamErr CameraRegisters::description(std::string* document)
{
    std::uint64_t count = 0;
    ZelCamErr code = manifest_ != 0 ? channel_.read64(manifest_, &count) : ZelErr::kGenTLNoData;
    if (code != ZelErr::kOk) {
        return code;
    }
    wire::ManifestEntry newest;
    for (std::uint64_t i = 0; i < count && i < wire::kMaxManifestEntries; ++i) {
        std::array<std::uint8_t, wire::kManifestEntry> bytes{};
        code = channel_.read(manifest_ + wire::kManifestHeader + i * bytes.size(), bytes.data(),
                             bytes.size());
        if (code != ZelErr::kOk) {
            return code;
        }
        const wire::ManifestEntry entry = wire::readManifestEntry(bytes);
        if (entry.isUsable && (!newest.isUsable || entry.version > newest.version)) {
            newest = entry;
        }
    }
    if (!newest.isUsable) {
        return ZelErr::kGenTLNoData;
    }
    document->resize(static_cast<std::size_t>(newest.size));
    code = channel_.read(newest.address, document->data(), document->size());
    if (code != ZelErr::kOk) {
        document->clear();
    }
    return code;
}

ZelCamErr CameraRegisters::read(std::uint64_t address, void* data, std::size_t size)
{
    return channel_.read(address, data, size);
}

ZelCamErr CameraRegisters::write(std::uint64_t address, const void* data, std::size_t size)
{
    return channel_.write(address, data, size);
}

std::string CameraRegisters::userDefinedName()
{
    std::array<char, wire::abrm::kTextSize> text{};
    const ZelCamErr code = channel_.read(wire::abrm::kUserDefinedName, text.data(), text.size());
    return code == ZelErr::kOk ? base::toUtf8(std::string_view(text.data(), text.size()))
                               : std::string();
}

ZelCamErr CameraRegisters::readNeeds(wire::StreamNeeds* needs)
{
    if (!hasStream()) {
        return ZelErr::kGenTLNotAvailable;
    }
    ZelCamErr code = channel_.read32(sirm_ + wire::sirm::kInfo, &needs->info);
    if (code == ZelErr::kOk) {
        code = channel_.read64(sirm_ + wire::sirm::kRequiredPayload, &needs->payload);
    }
    if (code == ZelErr::kOk) {
        code = channel_.read32(sirm_ + wire::sirm::kRequiredLeader, &needs->leader);
    }
    if (code == ZelErr::kOk) {
        code = channel_.read32(sirm_ + wire::sirm::kRequiredTrailer, &needs->trailer);
    }
    return code;
}

ZelCamErr CameraRegisters::program(const wire::TransferPlan& plan)
{
    // All of them each time: what the last client wrote may not fit any more.
    const std::pair<std::uint64_t, std::uint32_t> registers[] = {
        {wire::sirm::kMaxLeader, plan.leader},    {wire::sirm::kTransferSize, plan.size},
        {wire::sirm::kTransferCount, plan.count}, {wire::sirm::kFinal1, plan.final1},
        {wire::sirm::kFinal2, plan.final2},       {wire::sirm::kMaxTrailer, plan.trailer}};
    for (const auto& [offset, value] : registers) {
        const ZelCamErr code = channel_.write32(sirm_ + offset, value);
        if (code != ZelErr::kOk) {
            return code;
        }
    }
    return ZelErr::kOk;
}

ZelCamErr CameraRegisters::enableStream()
{
    return hasStream() ? channel_.write32(sirm_ + wire::sirm::kControl, wire::sirm::kEnable)
                       : ZelErr::kGenTLNotAvailable;
}

ZelCamErr CameraRegisters::disableStream(std::chrono::milliseconds limit)
{
    return hasStream() ? channel_.write32Within(sirm_ + wire::sirm::kControl, 0, limit)
                       : ZelErr::kGenTLNotAvailable;
}

ZelCamErr CameraRegisters::eventTransferSize(std::uint32_t* size)
{
    return hasEvents() ? channel_.read32(eirm_ + wire::eirm::kMaxTransfer, size)
                       : ZelErr::kGenTLNotAvailable;
}

ZelCamErr CameraRegisters::enableEvents(bool enable)
{
    return hasEvents() ? channel_.write32Within(eirm_ + wire::eirm::kControl,
                                                enable ? wire::eirm::kEnable : 0, kAnswer)
                       : ZelErr::kGenTLNotAvailable;
}

} // namespace usb3
