// Images in scripts and in the log.
#pragma once

#include "core.h"
#include "zel_image/image.h"

namespace zel_double
{

/// What the log says about an image: its name ("source", "image1" ...) and its description.
inline Json describe(const ZelImage* image)
{
    if (image == nullptr) {
        return {};
    }
    // Images of the double carry their name where the owner of real memory would stand.
    const auto* name = static_cast<const char*>(image->owner);
    return {{"image", name == nullptr ? "?" : name},
            {"pixelType", image->pixelType},
            {"width", image->size.width},
            {"height", image->size.height},
            {"bitsPerComponent", image->bitsPerComponent},
            {"components", image->components},
            {"packingAndDepth", image->packingAndDepth},
            {"storedBits", image->storedBits}};
}

} // namespace zel_double
