// IPv4 settings of devices through the features of a GigE Vision interface module.
#pragma once

#include "core/transport.h"
#include "params/param_array.h"

#include <functional>
#include <string>

namespace gentl
{

/// Works on a node map of its own, so that the user's parameters stay undisturbed but for the
/// selector, which has its old value afterwards. Not thread safe: core serialises an interface.
class IpFeatures
{
public:
    explicit IpFeatures(genapi::FeatureSource& interface) : interface_(interface) {}

    /// -1003 when the module has no such features, -1007 when it does not list the device.
    ZelCamErr read(const std::string& deviceId, core::IpSettings* settings);
    /// Returns when the module has carried the command out.
    ZelCamErr force(const std::string& deviceId, const core::IpSettings& settings);

private:
    ZelCamErr withSelected(const std::string& deviceId, const std::function<ZelCamErr()>& body);
    ZelCamErr select(const std::string& deviceId);

    genapi::FeatureSource& interface_;
    params::ParamArray parameters_;
    bool attached_ = false;
};

} // namespace gentl
