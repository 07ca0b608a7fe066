// ZelCam::Interface over an interface of any transport.
#include "core/interface_impl.h"

#include "base/log.h"
#include "base/operation_guard.h"
#include "base/text.h"
#include "core/lists.h"

#include <algorithm>

namespace core
{

using Guard = std::lock_guard<std::mutex>;

InterfaceImpl::InterfaceImpl(TransportInterface& transport)
    : transport_(transport), id_(transport.id()), simulated_(transport.isSimulated())
{
}

ZelCam::DeviceInfoList* InterfaceImpl::GetDeviceInfoList()
{
    return base::guardedValue<ZelCam::DeviceInfoList*>(nullptr, [&] {
        const std::vector<DeviceInfoImpl*> present = devices();
        return new DeviceInfoListImpl({present.begin(), present.end()});
    });
}

ZelCam::DeviceInfo* InterfaceImpl::GetFirstDeviceInfo()
{
    return base::guardedValue<ZelCam::DeviceInfo*>(nullptr, [&]() -> ZelCam::DeviceInfo* {
        const std::vector<DeviceInfoImpl*> present = devices();
        return present.empty() ? nullptr : present.front();
    });
}

ZelCamErr InterfaceImpl::ReEnumerateDevices(bool* changed, std::uint64_t timeoutMs)
{
    return base::guarded([&] {
        bool differs = false;
        const ZelCamErr code = enumerate(timeoutMs, &differs);
        if (code == ZelErr::kOk && changed != nullptr) {
            *changed = differs;
        }
        return code;
    });
}

const char* InterfaceImpl::GetDescription()
{
    return base::guardedValue<const char*>(
        "", [&] { return base::intern(base::toUtf8(transport_.description())); });
}

std::int32_t InterfaceImpl::GetType()
{
    return base::guardedValue(0, [&] { return transport_.type(); });
}

const char* InterfaceImpl::typeName()
{
    switch (GetType()) {
    case ZelCam::kUsb3Vision:
        return "USB3 Vision";
    case ZelCam::kGigEVision:
        return "GigE Vision";
    case ZelCam::kCameraLink:
        return "Camera Link";
    case ZelCam::kCoaXPress:
        return "CoaXPress";
    case ZelCam::kHdSdi:
        return "HD-SDI";
    default:
        return "";
    }
}

ZelGenParam::Array* InterfaceImpl::GetParameters(ZelCamErr* err)
{
    const ZelCamErr code = base::guarded([&] {
        const Guard guard(transportMutex_);
        if (!attached_) {
            // A module without a description, or with a broken one, has no parameters; that is no
            // failure.
            std::vector<genapi::FeatureSource*> sources;
            if (genapi::FeatureSource* const features = transport_.features()) {
                sources.push_back(features);
            }
            const ZelCamErr attached = parameters_.attach(sources);
            if (attached != ZelErr::kOk) {
                base::log(base::LogChannel::Backend, "interface %s has no parameters: %d",
                          id_.c_str(), attached);
                static_cast<void>(parameters_.attach({}));
            }
            attached_ = true;
        }
        return ZelErr::kOk;
    });
    base::report(err, code);
    return code == ZelErr::kOk ? &parameters_ : nullptr;
}

std::vector<DeviceInfoImpl*> InterfaceImpl::devices()
{
    bool first = false;
    {
        const Guard guard(listMutex_);
        first = !enumerated_;
    }
    if (first) {
        bool changed = false;
        static_cast<void>(enumerate(transport_.implicitTimeoutMs(), &changed));
    }
    const Guard guard(listMutex_);
    return present_;
}

DeviceInfoImpl* InterfaceImpl::find(const ZelCam::DeviceInfo* info)
{
    const Guard guard(listMutex_);
    for (const auto& entry : known_) {
        if (entry.second.get() == info) {
            return entry.second.get();
        }
    }
    return nullptr;
}

std::int32_t InterfaceImpl::accessStatus(const std::string& id)
{
    const Guard guard(transportMutex_);
    return transport_.accessStatus(id);
}

ZelCamErr InterfaceImpl::ipSettings(const std::string& id, IpSettings* settings)
{
    const Guard guard(transportMutex_);
    return transport_.ipSettings(id, settings);
}

ZelCamErr InterfaceImpl::forceIp(const std::string& id, const IpSettings& settings)
{
    const Guard guard(transportMutex_);
    return transport_.forceIp(id, settings);
}

ZelCamErr InterfaceImpl::openDevice(const std::string& id, std::unique_ptr<TransportDevice>* device)
{
    const Guard guard(transportMutex_);
    return transport_.openDevice(id, device);
}

ZelCamErr InterfaceImpl::enumerate(std::uint64_t timeoutMs, bool* changed)
{
    const Guard guard(transportMutex_);
    std::vector<DeviceDescription> found;
    const ZelCamErr code = transport_.updateDevices(timeoutMs, &found);
    if (code != ZelErr::kOk) {
        return code;
    }
    *changed = takeOver(found);
    params::ParamArray::invalidate();
    return code;
}

// The set counts, not the order and not what the transport believes to have changed.
bool InterfaceImpl::takeOver(const std::vector<DeviceDescription>& found)
{
    const Guard guard(listMutex_);
    std::vector<DeviceInfoImpl*> present;
    for (const DeviceDescription& description : found) {
        std::unique_ptr<DeviceInfoImpl>& info = known_[description.id];
        if (info == nullptr) {
            info = std::make_unique<DeviceInfoImpl>(*this, description);
        } else {
            info->update(description);
        }
        if (std::find(present.begin(), present.end(), info.get()) == present.end()) {
            present.push_back(info.get());
        }
    }
    const bool changed =
        !std::is_permutation(present.begin(), present.end(), present_.begin(), present_.end());
    present_ = std::move(present);
    enumerated_ = true;
    return changed;
}

} // namespace core
