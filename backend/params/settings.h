// Settings of a device: values of features under the entries of their selectors.
#pragma once

#include "params/feature_value.h"
#include "params/param_array_state.h"
#include "zel_err.h"

#include <unordered_map>
#include <utility>
#include <vector>

namespace params
{

/// A selector and the value that it has while something selected is read or written.
using Selection = std::vector<std::pair<ParamArrayState::Slot*, FeatureValue>>;

struct Setting {
    ParamArrayState::Slot* slot = nullptr;
    Selection selection; ///< Outermost first.
    FeatureValue value;
    std::size_t line = 0; ///< Of the file that asks for it; 0: none does.
};

/// True for codes of the transport: trying again in another order will not help.
bool isTransportFailure(ZelCamErr code);

/// True for values that belong into configuration files: those marked as streamable. A description
/// that marks none either way is older than the mark; all its features with a value belong then
/// (their IsStreamable stays false, as described).
bool isSetting(ParamArrayState::Slot& slot);

/// Which features select which, and walks over all their combinations. Used inside an Entry, while
/// the same maps are attached.
class SettingWalk
{
public:
    explicit SettingWalk(ParamArrayState& state);

    /// Selectors of a feature, their own selectors before them.
    std::vector<ParamArrayState::Slot*> selectorsOf(ParamArrayState::Slot* slot) const;
    bool isSelector(ParamArrayState::Slot* slot) const { return selecting_.count(slot) != 0; }

    /// All features with isSetting() that can be read and written now, for all entries of their
    /// selectors, in the order of the tree. Selectors have their old values afterwards. -1020 where
    /// selectors of selectors make more than a million combinations.
    ZelCamErr collect(std::vector<Setting>* settings);

    /// Sets the selectors that have another value.
    static ZelCamErr select(const Selection& selection);

private:
    ZelCamErr collectOne(ParamArrayState::Slot* slot,
                         const std::vector<ParamArrayState::Slot*>& selectors, Selection* selection,
                         std::vector<Setting>* settings);
    static std::vector<FeatureValue> choicesOf(genapi::CheckedNode& selector,
                                               const FeatureValue& present);
    void addSelectors(ParamArrayState::Slot* slot,
                      std::vector<ParamArrayState::Slot*>* selectors) const;

    ParamArrayState& state_;
    std::unordered_map<ParamArrayState::Slot*, std::vector<ParamArrayState::Slot*>> selectedBy_;
    std::unordered_map<ParamArrayState::Slot*, bool> selecting_;
    std::size_t combinations_ = 0; ///< Of a collect().
};

} // namespace params
