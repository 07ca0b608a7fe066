// What the sections of a camera share: features, clock, locks, messages to the host side.
#pragma once

#include "features/feature_table.h"
#include "simulator/camera_config.h"
#include "simulator/camera_frame.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace simulator
{

using features::Feature;
using features::FeatureTable;
using features::FeatureValue;
using features::FloatLimits;
using features::IntLimits;
using features::ModuleIdentity;

/// Used under the camera's lock, except `config` and now().
struct CameraContext {
    static constexpr std::uint64_t kFlashMs = 250;
    using Message = std::function<void(CameraObserver&)>;

    CameraContext(const CameraConfig& cameraConfig, FeatureTable& features)
        : config(cameraConfig), table(features), powerOn(std::chrono::steady_clock::now())
    {
    }

    /// Nanoseconds since the camera was powered on.
    std::uint64_t now() const
    {
        return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                              std::chrono::steady_clock::now() - powerOn)
                                              .count());
    }
    /// What clocks outside show at a time of now(): a master may have set the clock.
    std::uint64_t stamp(std::uint64_t ns) const
    {
        return ns + static_cast<std::uint64_t>(clockOffsetNs);
    }
    /// What must not change during an acquisition is locked: by the host or by the camera itself.
    bool isLocked() const { return acquiring || transportLocked; }
    /// For Feature::lockedIf().
    std::function<bool()> whileStreaming() const
    {
        return [this] { return isLocked(); };
    }
    /// What was written takes a while: it goes into memory that survives a restart.
    void writesFlash() { workMs = kFlashMs; }
    /// To be told to the observer as soon as the camera's lock is free.
    void post(Message message) { messages.push_back(std::move(message)); }
    /// Settings of the picture changed: frames planned from now on look different.
    void pictureChanged() { pictureIsStale = true; }
    /// For Feature::onChange().
    std::function<void(std::size_t)> changesPicture()
    {
        return [this](std::size_t) { pictureChanged(); };
    }

    CameraConfig config; ///< As configured; registers may say otherwise.
    FeatureTable& table;
    std::chrono::steady_clock::time_point powerOn;
    std::int64_t clockOffsetNs = 0;
    std::uint64_t workMs = 0; ///< How long the last write keeps the camera busy.
    bool acquiring = false;
    bool transportLocked = false;
    bool pictureIsStale = true;
    std::vector<Message> messages;
    std::function<void()> linkChanged; ///< The rate that the link gives the camera is another one.
};

} // namespace simulator
