#include "gige/camera_source.h"

#include "base/log.h"
#include "genapi/zip_reader.h"
#include "gige/wire/bootstrap.h"
#include "gige/wire/xml_url.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <string_view>

namespace gige
{

namespace
{

constexpr unsigned kWord = 4;
constexpr std::size_t kPiece = 4096;
constexpr std::uint64_t kLastAddress = std::numeric_limits<std::uint32_t>::max();
// Large descriptions come in some thousand pieces.
constexpr std::chrono::milliseconds kDescriptionLimit{20000};
constexpr std::size_t kManifestSize = 512;

bool reaches(std::uint64_t address, std::size_t size)
{
    return address <= kLastAddress && size - 1 <= kLastAddress - address;
}

/// Whether the description says that it follows a schema below 1.1.
bool isOldSchema(const std::string& xml)
{
    const auto version = [&xml](const char* name) {
        const std::size_t at = xml.find(name);
        const std::size_t quote = at == xml.npos ? at : xml.find_first_of("\"'", at);
        return quote == xml.npos ? -1L : std::strtol(xml.c_str() + quote + 1, nullptr, 10);
    };
    const long major = version("SchemaMajorVersion");
    const long minor = version("SchemaMinorVersion");
    return major == 0 || (major == 1 && minor == 0);
}

/// The whole words that hold the beginning of a request.
struct Piece {
    std::uint32_t address;
    std::size_t size;   ///< At most kPiece.
    std::size_t offset; ///< Of the request's first byte.
    std::size_t used;   ///< Bytes of the request.
};

Piece firstPiece(std::uint64_t address, std::size_t size)
{
    Piece piece{};
    piece.offset = static_cast<std::size_t>(address % kWord);
    piece.address = static_cast<std::uint32_t>(address - piece.offset);
    piece.used = std::min(size, kPiece - piece.offset);
    piece.size = (piece.offset + piece.used + kWord - 1) / kWord * kWord;
    return piece;
}

} // namespace

ZelCamErr CameraSource::description(std::string* document)
{
    ZelCamErr code = fetch(wire::reg::kFirstUrl, document);
    if (code == ZelErr::kGenTLNoData) {
        code = fetch(wire::reg::kSecondUrl, document);
    }
    if (code == ZelErr::kGenTLNoData) {
        code = fetchFromManifest(document);
    }
    std::string unpacked;
    if (code != ZelErr::kOk ||
        (genapi::isZip(*document) && genapi::unzip(*document, &unpacked) != ZelErr::kOk)) {
        return code; // Who reads it says what is wrong with it.
    }
    wordsAreRegisters_ = isOldSchema(unpacked.empty() ? *document : unpacked);
    return code;
}

ZelCamErr CameraSource::fetch(std::uint32_t urlAddress, std::string* document)
{
    std::array<char, wire::reg::kUrlSize> text{};
    if (!reaches(urlAddress, text.size())) {
        return ZelErr::kGenTLNoData;
    }
    ZelCamErr code = control_.readMemory(urlAddress, text.data(), text.size());
    if (code != ZelErr::kOk) {
        return code == ZelErr::kGenTLInvalidAddress ? ZelErr::kGenTLNoData : code;
    }
    const wire::XmlUrl url = wire::parseXmlUrl({text.data(), text.size()});
    if (url.kind != wire::UrlKind::Local || url.length > genapi::kMaxDocumentSize) {
        if (url.kind != wire::UrlKind::Empty) {
            base::log(base::LogChannel::Gige, "description not followed: %.100s", text.data());
        }
        return ZelErr::kGenTLNoData;
    }
    const Piece piece = firstPiece(url.address, kWord); // Where its first word begins.
    const std::size_t size = (piece.offset + url.length + kWord - 1) / kWord * kWord;
    document->assign(size, '\0');
    code = control_.readMemory(piece.address, document->data(), size, kDescriptionLimit);
    if (code == ZelErr::kOk) {
        document->erase(0, piece.offset);
        document->resize(url.length);
        // Padding that was counted into the length.
        if (!genapi::isZip(*document)) {
            document->erase(document->find_last_not_of('\0') + 1);
        }
    }
    return code;
}

ZelCamErr CameraSource::fetchFromManifest(std::string* document)
{
    std::uint32_t capability = 0;
    std::array<std::uint8_t, kManifestSize> table{};
    if (control_.readRegister(wire::reg::kControlCapability, &capability) != ZelErr::kOk ||
        (capability & wire::capability::kManifest) == 0 ||
        control_.readMemory(wire::reg::kManifest, table.data(), table.size()) != ZelErr::kOk) {
        return ZelErr::kGenTLNoData;
    }
    // The number of entries stands in the top six bits; each is a version and a URL's address.
    const wire::Bytes bytes(table.data(), table.size());
    const std::uint32_t count = bytes.u32(0) >> 26U;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t url = bytes.u32(4 + 8 * i + 4);
        const ZelCamErr code =
            url % kWord == 0 && url != 0 ? fetch(url, document) : ZelErr::kGenTLNoData;
        if (code != ZelErr::kGenTLNoData) {
            return code;
        }
    }
    return ZelErr::kGenTLNoData;
}

ZelCamErr CameraSource::readWords(std::uint32_t address, std::uint8_t* data, std::size_t size)
{
    ZelCamErr code = ZelErr::kGenTLInvalidAddress;
    if (size != kWord || !wordsAreRegisters_) {
        code = control_.readMemory(address, data, size);
    }
    if (size == kWord && code == ZelErr::kGenTLInvalidAddress) {
        // Some cameras give their registers as registers only.
        std::uint32_t value = 0;
        code = control_.readRegister(address, &value);
        base::storeBig(data, value);
    }
    return code;
}

ZelCamErr CameraSource::writeWords(std::uint32_t address, std::uint8_t* data, std::size_t size)
{
    if (size == kWord && address == wire::streamRegister(0, wire::stream::kPacketSize)) {
        // A packet that the path does not carry never arrives.
        const auto value = base::loadBig<std::uint32_t>(data);
        const std::uint32_t packet = std::min(value & wire::kPacketSizeMask, largestPacket_);
        base::storeBig(data, (value & ~wire::kPacketSizeMask) | packet);
    }
    ZelCamErr code = ZelErr::kGenTLNotImplemented;
    if (size != kWord || !wordsAreRegisters_) {
        code = control_.writeMemory(address, data, size);
    }
    const bool refused =
        code == ZelErr::kGenTLNotImplemented || code == ZelErr::kGenTLInvalidAddress;
    for (std::size_t at = 0; refused && at < size; at += kWord) {
        code = control_.writeRegister(address + static_cast<std::uint32_t>(at),
                                      base::loadBig<std::uint32_t>(data + at));
        if (code != ZelErr::kOk) {
            break;
        }
    }
    return code;
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
    if (readOnly_) {
        return ZelErr::kGenTLAccessDenied;
    }
    if (size > 0 && !reaches(address, size)) {
        return ZelErr::kGenTLInvalidAddress;
    }
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    std::array<std::uint8_t, kPiece> words;
    while (size > 0) {
        const Piece piece = firstPiece(address, size);
        const std::size_t last = piece.size - kWord;
        ZelCamErr code = ZelErr::kOk;
        if (piece.offset != 0) {
            code = readWords(piece.address, words.data(), kWord);
        }
        if ((piece.offset + piece.used) % kWord != 0 && code == ZelErr::kOk) {
            code = readWords(piece.address + static_cast<std::uint32_t>(last), words.data() + last,
                             kWord);
        }
        if (code == ZelErr::kOk) {
            std::memcpy(words.data() + piece.offset, bytes, piece.used);
            code = writeWords(piece.address, words.data(), piece.size);
        }
        if (code != ZelErr::kOk) {
            return code;
        }
        address += piece.used;
        bytes += piece.used;
        size -= piece.used;
    }
    return ZelErr::kOk;
}

} // namespace gige
