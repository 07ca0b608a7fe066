// A GenTL producer as a source of transport interfaces.
#pragma once

#include "core/transport.h"
#include "gentl/api.h"
#include "gentl/gentl_interface.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace gentl
{

/// Lives for the life of the process: producers are never closed, because their threads and ours
/// may still be at work when the process ends.
class GentlProvider final : public core::TransportProvider
{
public:
    /// Initialises the producer and opens its system. `name` is unique among the producers.
    static ZelCamErr create(const FunctionTable& table, const std::string& name, bool simulated,
                            std::unique_ptr<core::TransportProvider>* provider);

    std::vector<core::TransportInterface*> updateInterfaces() override;

private:
    GentlProvider(std::unique_ptr<Api> api, Handle system, bool simulated)
        : api_(std::move(api)), system_(system), simulated_(simulated)
    {
    }

    const std::unique_ptr<Api> api_;
    const Handle system_;
    const bool simulated_;
    std::map<std::string, std::unique_ptr<GentlInterface>> interfaces_; ///< Every one ever seen.
};

} // namespace gentl
