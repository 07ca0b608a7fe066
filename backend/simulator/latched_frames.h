// Frames that were planned: the settings at the start of their exposure, and their pixels.
#pragma once

#include "simulator/analog_section.h"
#include "simulator/auto_section.h"
#include "simulator/camera_frame.h"
#include "simulator/chunk_section.h"
#include "simulator/image_section.h"
#include "simulator/lut_section.h"
#include "simulator/picture_renderer.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace simulator
{

/// The sections that decide on a picture. Borrowed.
struct PictureSections {
    ImageSection& image;
    AnalogSection& analog;
    LutSection& lut;
    ChunkSection& chunks;
    AutoSection& autos;
};

/// Used under the camera's lock, but for render().
class LatchedFrames
{
public:
    /// Settings of a planned frame.
    struct Frame {
        std::shared_ptr<const PictureRenderer> renderer;
        ChunkValues values;
        std::uint64_t chunks = 0;
        bool isExposing = false; ///< Started, and its exposure-end event is still to come.
    };

    /// Loads the pictures that the camera's configuration names.
    LatchedFrames(CameraContext& context, PictureSections sections);

    /// Keeps the present settings for a frame, and lets the automatics look at it.
    void latch(FramePlan& plan, double exposureUs);
    /// Whether the exposure of a frame began just now, or ended.
    bool begin(const FramePlan& plan);
    bool end(const FramePlan& plan);
    /// False when it was forgotten already.
    bool forget(const FramePlan& plan) { return frames_.erase(plan.settings) != 0; }
    /// Without a renderer when the frame is not known (any more).
    Frame find(const FramePlan& plan) const;

    /// As CameraModel::render(), of a known frame. Any thread.
    std::int32_t render(const Frame& frame, std::uint64_t frameId, void* memory,
                        std::size_t capacity, FrameLayout* layout) const;

private:
    CameraContext& context_;
    PictureSections sections_;
    std::vector<std::shared_ptr<const Scene>> scenes_;
    std::shared_ptr<const PictureRenderer> renderer_;
    std::map<std::uint64_t, Frame> frames_;
    std::uint64_t nextHandle_ = 1;
};

} // namespace simulator
