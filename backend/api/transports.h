// The transports that this library is put together from.
#pragma once

#include "core/provider_loader.h"
#include "gentl/loader.h"

#include <memory>
#include <vector>

namespace api
{

/// GigE Vision and USB3 Vision where they are built in, the producers of GENICAM_GENTL64_PATH, and
/// the simulated cameras.
class Transports final : public core::ProviderLoader
{
public:
    std::vector<std::unique_ptr<core::TransportProvider>> loadDefaults() override;
    ZelCamErr load(const char* path,
                   std::vector<std::unique_ptr<core::TransportProvider>>* providers) override;

private:
    gentl::Loader producers_;
};

} // namespace api
