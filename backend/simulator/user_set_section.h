// UserSetControl: settings that the camera keeps.
#pragma once

#include "simulator/camera_context.h"

#include <array>
#include <functional>
#include <memory>
#include <vector>

namespace simulator
{

class UserSetSection
{
public:
    /// `loaded`: told after settings changed.
    UserSetSection(CameraContext& context, std::function<void()> loaded);

    /// The present settings are those of a new camera; call once after the table is finished.
    void keepFactorySettings();
    /// Loads the set that a restart loads.
    void loadDefault();

private:
    /// Values of all streamable features, one after the other. Sets that are the same share them.
    using Settings = std::shared_ptr<const std::vector<FeatureValue>>;
    static constexpr std::size_t kSetCount = 3;

    Settings present() const;
    void load(std::size_t set);

    CameraContext& context_;
    std::function<void()> loaded_;
    Feature* selector_ = nullptr;
    Feature* default_ = nullptr;
    std::array<Settings, kSetCount> sets_;
};

} // namespace simulator
