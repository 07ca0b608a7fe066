// The camera SDK (libZelCameraApi.so): entry points and classes.
//
// Binary contract: abstract classes without virtual destructors; operation N stands in vtable slot
// N. Slots named reservedN are used by nobody and need no override.
#pragma once

#include "zel_cam/buffer.h"
#include "zel_cam/device.h"
#include "zel_cam/device_info.h"
#include "zel_cam/interface.h"
#include "zel_cam/lists.h"
#include "zel_cam/stream.h"
#include "zel_cam/system.h"
#include "zel_err.h"
#include "zel_export.h"

extern "C" {

/// The process-wide system, the same pointer on every call; null when it cannot be made.
ZEL_API ZelCam::System* ZelCam_GetSystem();

/// Opens a device and returns it; null with a code in `*err` (may be null) on failure: -1004 when
/// this process has it open already, -1005 when another one controls it, -40006 when there is none.
/// A null `info` opens the default device: the first real one, else the first simulated one.
/// `mode` is 2, read and write.
ZEL_API ZelCam::Device* ZelCam_CreateDevice(ZelCam::DeviceInfo* info, std::int32_t mode,
                                            ZelCamErr* err);
}
