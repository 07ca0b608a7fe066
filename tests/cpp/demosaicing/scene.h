// Pictures with the statistics of photographs, to be looked at through a mosaic.
#pragma once

#include <array>
#include <cstddef>
#include <random>
#include <vector>

namespace ImageTests
{

using Colour = std::array<double, 3>; // From 0 to 255.

/// Discs of all sizes and mostly greyish colours that lie over each other: the edges and the flat
/// parts that a photograph consists of. Four by four points make one pixel. Upon them texture of
/// all scales, alike in all colours but for a slow drift: its amplitude falls with the frequency.
class Scene
{
public:
    /// `texture` is the amplitude of what lies upon the discs, `grain` that of what every pixel of
    /// every colour has for itself, as sensors give it; 0 for none.
    Scene(std::size_t width, std::size_t height, double texture, double grain = 0.0);

    const Colour& at(std::size_t x, std::size_t y) const { return pixels_[y * width_ + x]; }

private:
    double uniform(double low, double high);
    void paint(double u, double v, double radius, const Colour& colour);
    void addTexture(const Colour& amplitudes, std::size_t finest);

    std::size_t width_;
    std::size_t height_;
    std::mt19937 random_{5};
    std::vector<std::array<float, 3>> points_;
    std::vector<Colour> pixels_;
};

} // namespace ImageTests
