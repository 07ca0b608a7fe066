#include "params/settings.h"

#include "genapi/feature_map.h"
#include "zel_gen_param_api.h"

#include <algorithm>

namespace params
{

namespace
{

using Slot = ParamArrayState::Slot;

// Values of a selector that are walked: look-up tables have this many at most.
constexpr std::uint64_t kMaxChoices = 4096;
constexpr std::size_t kMaxCombinations = 1'000'000;

} // namespace

bool isTransportFailure(ZelCamErr code)
{
    return (code < 0 && code > -2000) || code == ZelErr::kParamRuntime || code == ZelErr::kNoDevice;
}

bool isSetting(Slot& slot)
{
    const genapi::Description& description = slot.map->description();
    const genapi::Node& node = description.at(slot.node);
    const bool isMeant = description.marksStreamable ? node.isStreamable : node.isFeature;
    return isMeant && hasValue(ParamArrayState::featureOf(slot));
}

SettingWalk::SettingWalk(ParamArrayState& state) : state_(state)
{
    for (Slot* const slot : state.features()) {
        const genapi::Description& description = slot->map->description();
        const genapi::Node& node = description.at(slot->node);
        for (const genapi::Link& link : description.linksOf(node)) {
            if (link.kind != genapi::LinkKind::kSelected)
                continue;
            const std::string name(description.at(link.target).name);
            Slot* const selected = state.find(name.c_str(), nullptr);
            if (selected == nullptr || selected->map != slot->map)
                continue;
            selectedBy_[selected].push_back(slot);
            selecting_[slot] = true;
        }
    }
}

void SettingWalk::addSelectors(Slot* slot, std::vector<Slot*>* selectors) const
{
    const auto found = selectedBy_.find(slot);
    if (found == selectedBy_.end())
        return;
    for (Slot* const selector : found->second) {
        if (std::find(selectors->begin(), selectors->end(), selector) != selectors->end())
            continue;
        addSelectors(selector, selectors);
        selectors->push_back(selector);
    }
}

std::vector<Slot*> SettingWalk::selectorsOf(Slot* slot) const
{
    std::vector<Slot*> selectors;
    addSelectors(slot, &selectors);
    return selectors;
}

ZelCamErr SettingWalk::select(const Selection& selection)
{
    for (const auto& [slot, value] : selection) {
        genapi::CheckedNode& selector = ParamArrayState::featureOf(*slot);
        FeatureValue present;
        ZelCamErr result = readValue(selector, &present);
        if (result == ZelErr::kOk && !(present == value))
            result = writeValue(selector, value);
        if (result != ZelErr::kOk)
            return result;
    }
    return ZelErr::kOk;
}

std::vector<FeatureValue> SettingWalk::choicesOf(genapi::CheckedNode& selector,
                                                 const FeatureValue& present)
{
    std::vector<FeatureValue> choices;
    FeatureValue choice = present;
    if (!selector.isWritable()) {
        choices.push_back(present);
    } else if (selector.type() == ZelGenParam::kTypeEnum) {
        for (std::size_t i = 0; i < selector.entryCount(); ++i) {
            choice.text = selector.entry(i).name;
            if (selector.isEntryAvailable(i))
                choices.push_back(choice);
        }
    } else if (selector.type() == ZelGenParam::kTypeBoolean) {
        for (choice.integer = 0; choice.integer < 2; ++choice.integer)
            choices.push_back(choice);
    } else if (selector.type() == ZelGenParam::kTypeInt) {
        std::int64_t min = 0;
        std::int64_t max = 0;
        std::int64_t increment = 1;
        const bool isKnown = selector.integerLimit(genapi::Bound::kMin, &min) == ZelErr::kOk &&
                             selector.integerLimit(genapi::Bound::kMax, &max) == ZelErr::kOk &&
                             selector.increment(&increment) == ZelErr::kOk && min <= max;
        increment = std::max<std::int64_t>(increment, 1);
        const std::uint64_t steps =
            isKnown ? (static_cast<std::uint64_t>(max) - static_cast<std::uint64_t>(min)) /
                          static_cast<std::uint64_t>(increment)
                    : kMaxChoices;
        if (steps >= kMaxChoices) {
            choices.push_back(present);
            return choices;
        }
        for (std::uint64_t step = 0; step <= steps; ++step) {
            choice.integer = min + static_cast<std::int64_t>(step) * increment;
            choices.push_back(choice);
        }
    }
    return choices;
}

ZelCamErr SettingWalk::collectOne(Slot* slot, const std::vector<Slot*>& selectors,
                                  Selection* selection, std::vector<Setting>* settings)
{
    genapi::CheckedNode& feature = ParamArrayState::featureOf(*slot);
    if (++combinations_ > kMaxCombinations) {
        return ZelErr::kGenTLResourceExhausted;
    }
    if (selection->size() == selectors.size()) {
        if (!feature.isReadable() || !feature.isWritable())
            return ZelErr::kOk;
        Setting setting{slot, *selection, {}, 0};
        const ZelCamErr result = readValue(feature, &setting.value);
        if (result == ZelErr::kOk)
            settings->push_back(std::move(setting));
        return result;
    }
    Slot* const selectorSlot = selectors[selection->size()];
    genapi::CheckedNode& selector = ParamArrayState::featureOf(*selectorSlot);
    FeatureValue present;
    ZelCamErr result = readValue(selector, &present);
    if (result != ZelErr::kOk)
        return isTransportFailure(result) ? result : ZelErr::kOk;
    for (const FeatureValue& choice : choicesOf(selector, present)) {
        selection->emplace_back(selectorSlot, choice);
        const ZelCamErr selected = select({selection->back()});
        if (selected == ZelErr::kOk)
            result = collectOne(slot, selectors, selection, settings);
        else if (isTransportFailure(selected))
            result = selected;
        selection->pop_back();
        if (result != ZelErr::kOk)
            break;
    }
    const ZelCamErr restored = select({{selectorSlot, present}});
    return result != ZelErr::kOk ? result : restored;
}

ZelCamErr SettingWalk::collect(std::vector<Setting>* settings)
{
    combinations_ = 0;
    for (Slot* const slot : state_.features()) {
        if (!isSetting(*slot))
            continue;
        Selection selection;
        const ZelCamErr result = collectOne(slot, selectorsOf(slot), &selection, settings);
        if (result != ZelErr::kOk)
            return result;
    }
    return ZelErr::kOk;
}

} // namespace params
