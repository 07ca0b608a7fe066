#include "genapi/zip_reader.h"

#include <strings.h>
#include <zlib.h>

#include <cstdint>
#include <new>
#include <string_view>

namespace genapi
{

namespace
{

constexpr std::size_t kEndRecordSize = 22;
constexpr std::size_t kCentralHeaderSize = 46;
constexpr std::size_t kLocalHeaderSize = 30;
constexpr std::uint32_t kEndSignature = 0x06054b50;
constexpr std::uint32_t kCentralSignature = 0x02014b50;
constexpr std::uint32_t kLocalSignature = 0x04034b50;

/// Little-endian fields of an archive; reads past the end give 0.
class Fields
{
public:
    explicit Fields(std::string_view bytes) : bytes_(bytes) {}

    std::uint32_t u16(std::size_t position) const { return value(position, 2); }
    std::uint32_t u32(std::size_t position) const { return value(position, 4); }

private:
    std::uint32_t value(std::size_t position, std::size_t size) const
    {
        if (position > bytes_.size() || bytes_.size() - position < size)
            return 0;
        std::uint32_t result = 0;
        for (std::size_t i = size; i-- > 0;)
            result = (result << 8U) | static_cast<unsigned char>(bytes_[position + i]);
        return result;
    }

    std::string_view bytes_;
};

struct Member {
    std::uint32_t method = 0;
    std::uint32_t checksum = 0;
    std::size_t packedSize = 0;
    std::size_t size = 0;
    std::size_t localHeader = 0;
};

/// Members of the central directory until one ends in .xml; without one the first.
bool findMember(std::string_view archive, Member* member)
{
    const Fields fields(archive);
    if (archive.size() < kEndRecordSize)
        return false;
    std::size_t end = archive.size() - kEndRecordSize;
    while (end > 0 && fields.u32(end) != kEndSignature)
        --end;
    if (fields.u32(end) != kEndSignature)
        return false;
    const std::uint32_t count = fields.u16(end + 10);
    std::size_t position = fields.u32(end + 16);
    for (std::uint32_t i = 0; i < count; ++i) {
        if (fields.u32(position) != kCentralSignature)
            return i > 0;
        const std::size_t nameSize = fields.u16(position + 28);
        const std::size_t nameStart = position + kCentralHeaderSize;
        if (nameStart + nameSize > archive.size())
            return i > 0;
        const std::string name(archive.substr(nameStart, nameSize));
        const bool isXml = nameSize >= 4 && strcasecmp(name.c_str() + name.size() - 4, ".xml") == 0;
        const bool isEncrypted = (fields.u16(position + 8) & 1U) != 0;
        if ((i == 0 || isXml) && !isEncrypted) {
            *member = {fields.u16(position + 10), fields.u32(position + 16),
                       fields.u32(position + 20), fields.u32(position + 24),
                       fields.u32(position + 42)};
        }
        if (isXml)
            return true;
        position = nameStart + nameSize + fields.u16(position + 30) + fields.u16(position + 32);
    }
    return count > 0;
}

bool inflateMember(std::string_view packed, std::string* text)
{
    z_stream stream = {};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
    // zlib does not write through next_in; its type predates const.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
    stream.avail_in = static_cast<uInt>(packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(text->data());
    stream.avail_out = static_cast<uInt>(text->size());
    const int result = inflate(&stream, Z_FINISH);
    const bool complete = result == Z_STREAM_END && stream.avail_out == 0;
    inflateEnd(&stream);
    if (result == Z_MEM_ERROR)
        throw std::bad_alloc();
    return complete;
}

} // namespace

bool isZip(const std::string& document) { return document.compare(0, 4, "PK\x03\x04") == 0; }

ZelCamErr unzip(const std::string& archive, std::string* member)
{
    Member found;
    if (archive.size() > kMaxDocumentSize || !findMember(archive, &found) ||
        found.size > kMaxDocumentSize || found.packedSize > archive.size())
        return ZelErr::kParamTree;
    const Fields fields(archive);
    if (fields.u32(found.localHeader) != kLocalSignature)
        return ZelErr::kParamTree;
    const std::size_t start = found.localHeader + kLocalHeaderSize +
                              fields.u16(found.localHeader + 26) +
                              fields.u16(found.localHeader + 28);
    if (start > archive.size() || archive.size() - start < found.packedSize)
        return ZelErr::kParamTree;
    const std::string_view packed = std::string_view(archive).substr(start, found.packedSize);
    if (found.method == 0) {
        member->assign(packed);
    } else if (found.method == Z_DEFLATED) {
        member->assign(found.size, '\0');
        if (!inflateMember(packed, member))
            return ZelErr::kParamTree;
    } else {
        return ZelErr::kParamTree;
    }
    const auto checksum =
        crc32(0, reinterpret_cast<const Bytef*>(member->data()), static_cast<uInt>(member->size()));
    return checksum == found.checksum ? ZelErr::kOk : ZelErr::kParamTree;
}

} // namespace genapi
