// What a loadable producer exports.
#pragma once

#include "gentl_abi/functions.h"

namespace simulator::producer
{

/// The functions behind the C symbols of a producer's file; none may be null. Each file that is
/// built from producer_exports.cpp defines this once. Called with every exported function, from any
/// thread; the table must live for the life of the process.
const gentl::FunctionTable& exportedFunctions();

} // namespace simulator::producer
