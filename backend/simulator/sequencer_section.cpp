// The sequencer of a simulated camera.
#include "simulator/sequencer_section.h"

#include "gentl_abi/gentl_abi.h"

namespace simulator
{

SequencerSection::SequencerSection(CameraContext& context, EventSection& events) : context_(context)
{
    for (const char* name : {"ExposureTime", "Gain", "BlackLevel"}) {
        features_.push_back(context.table.find(name));
    }
    context.table.category("SequencerControl", "Sets of settings that follow each other.");
    declareModes();
    declareSets();
    declarePaths();
    for (std::size_t set = 0; set < kSets; ++set) {
        save(set);
    }
    events.listen([this](CameraEvent event, std::uint64_t, std::uint64_t) { happened(event); });
}

void SequencerSection::declareModes()
{
    FeatureTable& table = context_.table;
    mode_ = &table.enumeration("SequencerMode", "Runs the sequencer.")
                 .expert()
                 .entry("Off", 0, "The camera has one set of settings.")
                 .entry("On", 1, "The sets follow their paths.")
                 .lockedIf([this] { return configuration_->integer() != 0; })
                 .changesOthers()
                 .onChange([this](std::size_t) {
                     if (isOn()) {
                         load(static_cast<std::size_t>(start_->integer()));
                     }
                 });
    configuration_ = &table.enumeration("SequencerConfigurationMode", "Lets the sets be changed.")
                          .expert()
                          .entry("Off", 0, "They cannot be changed.")
                          .entry("On", 1, "They can.")
                          .lockedIf([this] { return isOn(); });
    Feature& selector =
        table.enumeration("SequencerFeatureSelector", "Feature that SequencerFeatureEnable shows.")
            .expert();
    for (std::size_t i = 0; i < features_.size(); ++i) {
        selector.entry(features_[i]->name(), static_cast<std::int64_t>(i), "Part of the sets.");
    }
    featureEnable_ = &table.boolean("SequencerFeatureEnable", "The feature follows the sequencer.")
                          .expert()
                          .selectedBy("SequencerFeatureSelector", features_.size())
                          .value(std::int64_t{1})
                          .lockedIf([this] { return configuration_->integer() == 0; });
}

void SequencerSection::declareSets()
{
    FeatureTable& table = context_.table;
    const auto isClosed = [this] { return configuration_->integer() == 0; };
    setSelector_ = &table.integer("SequencerSetSelector", "Set that the other features show.")
                        .expert()
                        .range(std::int64_t{0}, std::int64_t{kSets - 1});
    table.command("SequencerSetSave", "Keeps the present settings in the set.")
        .expert()
        .shownBy({"SequencerSetSelector"})
        .lockedIf(isClosed)
        .onExecute([this](std::size_t) {
            save(selectedSet());
            return gentl::err::kSuccess;
        });
    table.command("SequencerSetLoad", "Makes the set's settings the present ones.")
        .expert()
        .shownBy({"SequencerSetSelector"})
        .lockedIf(isClosed)
        .onExecute([this](std::size_t) {
            load(selectedSet());
            return gentl::err::kSuccess;
        });
    table.integer("SequencerSetActive", "Set that is in use.")
        .expert()
        .readOnly()
        .onRead([this](std::size_t) { return FeatureValue(static_cast<std::int64_t>(active_)); });
    start_ = &table.integer("SequencerSetStart", "Set that an acquisition starts with.")
                  .expert()
                  .range(std::int64_t{0}, std::int64_t{kSets - 1})
                  .lockedIf(isClosed);
}

void SequencerSection::declarePaths()
{
    FeatureTable& table = context_.table;
    pathSelector_ = &table.integer("SequencerPathSelector", "Way out of the set.")
                         .expert()
                         .shownBy({"SequencerSetSelector"})
                         .range(std::int64_t{0}, std::int64_t{kPaths - 1});
    showPath(table.integer("SequencerSetNext", "Set that the path leads to.")
                 .range(std::int64_t{0}, std::int64_t{kSets - 1}),
             &Path::next);
    Feature& source = table.enumeration("SequencerTriggerSource", "What makes it take the path.");
    addEventsAndSources(source);
    showPath(source, &Path::source);
    showPath(addActivation(table.enumeration("SequencerTriggerActivation",
                                             "Edge of a line that makes it take the path."),
                           false),
             &Path::activation);
}

void SequencerSection::showPath(Feature& feature, std::int64_t Path::*part)
{
    const auto path = [this]() -> Path& {
        return sets_.at(selectedSet()).paths.at(static_cast<std::size_t>(pathSelector_->integer()));
    };
    feature.expert()
        .shownBy({"SequencerSetSelector", "SequencerPathSelector"})
        .lockedIf([this] { return configuration_->integer() == 0; })
        .onRead([path, part](std::size_t) { return FeatureValue(path().*part); })
        .onWrite([path, part](std::size_t, const FeatureValue& value) {
            path().*part = std::get<std::int64_t>(value);
            return gentl::err::kSuccess;
        });
}

void SequencerSection::save(std::size_t set)
{
    auto& values = sets_.at(set).values;
    values.clear();
    for (const Feature* feature : features_) {
        values.push_back(feature->stored(0));
    }
}

void SequencerSection::load(std::size_t set)
{
    active_ = set;
    for (std::size_t i = 0; i < features_.size(); ++i) {
        if (featureEnable_->integer(i) != 0) {
            features_[i]->set(sets_.at(set).values.at(i));
            context_.post([name = features_[i]->name()](CameraObserver& observer) {
                observer.featureChanged(name.c_str());
            });
        }
    }
    context_.pictureChanged();
}

void SequencerSection::happened(CameraEvent event)
{
    if (!isOn()) {
        return;
    }
    if (event == CameraEvent::AcquisitionStart) {
        load(static_cast<std::size_t>(start_->integer()));
        return;
    }
    for (const Path& path : sets_.at(active_).paths) {
        if (isEventOrSource(path.source, path.activation, event)) {
            load(static_cast<std::size_t>(path.next));
            return;
        }
    }
}

void SequencerSection::restart()
{
    mode_->set(std::int64_t{0});
    configuration_->set(std::int64_t{0});
}

} // namespace simulator
