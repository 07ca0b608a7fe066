// The functions of the producer, as the C interface and the function table give them out.
#pragma once

#include "gentl_abi/functions.h"

/// Names, arguments and codes are those of GenTL. Any thread may call any of them; none throws.
namespace simulator::producer::api
{

using namespace gentl; // The names of the list's parameters.

#define ZEL_DECLARE(need, name, parameters, arguments) Error name parameters;
ZEL_GENTL_FUNCTIONS(ZEL_DECLARE)
#undef ZEL_DECLARE

} // namespace simulator::producer::api
