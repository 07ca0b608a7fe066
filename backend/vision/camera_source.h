// The register space of a camera behind Aravis.
#pragma once

#include "genapi/feature_source.h"
#include "vision/arv_ptr.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace vision
{

/// Any address and any length, also where the control protocol moves whole words only: then the
/// words around a request's ends are read, and for a write put back as they were. Once the device
/// is lost every access answers at once instead of waiting for time-outs. Thread safe.
class CameraSource final : public genapi::FeatureSource
{
public:
    /// `device` is borrowed. GigE Vision has 32-bit addresses and words of four bytes.
    explicit CameraSource(ArvDevice* device);

    ZelCamErr description(std::string* document) override;
    /// -1015 beyond the address space, -1010 once the device is lost, else the camera's answer.
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override;
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override;

    void setLost() { lost_ = true; }
    bool isLost() const { return lost_; }

private:
    struct Piece;
    bool reaches(std::uint64_t address, std::size_t size) const;
    Piece firstPiece(std::uint64_t address, std::size_t size) const;
    ZelCamErr readWords(std::uint64_t address, void* data, std::size_t size);

    ArvDevice* const device_;
    const std::uint64_t lastAddress_;
    const std::uint64_t word_;
    std::atomic<bool> lost_{false};
};

} // namespace vision
