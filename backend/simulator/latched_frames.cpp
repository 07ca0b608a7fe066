#include "simulator/latched_frames.h"

#include "gentl_abi/gentl_abi.h"

#include <cstring>
#include <string>
#include <utility>

namespace simulator
{

namespace
{

/// Plans that a host forgot to end; more than any host has in flight.
constexpr std::size_t kMostLatched = 256;

} // namespace

LatchedFrames::LatchedFrames(CameraContext& context, PictureSections sections)
    : context_(context), sections_(sections)
{
    if (!context.config.imageSource.empty()) {
        std::string error;
        scenes_ = loadScenes(context.config.imageSource, &error);
    }
}

void LatchedFrames::latch(FramePlan& plan, double exposureUs)
{
    if (context_.pictureIsStale || renderer_ == nullptr ||
        renderer_->settings().exposureUs != exposureUs) {
        PictureSettings settings;
        sections_.image.fill(settings);
        sections_.analog.fill(settings);
        sections_.lut.fill(settings);
        settings.exposureUs = exposureUs;
        settings.seed = context_.config.seed;
        if (scenes_.empty()) {
            scenes_.push_back(Scene::generated()); // Who takes no picture needs none.
        }
        renderer_ = std::make_shared<PictureRenderer>(settings, scenes_);
        context_.pictureIsStale = false;
    }
    const PictureSettings& settings = renderer_->settings();
    Frame frame;
    frame.renderer = renderer_;
    frame.chunks = sections_.chunks.enabled();
    frame.values = {plan.frameId,         context_.stamp(plan.startNs),
                    settings.exposureUs,  settings.gainDb,
                    settings.width,       settings.height,
                    settings.offsetX,     settings.offsetY,
                    settings.format->code};
    sections_.autos.adjust(*renderer_, plan.frameId); // What it changes is for the next frame.
    plan.settings = nextHandle_++;
    frames_.emplace(plan.settings, std::move(frame));
    if (frames_.size() > kMostLatched) {
        frames_.erase(frames_.begin());
    }
}

bool LatchedFrames::begin(const FramePlan& plan)
{
    const auto it = frames_.find(plan.settings);
    return it != frames_.end() && !std::exchange(it->second.isExposing, true);
}

bool LatchedFrames::end(const FramePlan& plan)
{
    const auto it = frames_.find(plan.settings);
    return it != frames_.end() && std::exchange(it->second.isExposing, false);
}

LatchedFrames::Frame LatchedFrames::find(const FramePlan& plan) const
{
    const auto it = frames_.find(plan.settings);
    return it == frames_.end() ? Frame{} : it->second;
}

std::int32_t LatchedFrames::render(const Frame& frame, std::uint64_t frameId, void* memory,
                                   std::size_t capacity, FrameLayout* layout) const
{
    const PictureSettings& settings = frame.renderer->settings();
    const ChunkSection& chunks = sections_.chunks;
    *layout = {};
    layout->imageSize = frame.renderer->imageBytes();
    layout->chunkLayoutId = frame.chunks;
    layout->size = chunks.payload(layout->imageSize, frame.chunks);
    layout->chunkBytes = chunks.chunkBytes(layout->imageSize, frame.chunks);
    ChunkPlace first{};
    chunks.places(layout->imageSize, frame.chunks, &first, 1);
    layout->chunkOffset = first.offset;
    layout->pixelFormat = settings.format->code;
    layout->width = settings.width;
    layout->height = settings.height;
    layout->offsetX = settings.offsetX;
    layout->offsetY = settings.offsetY;
    layout->timestampNs = frame.values.timestampNs;

    const auto draw = [&](unsigned char* target) {
        frame.renderer->render(frameId, target);
        chunks.write(frame.values, layout->imageSize, frame.chunks, target);
    };
    if (capacity >= layout->size) {
        draw(static_cast<unsigned char*>(memory));
        return gentl::err::kSuccess;
    }
    std::vector<unsigned char> aside(layout->size);
    draw(aside.data());
    std::memcpy(memory, aside.data(), capacity);
    return gentl::err::kBufferTooSmall;
}

} // namespace simulator
