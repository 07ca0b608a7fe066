// Simulated cameras on the network (libZelCameraServe.so): GigE Vision devices for any software.
//
// Start, keep the handle, stop:
//
//     const char* addresses[] = {"127.0.0.2", "127.0.0.3"};
//     ZelServeOptions options = {};
//     options.size = sizeof options;
//     options.addresses = addresses;
//     options.addressCount = 2;
//     char error[256];
//     ZelServe* cameras = ZelServe_Start(&options, error, sizeof error);
//     ...
//     ZelServe_Stop(cameras);
#pragma once

#include "zel_export.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Cameras that are being served; owned by the caller until ZelServe_Stop().
typedef struct ZelServe ZelServe; // NOLINT(modernize-use-using): C

/// What to serve, and where. All texts are UTF-8, borrowed for the time of the call.
typedef struct ZelServeOptions {  // NOLINT(modernize-use-using): C
    uint32_t size;                ///< sizeof(ZelServeOptions); smaller: the rest counts as zeros.
    uint32_t addressCount;        ///< At least 1.
    const char* const* addresses; ///< IPv4 addresses of this host, dotted, one for each camera:
                                  ///< 127.0.0.2 and so on, or those of an adapter. Cameras can be
                                  ///< moved (FORCEIP, persistent IP) among them and to spare ones
                                  ///< at the end of the list.
    const char* configFile;       ///< JSON description of cameras; null: the built-in ones.
    const char* const* cameras;   ///< Serial numbers or models of those to serve; null: those of
                                  ///< the description's GigE Vision interfaces, in order, as many
                                  ///< as there are addresses.
    uint32_t cameraCount;
    uint32_t reserved;        ///< 0.
    const char* settingsFile; ///< Where user names and persistent IP addresses outlive a
                              ///< restart; made when it is not there. Null: nowhere.
} ZelServeOptions;

/// Starts serving; returns when all cameras answer. Null on failure, with a text for people in
/// `error` (`errorSize` bytes, always terminated; may be null). Needs no privileges. Each camera
/// has two threads. The cameras answer until they are stopped or the process ends; a forked child
/// does not have them. May be called from any thread, several times with other addresses.
ZEL_API ZelServe* ZelServe_Start(const ZelServeOptions* options, char* error, uint32_t errorSize);

/// Ends serving and frees the handle; running streams end at once. Null is allowed.
ZEL_API void ZelServe_Stop(ZelServe* serve);

/// Number of cameras.
ZEL_API uint32_t ZelServe_GetCount(const ZelServe* serve);

/// One line about a camera, such as "127.0.0.2 ZG-1936M 10000001": where it answers now, model and
/// serial number. Writes at most `size` bytes with the closing NUL; returns the length of the line,
/// 0 for an index that does not exist.
ZEL_API uint32_t ZelServe_Describe(const ZelServe* serve, uint32_t index, char* text,
                                   uint32_t size);

#ifdef __cplusplus
}
#endif
