#include "simulator/gige/kept_settings.h"

#include "base/ipv4.h"
#include "base/log.h"
#include "base/replaced_file.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <utility>

namespace simulator::gige
{

namespace
{

using Json = nlohmann::json;

constexpr std::size_t kLongestName = 64;

std::uint32_t addressOf(const Json& json, const char* key)
{
    std::uint32_t address = 0;
    base::parseIpv4(json.value(key, std::string()).c_str(), &address);
    return address;
}

} // namespace

bool KeptSettings::operator==(const KeptSettings& other) const
{
    return userName == other.userName && ipConfiguration == other.ipConfiguration &&
           persistent.address == other.persistent.address &&
           persistent.mask == other.persistent.mask &&
           persistent.gateway == other.persistent.gateway;
}

SettingsFile::SettingsFile(std::string fileName) : fileName_(std::move(fileName))
{
    const base::Lock lock(mutex_);
    load();
}

void SettingsFile::load()
{
    if (fileName_.empty()) {
        return;
    }
    std::ifstream file(fileName_);
    if (!file) {
        return;
    }
    try {
        const Json json = Json::parse(file);
        for (const auto& item : json.items()) {
            KeptSettings settings;
            settings.userName =
                item.value().value("userName", std::string()).substr(0, kLongestName);
            settings.persistent = {addressOf(item.value(), "address"),
                                   addressOf(item.value(), "mask"),
                                   addressOf(item.value(), "gateway")};
            settings.ipConfiguration = item.value().value("ipConfiguration", 0U);
            cameras_[item.key()] = settings;
        }
    } catch (const Json::exception&) {
        cameras_.clear();
        base::warn(base::LogChannel::Gige, "'%s' is damaged and is not used", fileName_.c_str());
    }
}

void SettingsFile::save() const
{
    Json json = Json::object();
    for (const auto& [serialNumber, settings] : cameras_) {
        json[serialNumber] = {{"userName", settings.userName},
                              {"address", base::formatIpv4(settings.persistent.address)},
                              {"mask", base::formatIpv4(settings.persistent.mask)},
                              {"gateway", base::formatIpv4(settings.persistent.gateway)},
                              {"ipConfiguration", settings.ipConfiguration}};
    }
    const std::string text = json.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
    base::ReplacedFile file;
    const bool written = file.open(fileName_) == 0 && file.write(text.data(), text.size()) == 0 &&
                         file.publish() == 0;
    if (!written) {
        base::warn(base::LogChannel::Gige, "'%s' cannot be written", fileName_.c_str());
    }
}

bool SettingsFile::find(const std::string& serialNumber, KeptSettings* settings)
{
    const base::Lock lock(mutex_);
    const auto it = cameras_.find(serialNumber);
    if (it == cameras_.end()) {
        return false;
    }
    *settings = it->second;
    return true;
}

void SettingsFile::keep(const std::string& serialNumber, const KeptSettings& settings)
{
    const base::Lock lock(mutex_);
    const auto it = cameras_.find(serialNumber);
    if (fileName_.empty() || (it != cameras_.end() && it->second == settings)) {
        return;
    }
    cameras_[serialNumber] = settings;
    save();
}

} // namespace simulator::gige
