// The types of transport layers, as module features and their entries name them.
#pragma once

#include "features/feature.h"

#include <cstdint>
#include <string>

namespace simulator::producer
{

/// Gives `feature` (an enumeration) the standard's entries for a transport layer type.
features::Feature& addTransportTypes(features::Feature& feature, bool withMixed);
/// Value of the entry for a GenTL type string; "Custom" for an unknown one.
std::int64_t transportTypeValue(const std::string& tlType);

} // namespace simulator::producer
