#include "vision/camera_source.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

namespace vision
{

namespace
{
// One request of the control protocols carries little; the library splits it further.
constexpr std::size_t kPiece = 4096;
} // namespace

/// The whole words that hold the beginning of a request.
struct CameraSource::Piece {
    std::uint64_t address;
    std::size_t size;   ///< At most kPiece.
    std::size_t offset; ///< Of the request's first byte.
    std::size_t used;   ///< Bytes of the request.
};

CameraSource::CameraSource(ArvDevice* device)
    : device_(device),
      lastAddress_(ARV_IS_GV_DEVICE(device) ? std::numeric_limits<std::uint32_t>::max()
                                            : std::numeric_limits<std::uint64_t>::max()),
      word_(ARV_IS_GV_DEVICE(device) ? 4 : 1)
{
}

ZelCamErr CameraSource::description(std::string* document)
{
    std::size_t size = 0;
    const char* xml = arv_device_get_genicam_xml(device_, &size);
    if (xml == nullptr || size == 0) {
        return ZelErr::kGenTLNoData;
    }
    document->assign(xml, size);
    return ZelErr::kOk;
}

bool CameraSource::reaches(std::uint64_t address, std::size_t size) const
{
    return address <= lastAddress_ && size - 1 <= lastAddress_ - address;
}

CameraSource::Piece CameraSource::firstPiece(std::uint64_t address, std::size_t size) const
{
    Piece piece{};
    piece.offset = static_cast<std::size_t>(address % word_);
    piece.address = address - piece.offset;
    piece.used = std::min(size, kPiece - piece.offset);
    piece.size = (piece.offset + piece.used + word_ - 1) / word_ * word_;
    return piece;
}

ZelCamErr CameraSource::readWords(std::uint64_t address, void* data, std::size_t size)
{
    if (lost_) {
        return ZelErr::kGenTLIo;
    }
    ArvError error;
    if (arv_device_read_memory(device_, address, static_cast<guint32>(size), data, error.out())) {
        return ZelErr::kOk;
    }
    return error.failed() ? error.code() : ZelErr::kGenTLIo;
}

ZelCamErr CameraSource::read(std::uint64_t address, void* data, std::size_t size)
{
    if (size > 0 && !reaches(address, size)) {
        return ZelErr::kGenTLInvalidAddress;
    }
    auto* bytes = static_cast<std::uint8_t*>(data);
    std::array<std::uint8_t, kPiece> words;
    while (size > 0) {
        const Piece piece = firstPiece(address, size);
        const ZelCamErr code = readWords(piece.address, words.data(), piece.size);
        if (code != ZelErr::kOk) {
            return code;
        }
        std::memcpy(bytes, words.data() + piece.offset, piece.used);
        address += piece.used;
        bytes += piece.used;
        size -= piece.used;
    }
    return ZelErr::kOk;
}

ZelCamErr CameraSource::write(std::uint64_t address, const void* data, std::size_t size)
{
    if (size > 0 && !reaches(address, size)) {
        return ZelErr::kGenTLInvalidAddress;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    std::array<std::uint8_t, kPiece> words;
    while (size > 0) {
        const Piece piece = firstPiece(address, size);
        ZelCamErr code = lost_ ? ZelErr::kGenTLIo : ZelErr::kOk;
        if (piece.offset != 0 && code == ZelErr::kOk) {
            code = readWords(piece.address, words.data(), word_);
        }
        if ((piece.offset + piece.used) % word_ != 0 && code == ZelErr::kOk) {
            const std::size_t last = piece.size - static_cast<std::size_t>(word_);
            code = readWords(piece.address + last, words.data() + last, word_);
        }
        if (code != ZelErr::kOk) {
            return code;
        }
        std::memcpy(words.data() + piece.offset, bytes, piece.used);
        ArvError error;
        if (!arv_device_write_memory(device_, piece.address, static_cast<guint32>(piece.size),
                                     words.data(), error.out())) {
            return error.failed() ? error.code() : ZelErr::kGenTLIo;
        }
        address += piece.used;
        bytes += piece.used;
        size -= piece.used;
    }
    return ZelErr::kOk;
}

} // namespace vision
