#include "gige/gige_provider.h"

#include <set>

namespace gige
{

std::vector<core::TransportInterface*> GigeProvider::updateInterfaces()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!unknownReported_) {
        unknownReported_ = true;
        reportUnknownAdapters();
    }
    std::vector<core::TransportInterface*> interfaces;
    std::set<std::string> listed;
    for (const NetworkAdapter& adapter : networkAdapters()) {
        // An adapter with several addresses is one interface, at its first address.
        if (!listed.insert(adapter.name).second) {
            continue;
        }
        std::unique_ptr<GigeInterface>& known = adapters_[adapter.name];
        if (known == nullptr) {
            known = std::make_unique<GigeInterface>(adapter);
        } else {
            known->setAdapter(adapter);
        }
        interfaces.push_back(known.get());
    }
    return interfaces;
}

} // namespace gige
