// Unpacking a bit-packed frame, as pictures and movies both need it.
#pragma once

#include "imaging/component_loader.h"
#include "zel_err.h"

namespace imaging
{

/// The unpacker with its parameters set for a source, or null with a report on standard error.
ZelImageUnpacker* unpackerFor(ComponentLoader& components, const ZelImage& source);

/// Unpacks `source` into `target`; a null target is for the component to refuse. Returns the code;
/// a failure is reported on standard error.
ZelCamErr unpack(ZelImageUnpacker* unpacker, const ZelImage& source, ZelImage* target);

} // namespace imaging
