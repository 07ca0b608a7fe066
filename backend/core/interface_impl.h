// ZelCam::Interface over an interface of any transport.
#pragma once

#include "core/device_info_impl.h"
#include "core/transport.h"
#include "params/param_array.h"
#include "zel_cam/interface.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace core
{

/// One per transport interface, for the life of the process. transportMutex_ serialises the
/// transport's operations; listMutex_ is a leaf that guards the lists, so that they can be read
/// while an enumeration or an opening takes its time.
class InterfaceImpl final : public ZelCam::Interface
{
public:
    explicit InterfaceImpl(TransportInterface& transport);

    ZelCam::DeviceInfoList* GetDeviceInfoList() override;
    ZelCam::DeviceInfo* GetFirstDeviceInfo() override;
    ZelCamErr ReEnumerateDevices(bool* changed, std::uint64_t timeoutMs) override;
    const char* GetDescription() override;
    std::int32_t GetType() override;
    ZelGenParam::Array* GetParameters(ZelCamErr* err) override;

    const std::string& id() const { return id_; }
    const char* typeName();
    bool isSimulated() const { return simulated_; }
    /// The present devices; enumerates when nobody did before.
    std::vector<DeviceInfoImpl*> devices();
    /// The device behind a pointer from outside, present or not; null when it is none of ours.
    DeviceInfoImpl* find(const ZelCam::DeviceInfo* info);

    // The transport's operations, one at a time.
    std::int32_t accessStatus(const std::string& id);
    ZelCamErr ipSettings(const std::string& id, IpSettings* settings);
    ZelCamErr forceIp(const std::string& id, const IpSettings& settings);
    ZelCamErr openDevice(const std::string& id, std::unique_ptr<TransportDevice>* device);

private:
    ZelCamErr enumerate(std::uint64_t timeoutMs, bool* changed);
    bool takeOver(const std::vector<DeviceDescription>& found);

    TransportInterface& transport_;
    const std::string id_;
    const bool simulated_;
    std::mutex transportMutex_;
    params::ParamArray parameters_;
    bool attached_ = false; ///< Guarded by transportMutex_.

    std::mutex listMutex_;
    std::map<std::string, std::unique_ptr<DeviceInfoImpl>> known_; ///< Every device ever seen.
    std::vector<DeviceInfoImpl*> present_;
    bool enumerated_ = false;
};

} // namespace core
