// A port of a producer: registers and description of one module.
#pragma once

#include "genapi/feature_source.h"
#include "gentl/api.h"

#include <atomic>
#include <string>
#include <vector>

namespace gentl
{

/// Thread safe, as the producer's port functions are. The handle is borrowed and open for the life
/// of the object.
class ModulePort final : public genapi::FeatureSource
{
public:
    ModulePort(const Api& api, Handle handle) : api_(api), handle_(handle) {}

    /// The first description that can be had, in the producer's order. -1008 when the port names
    /// none, else the code of the last one that failed.
    ZelCamErr description(std::string* document) override;
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override;
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override;

    /// Reads a few bytes that were readable before, to see whether the module answers at all.
    ZelCamErr probe();

private:
    std::vector<std::string> urls();
    ZelCamErr load(const std::string& url, std::string* document);

    const Api& api_;
    const Handle handle_;
    std::atomic<std::uint64_t> probeAddress_{0};
};

} // namespace gentl
