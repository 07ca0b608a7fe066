// The simulated cameras as a GenTL producer, reached without a file.
#pragma once

#include "gentl_abi/functions.h"

namespace simulator
{

/// All functions of the producer; none is null. The table lives for the life of the process and is
/// the same object at every call. The producer behind it is one per process and library image:
/// GCInitLib once (a second call answers -1004), as with a loaded file.
///
/// Every function may be called from any thread; an Update of a list must not run beside a reading
/// of the same list. No function throws. After fork() the child starts anew with GCInitLib; handles
/// of the parent answer -1006 there.
const gentl::FunctionTable& producerTable();

} // namespace simulator
