#include "scene.h"

#include <algorithm>
#include <cmath>

namespace ImageTests
{

namespace
{

constexpr std::size_t kFiner = 4;
constexpr std::size_t kPixelsPerDisc = 41;
constexpr std::size_t kCoarsest = 128;

} // namespace

Scene::Scene(std::size_t width, std::size_t height, double texture, double grain)
    : width_(width), height_(height), points_(kFiner * width * kFiner * height, {90, 90, 90}),
      pixels_(width * height)
{
    const std::size_t columns = kFiner * width;
    for (std::size_t disc = 0; disc < width * height / kPixelsPerDisc; ++disc) {
        const double radius = 14.0 / std::pow(uniform(0.02, 1.0), 0.8);
        const double grey = uniform(40.0, 200.0);
        const Colour colour{grey * uniform(0.8, 1.2), grey, grey * uniform(0.8, 1.2)};
        const double u = uniform(0.0, static_cast<double>(columns));
        paint(u, uniform(0.0, static_cast<double>(kFiner * height)), radius, colour);
    }
    for (std::size_t i = 0; i < points_.size(); ++i) {
        Colour& pixel = pixels_[i / columns / kFiner * width + i % columns / kFiner];
        for (std::size_t c = 0; c < 3; ++c) {
            pixel[c] += static_cast<double>(points_[i][c]) / (kFiner * kFiner);
        }
    }
    points_.clear();
    if (texture > 0) {
        addTexture({texture, texture, texture}, 2);
        addTexture({texture / 3, 0, 0}, 8);
        addTexture({0, 0, texture / 3}, 8);
    }
    for (Colour& pixel : pixels_) {
        for (double& component : pixel) {
            component = std::clamp(component + uniform(-grain, grain), 0.0, 255.0);
        }
    }
}

double Scene::uniform(double low, double high)
{
    return low + (high - low) * static_cast<double>(random_()) / 4294967296.0;
}

void Scene::paint(double u, double v, double radius, const Colour& colour)
{
    const std::size_t columns = kFiner * width_;
    const auto first = [&](double centre) {
        return static_cast<std::size_t>(std::max(0.0, std::ceil(centre - radius)));
    };
    const std::array<float, 3> point{static_cast<float>(colour[0]), static_cast<float>(colour[1]),
                                     static_cast<float>(colour[2])};
    for (std::size_t y = first(v); y < kFiner * height_ && static_cast<double>(y) < v + radius;
         ++y) {
        for (std::size_t x = first(u); x < columns && static_cast<double>(x) < u + radius; ++x) {
            if (std::hypot(static_cast<double>(x) - u, static_cast<double>(y) - v) < radius) {
                points_[y * columns + x] = point;
            }
        }
    }
}

// Every octave adds random values on a grid, twice as wide as the one before, and twice as strong.
void Scene::addTexture(const Colour& amplitudes, std::size_t finest)
{
    for (std::size_t grid = finest; grid <= kCoarsest; grid *= 2) {
        const std::size_t columns = width_ / grid + 2;
        std::vector<double> knots(columns * (height_ / grid + 2));
        const double strength = 2.0 * static_cast<double>(grid) / kCoarsest;
        for (double& knot : knots) {
            knot = uniform(-strength, strength);
        }
        for (std::size_t i = 0; i < pixels_.size(); ++i) {
            const std::size_t x = i % width_;
            const std::size_t y = i / width_;
            const double* const knot = &knots[y / grid * columns + x / grid];
            const double s = static_cast<double>(x % grid) / static_cast<double>(grid);
            const double t = static_cast<double>(y % grid) / static_cast<double>(grid);
            const double value = (1 - t) * ((1 - s) * knot[0] + s * knot[1]) +
                                 t * ((1 - s) * knot[columns] + s * knot[columns + 1]);
            for (std::size_t c = 0; c < 3; ++c) {
                pixels_[i][c] += amplitudes[c] * value;
            }
        }
    }
}

} // namespace ImageTests
