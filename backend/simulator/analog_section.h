// AnalogControl: gain, black level, gamma, colour balance.
#pragma once

#include "simulator/camera_context.h"
#include "simulator/picture_renderer.h"

namespace simulator
{

class AnalogSection
{
public:
    explicit AnalogSection(CameraContext& context);

    void fill(PictureSettings& settings) const;
    double gain() const; ///< Analogue and digital together, dB.

private:
    void declareGain(CameraContext& context);
    void declareResponse(CameraContext& context);
    void declareBalance(CameraContext& context);
    void declareNoise(CameraContext& context);

    Feature* gain_ = nullptr;
    Feature* blackLevel_ = nullptr;
    Feature* gammaEnable_ = nullptr;
    Feature* gamma_ = nullptr;
    Feature* balance_ = nullptr; ///< Null on mono cameras.
    Feature* noise_ = nullptr;
};

} // namespace simulator
