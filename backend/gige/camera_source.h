// The register space of a camera behind its control channel.
#pragma once

#include "genapi/feature_source.h"
#include "gige/control_channel.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace gige
{

/// Any address of 32 bits and any length, though the control protocol moves whole words of four
/// bytes: the words around a request's ends are read, and for a write put back as they were. Thread
/// safe.
class CameraSource final : public genapi::FeatureSource
{
public:
    /// `control` is borrowed. No packet size above `largestPacket` is written; `readOnly`: nothing.
    CameraSource(ControlChannel& control, std::uint32_t largestPacket, bool readOnly = false)
        : control_(control), largestPacket_(largestPacket), readOnly_(readOnly)
    {
    }

    /// Out of the camera's own memory only: what it says of files of this host or of the web is not
    /// followed (-1008).
    ZelCamErr description(std::string* document) override;
    bool hasNetworkByteOrder() override { return true; }
    /// -1015 beyond the address space, -1005 for writes where only reading is allowed, else as
    /// ControlChannel.
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override;
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override;

private:
    ZelCamErr fetch(std::uint32_t urlAddress, std::string* document);
    ZelCamErr fetchFromManifest(std::string* document);
    ZelCamErr readWords(std::uint32_t address, std::uint8_t* data, std::size_t size);
    ZelCamErr writeWords(std::uint32_t address, std::uint8_t* data, std::size_t size);

    ControlChannel& control_;
    const std::uint32_t largestPacket_;
    const bool readOnly_;
    /// Four bytes are a register: cameras with old descriptions turn it into network byte order.
    std::atomic<bool> wordsAreRegisters_{false};
};

} // namespace gige
