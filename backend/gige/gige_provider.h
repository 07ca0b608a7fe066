// GigE Vision cameras on all network adapters.
#pragma once

#include "core/transport.h"
#include "gige/gige_interface.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace gige
{

/// One interface for each network adapter, as far as ZELCAM_VISION allows. An adapter that comes
/// back under its name is the same interface. Names that no adapter has when it first looks are
/// reported once. Thread safe.
class GigeProvider final : public core::TransportProvider
{
public:
    std::vector<core::TransportInterface*> updateInterfaces() override;

private:
    std::mutex mutex_;
    bool unknownReported_ = false;
    std::map<std::string, std::unique_ptr<GigeInterface>> adapters_; ///< By name, never erased.
};

} // namespace gige
