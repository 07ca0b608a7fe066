// Parameters and parameter arrays of the double.
#pragma once

#include "objects.h"
#include "zel_gen_param_api.h"

namespace zel_double
{

/// The array with this name, or null.
ZelGenParam::Array* arrayNamed(const Json& name);

} // namespace zel_double
