// PtpControl of cameras on a network: their clock follows that of a master, this host's.
#pragma once

#include "simulator/bootstrap_registers.h"
#include "simulator/camera_context.h"

#include <cstdint>

namespace simulator
{

/// Used under the camera's lock.
class PtpSection
{
public:
    /// `registers`: of a camera on a network; null: there is no PTP.
    PtpSection(CameraContext& context, BootstrapRegisters* registers);

    /// Lets the clock follow what time it is by now.
    void follow();
    void restart();
    /// Whether clocks outside and this one agree.
    bool followsMaster() const { return isSet_; }

private:
    /// Values of PtpStatus.
    enum Status : std::int64_t { kInitializing, kDisabled, kListening, kUncalibrated, kSlave };
    struct Data {
        std::int64_t status = kDisabled;
        std::int64_t offset = 0; ///< From the master, in ns.
    };

    void declareState();
    void declareClocks();
    Data present() const;
    /// The number that the standard of PTP has for a state.
    static std::uint32_t portState(std::int64_t status);

    CameraContext& context_;
    std::int64_t clockId_;
    Feature* enable_ = nullptr;
    std::uint64_t enabledNs_ = 0;
    bool isSet_ = false; ///< The clock has the master's time.
    Data latched_;
};

} // namespace simulator
