#include "params/setting_writer.h"

#include "zel_gen_param_api.h"

#include <algorithm>

namespace params
{

namespace
{

// Each round settles at least one feature that another one depended on; a device that still moves
// after this many is never going to stand still.
constexpr int kMaxRounds = 32;

} // namespace

ZelCamErr SettingWriter::write(const std::vector<Setting>& settings)
{
    if (const ZelCamErr result = walk_.collect(&before_); result != ZelErr::kOk)
        return result;
    rememberSelectors(before_);
    rememberSelectors(settings);
    const ZelCamErr result = apply(settings);
    if (result == ZelErr::kOk) {
        refused_ = Setting();
        return result;
    }
    // The way back has its own refusals.
    const Setting refused = refused_;
    undo();
    refused_ = refused;
    return result;
}

void SettingWriter::rememberSelectors(const std::vector<Setting>& settings)
{
    for (const Setting& setting : settings) {
        for (const auto& [slot, value] : setting.selection) {
            const bool isKnown =
                std::any_of(selectors_.begin(), selectors_.end(),
                            [slot = slot](const auto& known) { return known.first == slot; });
            FeatureValue present;
            if (!isKnown && readValue(ParamArrayState::featureOf(*slot), &present) == ZelErr::kOk)
                selectors_.emplace_back(slot, present);
        }
    }
}

std::vector<SettingWriter::Task> SettingWriter::tasksOf(const std::vector<Setting>& settings)
{
    std::vector<Task> tasks;
    tasks.reserve(settings.size());
    for (const Setting& setting : settings)
        tasks.push_back({setting, false});
    return tasks;
}

ZelCamErr SettingWriter::apply(const std::vector<Setting>& settings)
{
    // Selected features move their selectors about: those get their own values last.
    std::vector<Setting> selectors;
    std::vector<Setting> others;
    for (const Setting& setting : settings)
        (walk_.isSelector(setting.slot) ? selectors : others).push_back(setting);
    std::vector<Task> tasks = tasksOf(others);
    if (const ZelCamErr result = run(&tasks); result != ZelErr::kOk)
        return result;
    for (const auto& selector : selectors_) {
        const ZelCamErr result = SettingWalk::select({selector});
        if (isTransportFailure(result))
            return result;
    }
    tasks = tasksOf(selectors);
    return run(&tasks);
}

ZelCamErr SettingWriter::run(std::vector<Task>* tasks)
{
    for (int round = 0; round < kMaxRounds; ++round) {
        bool hasProgress = false;
        const ZelCamErr result = runOnce(tasks, &hasProgress);
        if (isTransportFailure(result) || (result != ZelErr::kOk && !hasProgress))
            return result;
        if (result == ZelErr::kOk && verify(tasks))
            return ZelErr::kOk;
    }
    return ZelErr::kParamOutOfRange;
}

ZelCamErr SettingWriter::runOnce(std::vector<Task>* tasks, bool* hasProgress)
{
    ZelCamErr failure = ZelErr::kOk;
    for (Task& task : *tasks) {
        if (task.isDone)
            continue;
        const ZelCamErr result = writeOne(&task);
        if (result != ZelErr::kOk)
            refused_ = task.setting;
        if (isTransportFailure(result))
            return result;
        if (result != ZelErr::kOk)
            failure = result;
        task.isDone = result == ZelErr::kOk;
        *hasProgress = *hasProgress || task.isDone;
    }
    return failure;
}

ZelCamErr SettingWriter::writeOne(Task* task)
{
    Setting& setting = task->setting;
    genapi::CheckedNode& feature = ParamArrayState::featureOf(*setting.slot);
    if (const ZelCamErr result = SettingWalk::select(setting.selection); result != ZelErr::kOk)
        return result;
    Setting old{setting.slot, setting.selection, {}, 0};
    const ZelCamErr read = readValue(feature, &old.value);
    if (read == ZelErr::kOk && old.value == setting.value)
        return ZelErr::kOk;
    if (isTransportFailure(read))
        return read;
    // A write that fails may have reached the device all the same.
    if (read == ZelErr::kOk)
        written_.push_back(old);
    const ZelCamErr result = writeValue(feature, setting.value);
    if (result != ZelErr::kOk)
        return result;
    FeatureValue present;
    if (const ZelCamErr check = readValue(feature, &present); check != ZelErr::kOk)
        return check;
    // A device may round a float to its steps.
    if (feature.type() == ZelGenParam::kTypeFloat)
        setting.value = present;
    return present == setting.value ? ZelErr::kOk : ZelErr::kParamOutOfRange;
}

bool SettingWriter::verify(std::vector<Task>* tasks)
{
    bool isRight = true;
    for (Task& task : *tasks) {
        FeatureValue present;
        const ZelCamErr selected = SettingWalk::select(task.setting.selection);
        task.isDone =
            selected == ZelErr::kOk &&
            readValue(ParamArrayState::featureOf(*task.setting.slot), &present) == ZelErr::kOk &&
            present == task.setting.value;
        isRight = isRight && task.isDone;
    }
    return isRight;
}

void SettingWriter::undo()
{
    // What became accessible only on the way is not in before_, so the way back is gone first.
    const std::vector<Setting> written = std::move(written_);
    written_.clear();
    for (auto old = written.rbegin(); old != written.rend(); ++old) {
        std::vector<Task> tasks = tasksOf({*old});
        bool hasProgress = false;
        runOnce(&tasks, &hasProgress);
    }
    apply(before_);
    for (const auto& selector : selectors_)
        SettingWalk::select({selector});
}

} // namespace params
