// Decodes a whole movie with libav, for tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What was found in a movie file. Frames are gray, one byte a pixel, or red, green, blue, by
/// plain arithmetic from what the decoder gives.
struct Movie {
    bool opened = false;
    std::string codec;
    int width = 0;
    int height = 0;
    double rate = 0; ///< Frames per second, from the times of the first and last frame.
    bool fullRange = false;
    std::vector<std::vector<std::uint8_t>> frames;
};

/// Reads as much as can be decoded.
Movie readMovie(const std::string& path, bool colour);

/// Peak signal to noise in dB over the first `height` rows and `width` columns of a wider frame;
/// 99 when equal. `channels` bytes per pixel.
double psnr(const std::vector<std::uint8_t>& wanted, const std::vector<std::uint8_t>& got,
            std::size_t width, std::size_t height, std::size_t gotWidth, std::size_t channels);
