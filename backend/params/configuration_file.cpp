#include "params/configuration_file.h"

#include "base/log.h"
#include "base/whole_file.h"
#include "genapi/change_count.h"
#include "params/configuration_text.h"
#include "params/param_array.h"
#include "params/param_array_state.h"
#include "params/setting_writer.h"
#include "params/settings.h"

#include <algorithm>
#include <unordered_map>

namespace params
{

namespace
{

using Slot = ParamArrayState::Slot;

constexpr std::size_t kMaxFileSize = std::size_t{16} << 20;

const char* nameOf(const char* file) { return file != nullptr ? file : "(null)"; }

ZelCamErr readConfiguration(const char* file, ConfigurationText* configuration)
{
    std::string text;
    const ZelCamErr result = base::readWholeFile(file, kMaxFileSize, &text);
    if (result != ZelErr::kOk) {
        base::log(base::LogChannel::GenApi, "%s: cannot be read: %d", nameOf(file), result);
        return result;
    }
    std::size_t place = 0;
    if (parseConfiguration(text, configuration, &place))
        return ZelErr::kOk;
    base::log(base::LogChannel::GenApi, "%s:%zu: no line of a settings file: %d", file, place,
              ZelErr::kWrongConfiguration);
    return ZelErr::kWrongConfiguration;
}

/// Turns lines into settings of the attached device.
class LineReader
{
public:
    LineReader(ParamArrayState& state, const char* file) : state_(state), walk_(state), file_(file)
    {
    }

    /// False when a line does not fit the device; the log says which.
    bool read(const std::vector<ConfigurationLine>& lines, std::vector<Setting>* settings)
    {
        for (const ConfigurationLine& line : lines) {
            Setting setting;
            setting.line = line.number;
            if (!readLine(line, &setting)) {
                base::log(base::LogChannel::GenApi, "%s:%zu: %s does not fit this device: %d",
                          file_, line.number, line.name.c_str(), ZelErr::kWrongConfiguration);
                return false;
            }
            // Where a line comes twice the later one counts, as when lines are run one by one.
            if (walk_.isSelector(setting.slot))
                selected_[setting.slot] = setting.value;
            const auto [known, isNew] = lines_.emplace(keyOf(setting), settings->size());
            if (isNew)
                settings->push_back(std::move(setting));
            else
                (*settings)[known->second] = setting;
        }
        return true;
    }

private:
    static std::string keyOf(const Setting& setting)
    {
        std::string key(ParamArrayState::featureOf(*setting.slot).node().name);
        for (const auto& [selector, value] : setting.selection)
            key += "\t" + textOf(value);
        return key;
    }

    bool readLine(const ConfigurationLine& line, Setting* setting)
    {
        setting->slot = state_.find(line.name.c_str(), nullptr);
        if (setting->slot == nullptr)
            return false;
        const genapi::CheckedNode& feature = ParamArrayState::featureOf(*setting->slot);
        if (!isSetting(*setting->slot) || !parseValue(feature, line.value, &setting->value))
            return false;
        std::size_t used = 0;
        for (Slot* const selector : walk_.selectorsOf(setting->slot)) {
            FeatureValue value;
            if (!readSelector(line, *selector, &value, &used))
                return false;
            // Neither the line nor one before it tells: the entry that is chosen now.
            if (value.type != 0)
                setting->selection.emplace_back(selector, value);
        }
        return used == line.selectors.size();
    }

    bool readSelector(const ConfigurationLine& line, Slot& selector, FeatureValue* value,
                      std::size_t* used)
    {
        const genapi::CheckedNode& feature = ParamArrayState::featureOf(selector);
        for (const auto& [name, text] : line.selectors) {
            if (name == feature.node().name) {
                ++*used;
                return parseValue(feature, text, value);
            }
        }
        // Other programs write the selector's own line before the lines that it selects.
        const auto before = selected_.find(&selector);
        if (before != selected_.end())
            *value = before->second;
        return true;
    }

    ParamArrayState& state_;
    SettingWalk walk_;
    const char* const file_;
    std::unordered_map<Slot*, FeatureValue> selected_;
    std::unordered_map<std::string, std::size_t> lines_; ///< Position in the settings.
};

} // namespace

ZelCamErr saveConfiguration(ParamArray& array, const DeviceIdentity& identity, const char* file)
{
    if (file == nullptr || *file == '\0')
        return ZelErr::kInvalidArgument;
    ConfigurationText configuration;
    configuration.identity = identity;
    {
        ParamArrayState& state = array.state();
        const ParamArrayState::Entry entry(state);
        if (state.reason() != ZelErr::kOk)
            return state.reason();
        // A file tells what the camera has, not what it had when it was asked last.
        genapi::ChangeCount::advance();
        std::vector<Setting> settings;
        const ZelCamErr result = SettingWalk(state).collect(&settings);
        if (result != ZelErr::kOk)
            return result;
        for (const Setting& setting : settings) {
            ConfigurationLine line;
            line.name = ParamArrayState::featureOf(*setting.slot).node().name;
            line.value = textOf(setting.value);
            for (const auto& [selector, value] : setting.selection)
                line.selectors.emplace_back(ParamArrayState::featureOf(*selector).node().name,
                                            textOf(value));
            configuration.lines.push_back(std::move(line));
        }
    }
    const ZelCamErr result = base::replaceFile(file, formatConfiguration(configuration));
    if (result != ZelErr::kOk)
        base::log(base::LogChannel::GenApi, "%s: cannot be written: %d", file, result);
    return result;
}

ZelCamErr loadConfiguration(ParamArray& array, const char* file)
{
    ConfigurationText configuration;
    const ZelCamErr read = readConfiguration(file, &configuration);
    if (read != ZelErr::kOk)
        return read;
    ParamArrayState& state = array.state();
    const ParamArrayState::Entry entry(state);
    if (state.reason() != ZelErr::kOk)
        return state.reason();
    // The values that would be put back are those that the camera has now.
    genapi::ChangeCount::advance();
    std::vector<Setting> settings;
    LineReader reader(state, file);
    if (!reader.read(configuration.lines, &settings))
        return ZelErr::kWrongConfiguration;
    SettingWriter writer(state);
    const ZelCamErr result = writer.write(settings);
    const Setting* const refused = writer.refused();
    if (refused != nullptr)
        base::log(base::LogChannel::GenApi, "%s:%zu: %s refused %s: %d", file, refused->line,
                  std::string(ParamArrayState::featureOf(*refused->slot).node().name).c_str(),
                  textOf(refused->value).c_str(), result);
    return result;
}

ZelCamErr readConfigurationIdentity(const char* file, DeviceIdentity* identity)
{
    ConfigurationText configuration;
    const ZelCamErr result = readConfiguration(file, &configuration);
    if (result == ZelErr::kOk)
        *identity = configuration.identity;
    return result;
}

} // namespace params
