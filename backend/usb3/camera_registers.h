// A camera's register space: its bootstrap registers, its description, its features.
#pragma once

#include "genapi/feature_source.h"
#include "usb3/control_channel.h"
#include "usb3/wire/transfer_plan.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace usb3
{

/// Thread safe: the control channel takes one command at a time.
class CameraRegisters final : public genapi::FeatureSource
{
public:
    /// `channel` is borrowed.
    explicit CameraRegisters(ControlChannel& channel) : channel_(channel) {}

    /// Asks the camera where its registers are and what its control channel carries. To be called
    /// once, before anything else; a camera that does not tell is not usable, with its code.
    ZelCamErr readBootstrap();

    /// The device's description that is newest in the manifest, as it lies there. -1008 without a
    /// usable one.
    ZelCamErr description(std::string* document) override;
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override;
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override;

    /// The name that the user gave to the camera, as it is now; empty when it cannot be read.
    std::string userDefinedName();

    bool hasStream() const { return sirm_ != 0; }
    bool hasEvents() const { return eirm_ != 0; }

    // The streaming registers; -1014 without a stream.
    ZelCamErr readNeeds(wire::StreamNeeds* needs);
    ZelCamErr program(const wire::TransferPlan& plan);
    ZelCamErr enableStream();
    /// Waits `limit` for the camera's answer.
    ZelCamErr disableStream(std::chrono::milliseconds limit);

    /// The event registers: most bytes of one transfer, and on or off.
    ZelCamErr eventTransferSize(std::uint32_t* size);
    ZelCamErr enableEvents(bool enable);

private:
    ControlChannel& channel_;
    // 0: the camera has none.
    std::uint64_t manifest_ = 0;
    std::uint64_t sirm_ = 0;
    std::uint64_t eirm_ = 0;
};

} // namespace usb3
