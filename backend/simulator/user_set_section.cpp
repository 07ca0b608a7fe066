// User sets of a simulated camera.
#include "simulator/user_set_section.h"

#include "gentl_abi/gentl_abi.h"

#include <utility>

namespace simulator
{

UserSetSection::UserSetSection(CameraContext& context, std::function<void()> loaded)
    : context_(context), loaded_(std::move(loaded))
{
    FeatureTable& table = context.table;
    table.category("UserSetControl", "Settings that the camera keeps.");
    const auto withSets = [](Feature& feature) -> Feature& {
        return feature.entry("Default", 0, "Settings of a new camera.")
            .entry("UserSet0", 1, "First set of the user.")
            .entry("UserSet1", 2, "Second set of the user.");
    };
    selector_ = &withSets(table.enumeration("UserSetSelector", "Set to load or save."));
    table.command("UserSetLoad", "Loads the selected set.")
        .lockedIf(context.whileStreaming())
        .onExecute([this](std::size_t) {
            load(static_cast<std::size_t>(selector_->integer()));
            return gentl::err::kSuccess;
        });
    table.command("UserSetSave", "Saves the settings in the selected set.")
        .describe("Saves the settings in the selected set; Default cannot be changed.")
        .lockedIf([this] { return selector_->integer() == 0 || context_.isLocked(); })
        .onExecute([this](std::size_t) {
            sets_.at(static_cast<std::size_t>(selector_->integer())) = present();
            context_.writesFlash();
            return gentl::err::kSuccess;
        });
    default_ = &withSets(table.enumeration("UserSetDefault", "Set that a restart loads.").expert());
}

UserSetSection::Settings UserSetSection::present() const
{
    std::vector<FeatureValue> settings;
    for (const Feature& feature : context_.table.features()) {
        if (feature.isStreamable()) {
            for (std::size_t i = 0; i < feature.count(); ++i) {
                settings.push_back(feature.stored(i));
            }
        }
    }
    settings.shrink_to_fit();
    return std::make_shared<const std::vector<FeatureValue>>(std::move(settings));
}

void UserSetSection::keepFactorySettings() { sets_.fill(present()); }

void UserSetSection::load(std::size_t set)
{
    std::size_t next = 0;
    for (Feature& feature : context_.table.features()) {
        if (feature.isStreamable()) {
            for (std::size_t i = 0; i < feature.count(); ++i) {
                feature.set(sets_.at(set)->at(next++), i);
            }
        }
    }
    loaded_();
}

void UserSetSection::loadDefault() { load(static_cast<std::size_t>(default_->integer())); }

} // namespace simulator
