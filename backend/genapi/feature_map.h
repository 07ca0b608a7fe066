// The node map of one module: the description, what it evaluates to, and its features.
#pragma once

#include "genapi/checked_node.h"
#include "genapi/evaluator.h"
#include "genapi/feature_source.h"

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

    const Description& description() const { return evaluator_.description(); }

    /// The node as a feature; made on first use, lives as long as the map.
    CheckedNode& feature(std::int32_t index);

    /// Copies the bytes behind the event or chunk ports with this id.
    void setData(bool isEvent, std::uint64_t id, const void* data, std::size_t size);
    void dropChunks() { evaluator_.router().dropChunks(); }

private:
    FeatureMap(FeatureSource& source, Description description);

    Evaluator evaluator_;
    std::vector<std::unique_ptr<CheckedNode>> features_;
};

} // namespace genapi
