// Saving a frame as a picture file.
#pragma once

#include "imaging/component_loader.h"
#include "zel_err.h"

namespace imaging
{

/// Writes a frame to a file whose format the serializer chooses by the name. Mono8 goes as it is;
/// Mono10 and Mono12 go as 16-bit samples into names ending in ".tiff" (exactly so) and are
/// reduced to 8 bits for all others; Bayer 8, 10 and 12 are demosaiced to RGB8; "Packed" formats
/// are unpacked first. Any other pixel type is refused. Failures are reported on standard error.
/// `lastError` receives the code of the component operation that decided; a refusal leaves it
/// alone. True on success.
bool saveImage(ComponentLoader& components, const ZelImage& source, const char* fileName,
               ZelCamErr& lastError);

} // namespace imaging
