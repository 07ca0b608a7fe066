// Bayer demosaicing (libZelDemosaicing.so).
#pragma once

#include "../zel_err.h"
#include "image.h"

struct ZelBayer;

extern "C" {

/// A new demosaicing component; null for want of memory. One thread at a time; it spreads the work
/// over the cores by itself.
ZEL_API ZelBayer* ZelBayer_CreateComponent();

/// Demosaics Bayer8, 10, 12, 14 or 16 (unpacked, any order, any size from 1x1) to RGB8 or BGR8 of
/// the same size. A mono source whose `mosaic` names a Bayer type counts as that type. -40007 for
/// other types, sizes that differ, null, and memory smaller than the description says.
ZEL_API ZelCamErr ZelBayer_ConvertImage(ZelBayer* bayer, const ZelImage* source, ZelImage* target);

/// Frees a component; null is accepted.
ZEL_API void ZelBayer_DeleteComponent(ZelBayer* bayer);
}
