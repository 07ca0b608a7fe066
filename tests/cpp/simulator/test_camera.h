// A simulated camera whose registers are reached by feature names, as its description tells them.
#pragma once

#include "simulator/camera_model.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace simulator::test
{

/// A mono camera of 64 x 48 pixels without noise and without limits of the link.
CameraConfig smallCamera();

/// Remembers what the camera told.
class Listener : public CameraObserver
{
public:
    struct Event {
        std::uint64_t id;
        std::vector<std::uint8_t> data;
        /// The 64-bit big-endian number at `offset`.
        std::uint64_t number(std::size_t offset) const;
    };

    void acquisitionStarted() override { note("started"); }
    void acquisitionStopped() override { note("stopped"); }
    void triggered() override { note("triggered"); }
    void event(std::uint64_t eventId, const void* data, std::size_t size) override;
    void identityChanged() override { note("identity"); }
    void unplugged(std::uint64_t backAfterMs) override
    {
        note("unplugged " + std::to_string(static_cast<std::int64_t>(backAfterMs)));
    }

    std::vector<std::string> takeNotes() { return std::exchange(notes_, {}); }
    std::vector<Event> takeEvents() { return std::exchange(events_, {}); }

private:
    void note(std::string text) { notes_.push_back(std::move(text)); }

    std::vector<std::string> notes_;
    std::vector<Event> events_;
};

class TestCamera
{
public:
    explicit TestCamera(const CameraConfig& config = smallCamera());
    ~TestCamera() { model.setObserver(nullptr); }

    struct Register {
        std::uint64_t address = 0;
        std::size_t length = 0;
    };
    /// The register node `name` of the description; `index` counts selector values.
    Register find(const std::string& name, std::size_t index = 0) const;

    std::int32_t set(const std::string& feature, std::int64_t value, std::size_t index = 0);
    std::int32_t setReal(const std::string& feature, double value, std::size_t index = 0);
    std::int32_t setText(const std::string& feature, const std::string& text);
    std::int32_t run(const std::string& command, std::size_t index = 0);
    std::int64_t get(const std::string& feature, std::size_t index = 0);
    double getReal(const std::string& feature, std::size_t index = 0);
    std::string getText(const std::string& feature);
    std::int64_t raw(const std::string& registerName, std::size_t index = 0);
    /// Plans, renders and ends the next frame; empty when there is none.
    std::vector<std::uint8_t> frame(FrameLayout* layout = nullptr, FramePlan* plan = nullptr);

    CameraModel model;
    Listener listener;
};

} // namespace simulator::test
