// What served cameras remember while they are switched off.
#pragma once

#include "base/mutex.h"
#include "simulator/camera_config.h"

#include <cstdint>
#include <map>
#include <string>

namespace simulator::gige
{

/// Of one camera.
struct KeptSettings {
    std::string userName;
    IpConfig persistent;
    std::uint32_t ipConfiguration = 0; ///< As its register.

    bool operator==(const KeptSettings& other) const;
};

/// A file with the settings of all cameras by serial number; without a name nothing is kept. A file
/// that is damaged counts as empty. Thread safe.
class SettingsFile
{
public:
    explicit SettingsFile(std::string fileName);

    bool find(const std::string& serialNumber, KeptSettings* settings) ZEL_EXCLUDES(mutex_);
    /// Writes the file when something is new; whole or not at all.
    void keep(const std::string& serialNumber, const KeptSettings& settings) ZEL_EXCLUDES(mutex_);

private:
    void load() ZEL_REQUIRES(mutex_);
    void save() const ZEL_REQUIRES(mutex_);

    const std::string fileName_;
    base::Mutex mutex_;
    std::map<std::string, KeptSettings> cameras_ ZEL_GUARDED_BY(mutex_);
};

} // namespace simulator::gige
