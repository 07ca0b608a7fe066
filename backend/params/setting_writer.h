// Brings a device into a set of settings, or leaves it as it was.
#pragma once

#include "params/settings.h"

#include <vector>

namespace params
{

/// Used once, inside an Entry, while the same maps are attached.
class SettingWriter
{
public:
    explicit SettingWriter(ParamArrayState& state) : walk_(state) {}

    /// All or nothing: on success every setting reads back as given (floats as the device rounds
    /// them); else all streamable features have the values that they had before, as far as the
    /// device can still be reached. Selectors have their old values unless they are settings.
    ZelCamErr write(const std::vector<Setting>& settings);

    /// The setting that made write() fail; null when it did not, or none did.
    const Setting* refused() const { return refused_.slot != nullptr ? &refused_ : nullptr; }

private:
    struct Task {
        Setting setting;
        bool isDone = false;
    };

    ZelCamErr run(std::vector<Task>* tasks);
    ZelCamErr runOnce(std::vector<Task>* tasks, bool* hasProgress);
    ZelCamErr writeOne(Task* task);
    static bool verify(std::vector<Task>* tasks);
    static std::vector<Task> tasksOf(const std::vector<Setting>& settings);
    void rememberSelectors(const std::vector<Setting>& settings);
    ZelCamErr apply(const std::vector<Setting>& settings);
    void undo();

    SettingWalk walk_;
    std::vector<Setting> before_;  ///< All streamable features.
    std::vector<Setting> written_; ///< What was there before each write, oldest first.
    Selection selectors_;          ///< As they were.
    Setting refused_;              ///< The last one that the device did not take.
};

} // namespace params
