// The node map of one module: the description, ArvGc over it, and its features.
#pragma once

#include "genapi/description.h"
#include "genapi/engine_node.h"
#include "genapi/feature.h"
#include "genapi/feature_source.h"
#include "genapi/port_device.h"

#include <memory>
#include <string>
#include <vector>

namespace genapi
{

/// Not thread safe except create(): the array above holds its lock around every call.
class FeatureMap
{
public:
    /// Loads the description of `source`, which must outlive the map. On success `*map` is set;
    /// else the code, with one line in `why`. Thread safe.
    static ZelCamErr create(FeatureSource& source, std::unique_ptr<FeatureMap>* map,
                            std::string* why);
    ~FeatureMap() = default;
    FeatureMap(const FeatureMap&) = delete;
    FeatureMap& operator=(const FeatureMap&) = delete;

    const Description& description() const { return description_; }
    PortRouter& router() { return router_; }

    /// The node as a feature; made on first use, lives as long as the map.
    Feature& feature(std::int32_t index);

    /// The node of ArvGc that holds the value; invalid where ArvGc has none.
    EngineNode engine(std::int32_t index) const;

private:
    FeatureMap(FeatureSource& source, Description description);

    Description description_;
    PortRouter router_;
    // In the order of destruction: the map keeps a bare pointer to its device.
    std::unique_ptr<ArvDevice, ObjectDeleter> device_;
    std::unique_ptr<ArvGc, ObjectDeleter> ownGc_;
    ArvGc* gc_ = nullptr;
    bool usesDeviceMap_ = false;
    std::vector<std::unique_ptr<Feature>> features_;
};

} // namespace genapi
