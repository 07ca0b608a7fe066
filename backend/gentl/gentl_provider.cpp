// A GenTL producer as a source of transport interfaces.
#include "gentl/gentl_provider.h"

#include "base/log.h"
#include "gentl/info.h"

#include <algorithm>

namespace gentl
{

namespace
{
/// More than any host has; a producer that claims more is not believed.
constexpr std::uint32_t kMaxInterfaces = 65536;
constexpr std::uint64_t kUpdateTimeoutMs = 1000;
} // namespace

ZelCamErr GentlProvider::create(const FunctionTable& table, const std::string& name, bool simulated,
                                std::unique_ptr<core::TransportProvider>* provider)
{
    auto api = std::make_unique<Api>(table, name);
    Error code = api->call<&FunctionTable::GCInitLib>("GCInitLib");
    // In use: somebody else in this process has initialised the same library.
    if (code != err::kSuccess && code != err::kResourceInUse) {
        return code;
    }
    Handle system = nullptr;
    code = api->call<&FunctionTable::TLOpen>("TLOpen", &system);
    if (code != err::kSuccess || system == nullptr) {
        return code != err::kSuccess ? code : err::kError;
    }
    provider->reset(new GentlProvider(std::move(api), system, simulated));
    return err::kSuccess;
}

std::vector<core::TransportInterface*> GentlProvider::updateInterfaces()
{
    std::vector<core::TransportInterface*> present;
    Bool8 changed = 0;
    // A failing update leaves the list as it was.
    api_->call<&FunctionTable::TLUpdateInterfaceList>("TLUpdateInterfaceList", system_, &changed,
                                                      kUpdateTimeoutMs);
    std::uint32_t count = 0;
    if (api_->call<&FunctionTable::TLGetNumInterfaces>("TLGetNumInterfaces", system_, &count) !=
        err::kSuccess) {
        return present;
    }
    if (count > kMaxInterfaces) {
        base::warn(base::LogChannel::GenTL, "%s claims %u interfaces; %u are looked at",
                   api_->name().c_str(), count, kMaxInterfaces);
    }
    const auto take = [&](const std::string& id) {
        std::unique_ptr<GentlInterface>& interface = interfaces_[id];
        if (interface == nullptr) {
            interface = std::make_unique<GentlInterface>(*api_, system_, id, simulated_);
        }
        interface->refresh();
        if (std::find(present.begin(), present.end(), interface.get()) == present.end()) {
            present.push_back(interface.get());
        }
    };
    forEachId(
        std::min(count, kMaxInterfaces),
        [this](std::uint32_t index, char* text, std::size_t* size) {
            return api_->call<&FunctionTable::TLGetInterfaceID>("TLGetInterfaceID", system_, index,
                                                                text, size);
        },
        take);
    return present;
}

} // namespace gentl
