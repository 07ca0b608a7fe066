// The doctor's checks, each in the words of somebody who knows such hosts.
#pragma once

#include "common/options.h"
#include "doctor/finding.h"
#include "doctor/host_files.h"

namespace doctor
{

/// Receive buffers, frame sizes and rp_filter of the network adapters, adapters in one subnet.
Findings checkNetwork(const HostFiles& host);
/// Processors, USB permissions and memory, movie libraries.
Findings checkSystem(const HostFiles& host);
/// Producers that are named by GENICAM_GENTL64_PATH: whether each file loads.
Findings checkProducers();
/// Cameras that were found: none at all, addresses outside this host's networks, access.
Findings checkCameras(const common::Options& options);
/// Two seconds of frames of the chosen camera: losses, packets, rate.
Findings checkLink(const common::Options& options);

/// The rule that lets users of the group plugdev open USB3 Vision cameras.
const char* udevRule();

} // namespace doctor
