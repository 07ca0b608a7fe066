// Data streams of the double.
#pragma once

#include "objects.h"
#include "zel_camera_api.h"

namespace zel_double
{

/// The stream with this name, or null.
ZelCam::Stream* streamNamed(const Json& name);

} // namespace zel_double
