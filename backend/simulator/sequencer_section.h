// SequencerControl: sets of settings that follow each other while frames are taken.
#pragma once

#include "simulator/signal_source.h"

#include <array>
#include <vector>

namespace simulator
{

/// Used under the camera's lock.
class SequencerSection
{
public:
    /// After the features that it sequences were declared.
    SequencerSection(CameraContext& context, EventSection& events);

    /// A restart, or a user set: the sequencer is off.
    void restart();

private:
    static constexpr std::size_t kSets = 8;
    static constexpr std::size_t kPaths = 2;
    struct Path {
        std::int64_t next = 0;
        std::int64_t source = 0;
        std::int64_t activation = 0;
    };
    struct Set {
        std::vector<FeatureValue> values; ///< One of each of features_.
        std::array<Path, kPaths> paths;
    };

    void declareModes();
    void declareSets();
    void declarePaths();
    /// A feature that shows a part of the selected path.
    void showPath(Feature& feature, std::int64_t Path::*part);
    void happened(CameraEvent event);
    void save(std::size_t set);
    void load(std::size_t set);
    std::size_t selectedSet() const { return static_cast<std::size_t>(setSelector_->integer()); }
    bool isOn() const { return mode_->integer() != 0; }

    CameraContext& context_;
    std::vector<Feature*> features_;
    std::array<Set, kSets> sets_;
    std::size_t active_ = 0;
    Feature* mode_ = nullptr;
    Feature* configuration_ = nullptr;
    Feature* featureEnable_ = nullptr;
    Feature* setSelector_ = nullptr;
    Feature* pathSelector_ = nullptr;
    Feature* start_ = nullptr;
};

} // namespace simulator
