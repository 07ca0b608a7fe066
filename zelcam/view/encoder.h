// Pictures in memory as the browser takes them.
#pragma once

#include "zel_image_api.h"

#include <string>

namespace view
{

/// A JPEG file of a Mono8, RGB8 or BGR8 image; `quality` from 1 to 100. Failure when the library
/// refuses. Of `shrink` times `shrink` pixels one is taken, from 1 on.
std::string encodeJpeg(const ZelImage& image, int quality, std::uint32_t shrink);
/// The same as PNG, without loss and packed quickly rather than well.
std::string encodePng(const ZelImage& image, std::uint32_t shrink);

} // namespace view
