// What the sensor looks at: light on a plane that repeats in both directions.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace simulator
{

/// Linear light of 12 bits (0 to 4095) at the reference exposure, for red, green, blue and
/// luminance. Immutable once built; shared between cameras.
class Scene
{
public:
    enum Plane : std::size_t { kRed, kGreen, kBlue, kLuma, kPlaneCount };

    Scene(std::uint32_t width, std::uint32_t height);

    /// The generated picture that all cameras without an image source see.
    static std::shared_ptr<const Scene> generated();

    std::uint32_t width() const { return width_; }
    std::uint32_t height() const { return height_; }
    const std::uint16_t* row(Plane plane, std::uint32_t y) const
    {
        return planes_[plane].data() + std::size_t{y} * width_;
    }
    /// Sets one pixel and its luminance.
    void set(std::uint32_t x, std::uint32_t y, std::uint32_t red, std::uint32_t green,
             std::uint32_t blue);

private:
    std::uint32_t width_;
    std::uint32_t height_;
    std::array<std::vector<std::uint16_t>, kPlaneCount> planes_;
};

/// Pictures to replay: a PGM, PPM (binary), PNG file, or a folder of such in the order of their
/// names; 8 or 16 bits. A picture of grey value v (of 255) renders as v with the default settings.
/// On failure: an empty list and a text that names file and mistake.
std::vector<std::shared_ptr<const Scene>> loadScenes(const std::string& source, std::string* error);

} // namespace simulator
