// LUTControl: a table between gamma and the pixel format.
#pragma once

#include "simulator/camera_context.h"
#include "simulator/picture_renderer.h"

#include <array>
#include <cstdint>
#include <memory>

namespace simulator
{

/// LUTValueAll: all values with 16 bits each, big-endian.
constexpr std::uint64_t kLutBase = 0x04000000;

/// Used under the camera's lock.
class LutSection
{
public:
    explicit LutSection(CameraContext& context);

    void fill(PictureSettings& settings) const;
    /// Places inside LUTValueAll, whole values; -1015 or -1019 else.
    std::int32_t read(std::uint64_t offset, void* data, std::size_t size) const;
    std::int32_t write(std::uint64_t offset, const void* data, std::size_t size);

private:
    std::size_t index() const { return static_cast<std::size_t>(index_->integer()); }
    /// The table for a change; frames that were planned keep the old one.
    LookUpTable& changing();

    CameraContext& context_;
    Feature* enable_ = nullptr;
    Feature* index_ = nullptr;
    std::shared_ptr<const LookUpTable> table_;
};

} // namespace simulator
