// One table of transport layer types.
#include "simulator/producer/transport_type.h"

#include <array>

namespace simulator::producer
{

namespace
{

struct TransportType {
    const char* tlType;
    const char* entry;
    std::int64_t value;
    const char* toolTip;
};

constexpr std::array kTypes{
    TransportType{"Mixed", "Mixed", 0, "Different types."},
    TransportType{"Custom", "Custom", 1, "A type without a name of its own."},
    TransportType{"GEV", "GigEVision", 2, "GigE Vision."},
    TransportType{"CL", "CameraLink", 3, "Camera Link."},
    TransportType{"CLHS", "CameraLinkHS", 4, "Camera Link HS."},
    TransportType{"CXP", "CoaXPress", 5, "CoaXPress."},
    TransportType{"U3V", "USB3Vision", 6, "USB3 Vision."},
};

} // namespace

features::Feature& addTransportTypes(features::Feature& feature, bool withMixed)
{
    for (const TransportType& type : kTypes) {
        if (withMixed || type.value != 0) {
            feature.entry(type.entry, type.value, type.toolTip);
        }
    }
    return feature;
}

std::int64_t transportTypeValue(const std::string& tlType)
{
    for (const TransportType& type : kTypes) {
        if (tlType == type.tlType) {
            return type.value;
        }
    }
    return 1;
}

} // namespace simulator::producer
