// Reading the answers of a producer's information functions, which are optional and often odd.
#include "gentl/info.h"

#include "base/text.h"

#include <cstring>
#include <vector>

namespace gentl
{

namespace
{

constexpr std::size_t kMaxText = 1 << 20;
constexpr std::uint32_t kMaxMissing = 64;
constexpr std::size_t kFirstGuess = 1024; // For producers that cannot tell the size beforehand.

template <class Value> std::uint64_t decode(const unsigned char* data)
{
    Value value{};
    std::memcpy(&value, data, sizeof value);
    return static_cast<std::uint64_t>(value);
}

std::uint64_t decodeBySize(const unsigned char* data, std::size_t size)
{
    switch (size) {
    case 1:
        return data[0];
    case 2:
        return decode<std::uint16_t>(data);
    case 4:
        return decode<std::uint32_t>(data);
    default:
        return decode<std::uint64_t>(data);
    }
}

// A device whose name could not be held is there all the same, and no list may be without it: where
// there was no memory there may be some now. Who says so again and again lies, which costs his own
// names only.
Error askTwice(const IdQuestion& question, char* text, std::size_t* size)
{
    const std::size_t asked = *size;
    const Error code = question(text, size);
    if (code != err::kOutOfMemory) {
        return code;
    }
    *size = asked;
    return question(text, size);
}

// Asks for the size, then for the bytes.
std::optional<std::vector<char>> fetch(const IdQuestion& question)
{
    std::size_t size = 0;
    const Error sized = askTwice(question, nullptr, &size);
    if (sized == err::kNotImplemented || sized == err::kNotAvailable || sized == err::kNoData) {
        return std::nullopt;
    }
    if (sized != err::kSuccess || size == 0) {
        size = kFirstGuess;
    }
    if (size > kMaxText) {
        return std::nullopt;
    }
    std::vector<char> text(size + 1, '\0');
    std::size_t written = size;
    if (askTwice(question, text.data(), &written) != err::kSuccess) {
        return std::nullopt;
    }
    text.back() = '\0';
    return text;
}

} // namespace

std::optional<std::string> askText(const InfoQuestion& question)
{
    std::int32_t type = kTypeString;
    const auto bytes =
        fetch([&](char* text, std::size_t* size) { return question(&type, text, size); });
    const bool isText = type == kTypeString || type == kTypeStringList || type == kTypeUnknown;
    if (!bytes || !isText) {
        return std::nullopt;
    }
    return base::toUtf8(bytes->data());
}

std::optional<std::string> askId(const IdQuestion& question)
{
    const auto bytes = fetch(question);
    if (!bytes) {
        return std::nullopt;
    }
    return std::string(bytes->data());
}

void forEachId(std::uint32_t count, const IdListQuestion& question,
               const std::function<void(const std::string& id)>& each)
{
    std::uint32_t missing = 0; // In a row.
    for (std::uint32_t index = 0; index < count && missing < kMaxMissing; ++index) {
        const auto id =
            askId([&](char* text, std::size_t* size) { return question(index, text, size); });
        if (id && !id->empty()) {
            missing = 0;
            each(*id);
        } else {
            ++missing;
        }
    }
}

std::optional<std::uint64_t> askNumber(const InfoQuestion& question)
{
    unsigned char data[sizeof(std::uint64_t)] = {};
    std::size_t size = sizeof data;
    std::int32_t type = kTypeUnknown;
    return question(&type, data, &size) == err::kSuccess ? decodeNumber(type, data, size)
                                                         : std::nullopt;
}

std::optional<std::uint64_t> decodeNumber(std::int32_t type, const unsigned char* bytes,
                                          std::size_t size)
{
    // A producer may write fewer bytes than the type that it names has.
    unsigned char data[sizeof(std::uint64_t)] = {};
    if (size == 0 || size > sizeof data) {
        return std::nullopt;
    }
    std::memcpy(data, bytes, size);
    switch (type) {
    case kTypeInt16:
        return decode<std::int16_t>(data);
    case kTypeInt32:
        return decode<std::int32_t>(data);
    case kTypeFloat64: {
        double value = 0;
        std::memcpy(&value, data, sizeof value);
        // What no unsigned number holds is no answer.
        return value >= 0 && value < 1.8e19 ? std::optional(static_cast<std::uint64_t>(value))
                                            : std::nullopt;
    }
    case kTypeString:
    case kTypeStringList:
    case kTypeBuffer:
        return std::nullopt;
    default:
        return decodeBySize(data, size);
    }
}

} // namespace gentl
