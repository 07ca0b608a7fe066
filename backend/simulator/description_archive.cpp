#include "simulator/description_archive.h"

#include "base/endian.h"

#include <zlib.h>

#include <cstdint>

namespace simulator
{

namespace
{

constexpr std::uint32_t kEntrySignature = 0x04034B50;
constexpr std::uint32_t kDirectorySignature = 0x02014B50;
constexpr std::uint32_t kEndSignature = 0x06054B50;
constexpr std::uint16_t kVersion = 20;
constexpr std::uint16_t kDeflated = 8;
constexpr std::uint16_t kDay = 1U << 5U | 1U; // the first of 1980

template <class Word> void put(std::string& out, Word value)
{
    char bytes[sizeof value];
    base::storeLittle(bytes, value);
    out.append(bytes, sizeof bytes);
}

std::string deflated(const std::string& contents)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        return {};
    }
    std::string out(deflateBound(&stream, contents.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(contents.data()));
    stream.avail_in = static_cast<uInt>(contents.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const bool whole = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    out.resize(whole ? stream.total_out : 0);
    deflateEnd(&stream);
    return out;
}

} // namespace

std::string zipped(const std::string& entryName, const std::string& contents)
{
    const std::string data = deflated(contents);
    if (data.empty()) {
        return {};
    }
    std::string facts; // what entry and directory have in common
    put<std::uint16_t>(facts, kVersion);
    put<std::uint16_t>(facts, 0);
    put<std::uint16_t>(facts, kDeflated);
    put<std::uint16_t>(facts, 0);
    put<std::uint16_t>(facts, kDay);
    put(facts, static_cast<std::uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(contents.data()),
                                                static_cast<uInt>(contents.size()))));
    put(facts, static_cast<std::uint32_t>(data.size()));
    put(facts, static_cast<std::uint32_t>(contents.size()));
    put(facts, static_cast<std::uint16_t>(entryName.size()));
    put<std::uint16_t>(facts, 0);

    std::string out;
    put(out, kEntrySignature);
    out += facts + entryName + data;
    const auto directory = static_cast<std::uint32_t>(out.size());
    put(out, kDirectorySignature);
    put<std::uint16_t>(out, kVersion);
    out += facts;
    out.append(14, '\0'); // no comment, first disk, no attributes, entry at the begin
    out += entryName;
    const auto directorySize = static_cast<std::uint32_t>(out.size()) - directory;
    put(out, kEndSignature);
    put<std::uint32_t>(out, 0);
    put<std::uint16_t>(out, 1);
    put<std::uint16_t>(out, 1);
    put(out, directorySize);
    put(out, directory);
    put<std::uint16_t>(out, 0);
    return out;
}

} // namespace simulator
