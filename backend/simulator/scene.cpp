// The generated scene.
#include "simulator/scene.h"

#include <algorithm>
#include <cmath>

namespace simulator
{

namespace
{

constexpr std::uint32_t kSize = 1024;
constexpr double kTwoPi = 6.283185307179586;

/// A periodic wave of `periods` over the scene, 0 to 1.
std::vector<double> wave(double periods, double phase)
{
    std::vector<double> values(kSize);
    for (std::uint32_t i = 0; i < kSize; ++i) {
        values[i] = 0.5 + 0.5 * std::sin(kTwoPi * (periods * i / kSize + phase));
    }
    return values;
}

/// A scene needs edges as well as gradients: discs of different sizes on a grid of eight.
bool inDisc(std::uint32_t x, std::uint32_t y)
{
    constexpr std::uint32_t kCell = kSize / 4;
    const double dx = static_cast<double>(x % kCell) - kCell / 2.0;
    const double dy = static_cast<double>(y % kCell) - kCell / 2.0;
    const std::uint32_t radius = 20 + 6 * (x / kCell) + 14 * (y / kCell);
    return dx * dx + dy * dy < radius * radius;
}

} // namespace

Scene::Scene(std::uint32_t width, std::uint32_t height) : width_(width), height_(height)
{
    for (auto& plane : planes_) {
        plane.resize(std::size_t{width} * height);
    }
}

void Scene::set(std::uint32_t x, std::uint32_t y, std::uint32_t red, std::uint32_t green,
                std::uint32_t blue)
{
    const std::size_t place = std::size_t{y} * width_ + x;
    planes_[kRed][place] = static_cast<std::uint16_t>(red);
    planes_[kGreen][place] = static_cast<std::uint16_t>(green);
    planes_[kBlue][place] = static_cast<std::uint16_t>(blue);
    planes_[kLuma][place] =
        static_cast<std::uint16_t>((77 * red + 150 * green + 29 * blue + 128) >> 8);
}

std::shared_ptr<const Scene> Scene::generated()
{
    static const std::shared_ptr<const Scene> scene = [] {
        auto made = std::make_shared<Scene>(kSize, kSize);
        const auto slowX = wave(1, 0.0);
        const auto slowY = wave(1, 0.3);
        const auto fastX = wave(16, 0.1);
        const auto diagonal = wave(3, 0.6);
        for (std::uint32_t y = 0; y < kSize; ++y) {
            for (std::uint32_t x = 0; x < kSize; ++x) {
                const double cloud = diagonal[(x + y) % kSize];
                double red = 200 + 1900 * slowX[x] + 700 * cloud;
                double green = 250 + 1500 * slowY[y] + 900 * cloud;
                double blue = 300 + 1400 * (1 - slowX[x]) + 900 * slowY[(y + 300) % kSize];
                if (inDisc(x, y)) {
                    const double shade = fastX[y];
                    red = 3000 * shade + 300;
                    green = 0.4 * green + 2000 * shade;
                    blue = 0.7 * blue + 400;
                }
                made->set(x, y, static_cast<std::uint32_t>(red), static_cast<std::uint32_t>(green),
                          static_cast<std::uint32_t>(blue));
            }
        }
        return made;
    }();
    return scene;
}

} // namespace simulator
