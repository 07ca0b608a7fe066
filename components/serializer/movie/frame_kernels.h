// Kernels that bring pictures into the pixel formats of encoders.
#pragma once

#include <cstddef>
#include <cstdint>

namespace movie
{

/// BT.601 colour to luma and chroma, as weights of 16 fractional bits and biases in 1/256.
/// `uFrom*` and `vFrom*` are the sizes of weights whose signs are fixed: U rises with blue and
/// falls with red and green, V rises with red and falls with green and blue.
struct ColourWeights {
    std::uint16_t yFromRed, yFromGreen, yFromBlue;
    std::uint16_t chroma; ///< Of the colour that raises the difference: blue for U, red for V.
    std::uint16_t uFromRed, uFromGreen;
    std::uint16_t vFromGreen, vFromBlue;
    std::uint16_t yBias, chromaBias; ///< Include one half for rounding.
    std::uint16_t gray;              ///< Of a gray value; 0 for a plain copy.
};

/// Luma 0 to 255, chroma 128 +- 127.5: what JPEG files mean.
const ColourWeights& fullRange();
/// Luma 16 to 235, chroma 128 +- 112: what video means.
const ColourWeights& limitedRange();

/// Where red lies in a pixel of three bytes.
enum class ColourOrder { kRgb, kBgr };

/// The luma planes of two rows and the chroma of both. `width` pixels are read and `width` luma
/// values written per row, (width + 1) / 2 chroma values; in an odd last column the pixel stands
/// for its missing neighbour. Both rows may be the same one, for an odd last row.
struct RowPair {
    const unsigned char* upper;
    const unsigned char* lower;
    unsigned char* upperLuma;
    unsigned char* lowerLuma;
    unsigned char* u;
    unsigned char* v;
    std::size_t width;
};

/// Converts two rows with 4:2:0 chroma averaged over squares of four pixels. All instruction sets
/// give the same bytes, within one of the rounded exact value.
void colourToPlanar(const RowPair& rows, ColourOrder order, const ColourWeights& weights);

/// Gray to luma.
void grayToLuma(const unsigned char* from, unsigned char* to, std::size_t width,
                const ColourWeights& weights);

/// Three bytes per pixel to four in the order blue, green, red, 255.
void colourToBgrx(const unsigned char* from, unsigned char* to, std::size_t width,
                  ColourOrder order);

} // namespace movie
