// Unpacker of bit-packed formats (libZelImageUnpacker.so).
#pragma once

#include "../zel_err.h"
#include "component_params.h"
#include "image.h"

struct ZelImageUnpacker;

extern "C" {

/// A new unpacker; null for want of memory. Its operations may run on one thread at a time.
ZEL_API ZelImageUnpacker* ZelImageUnpacker_CreateComponent();

/// Its parameters: integers "cameraType" (0), "width" and "height" of the source in pixels (0: take
/// the size of the source image).
ZEL_API ZelComponentParams* ZelImageUnpacker_GetComponent(ZelImageUnpacker* unpacker);

/// Unpacks Mono10/12Packed and Mono10/12p, Bayer??10/12Packed and Bayer??10/12p into 16-bit words.
/// The target's size equals the source's and its pixel type is unpacked, of the source's depth or
/// more bits, mono or Bayer of the source's order. Values stay as they are, except that Mono10p and
/// Mono12p in a deeper image are scaled to its depth. A mosaic that is unpacked into a mono image
/// leaves its unpacked Bayer type in the target's `mosaic`. -40007 for anything else, for null and
/// for too little memory in either image; the target is then unchanged.
ZEL_API ZelCamErr ZelImageUnpacker_Unpack(ZelImageUnpacker* unpacker, const ZelImage* source,
                                          ZelImage* target);

/// Frees an unpacker; null is accepted.
ZEL_API void ZelImageUnpacker_DeleteComponent(ZelImageUnpacker* unpacker);
}
