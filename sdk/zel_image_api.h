// The image components: images, unpacker, demosaicing, converter, serializer.
#pragma once

#include "zel_image/component_params.h"
#include "zel_image/converter.h"
#include "zel_image/demosaicing.h"
#include "zel_image/image.h"
#include "zel_image/pixel_type.h"
#include "zel_image/serializer.h"
#include "zel_image/unpacker.h"
