// The transports that this library is put together from.
#include "api/transports.h"

#include "base/log.h"

#include <cstdlib>

#if ZEL_HAS_SIMULATOR
#include "gentl/gentl_provider.h"
#include "simulator/producer_table.h"
#endif
#if ZEL_HAS_GIGE
#include "gige/gige_provider.h"
#endif
#if ZEL_HAS_USB3
#include "usb3/usb3_interface.h"
#endif

namespace api
{

std::vector<std::unique_ptr<core::TransportProvider>> Transports::loadDefaults()
{
    std::vector<std::unique_ptr<core::TransportProvider>> providers;
#if ZEL_HAS_GIGE
    providers.push_back(std::make_unique<gige::GigeProvider>());
#endif
#if ZEL_HAS_USB3
    providers.push_back(std::make_unique<usb3::Usb3Provider>());
#endif
    if (const char* const paths = std::getenv("GENICAM_GENTL64_PATH")) {
        producers_.loadList(paths, &providers);
    }
#if ZEL_HAS_SIMULATOR
    std::unique_ptr<core::TransportProvider> simulated;
    const ZelCamErr code =
        gentl::GentlProvider::create(simulator::producerTable(), "simulator", true, &simulated);
    if (code == ZelErr::kOk) {
        providers.push_back(std::move(simulated));
    } else {
        base::warn(base::LogChannel::Backend, "the simulated cameras do not start: %d", code);
    }
#endif
    return providers;
}

ZelCamErr Transports::load(const char* path,
                           std::vector<std::unique_ptr<core::TransportProvider>>* providers)
{
    return producers_.load(path, providers);
}

} // namespace api
