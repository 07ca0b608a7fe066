// What a picture writer is given: a checked view of an image.
#pragma once

#include "zel_err.h"
#include "zel_image/image.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace serializer
{

enum class PixelKind { kGray8, kGray16, kRgb, kBgr };

/// A view of an image whose memory has been checked against its description. Borrows the pixels.
struct Picture {
    const unsigned char* pixels;
    std::size_t stride;   ///< Bytes from one row to the next.
    std::size_t rowBytes; ///< Bytes of one row's pixels, at most `stride`.
    std::uint32_t width;
    std::uint32_t height;
    std::uint32_t bits; ///< Significant bits per component, 8 to 16.
    PixelKind kind;

    const unsigned char* row(std::uint32_t y) const { return pixels + y * stride; }
    bool isColour() const { return kind == PixelKind::kRgb || kind == PixelKind::kBgr; }
    /// The largest value a sample can have.
    std::uint32_t maxValue() const { return (1U << bits) - 1U; }
};

/// Checks `image` and describes it in `*picture`. -40007 for null, for sizes of 0, for types that
/// no writer takes and for memory smaller than the description says.
ZelCamErr describePicture(const ZelImage* image, Picture* picture);

/// What a writer may be told.
struct WriteOptions {
    int jpegQuality = 95; ///< 1 to 100.
};

class OutputFile;

/// Writes a picture into an open file; does not commit. Returns 0, the file's error, or -40007 for
/// pictures that the format cannot hold.
using PictureWriter = ZelCamErr (*)(const Picture&, const WriteOptions&, OutputFile&);

/// The text after the last '.' of the file's own name, in lower case; empty when there is none.
std::string extensionOf(const std::string& fileName);

/// Writes `picture` in the format of the extension, whole or not at all. -40007 for an unknown
/// extension or a picture that its format cannot hold; codes of OutputFile. May throw bad_alloc.
ZelCamErr savePicture(const Picture& picture, const WriteOptions& options,
                      const std::string& fileName);

} // namespace serializer
