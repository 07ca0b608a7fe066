// A producer that lies: the simulated one behind answers that are wrong now and then.
#pragma once

#include "gentl_abi/functions.h"

#include <cstdint>

namespace gentl_test
{

/// Every function of `honest` (which has to outlive the process), spoilt at random: refused with
/// odd codes, done but called a failure, late, successful with null or invented handles, with wrong
/// types, counts and sizes, or with other bytes than were asked for. What it never does is what no
/// consumer could survive: write beyond a buffer, or keep memory that it gave back.
gentl::FunctionTable hostileTable(const gentl::FunctionTable& honest);

/// How many of a thousand calls are spoilt, and by which sequence of chances.
void setHostility(std::uint32_t perMille, std::uint64_t seed);

/// How many calls were spoilt so far.
std::uint64_t spoiltCalls();

} // namespace gentl_test
