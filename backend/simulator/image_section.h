// ImageFormatControl: geometry, pixel format, test pattern.
#pragma once

#include "simulator/camera_context.h"
#include "simulator/picture_renderer.h"

#include <cstdint>

namespace simulator
{

/// Declares the features and keeps them consistent: window inside the picture, picture inside the
/// sensor.
class ImageSection
{
public:
    /// `wideFormats`: whether formats of more than 12 bits are available now.
    ImageSection(CameraContext& context, const std::function<bool()>& wideFormats);

    void fill(PictureSettings& settings) const;
    const PixelFormat& format() const;
    std::uint64_t imageBytes() const;
    /// Sensor lines that a readout takes.
    std::uint64_t linesRead() const;
    /// Moves and shrinks the window until it lies in the picture; after other settings changed.
    void fitWindow();
    /// Takes the first format that is available when the present one is not any more.
    void fitFormat();

private:
    /// One direction of the geometry.
    struct Axis {
        std::int64_t sensor = 0;
        std::int64_t step = 1;       ///< Increment of the size.
        std::int64_t offsetStep = 1; ///< Increment of the offset; keeps the mosaic's phase.
        Feature* size = nullptr;
        Feature* offset = nullptr;
        Feature* binning = nullptr;
        Feature* binningMode = nullptr;
        Feature* decimation = nullptr;
        Feature* reverse = nullptr;

        std::int64_t full() const;
        void fit();
    };

    void declareSensor();
    void declareWindow(Axis& axis, const char* size, const char* offset, const char* direction);
    void declareReduction(Axis& axis, const char* suffix);
    void declareReverse(Axis& axis, const char* suffix);
    void declareFormat(const std::function<bool()>& wideFormats);
    void declareFormatInfo();
    void declarePattern();

    CameraContext& context_;
    Axis x_;
    Axis y_;
    Feature* format_ = nullptr;
    Feature* pattern_ = nullptr;
};

} // namespace simulator
