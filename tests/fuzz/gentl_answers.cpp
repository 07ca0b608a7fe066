// What producers answer: URLs of descriptions, texts, numbers and ids of any type and size.
#include "gentl/info.h"
#include "gentl/port_url.h"
#include "input.h"

#include <cstring>

namespace
{

using Error = gentl::Error;

/// A function that writes what it has and claims what it likes.
struct Answers {
    fuzz::Input& input;

    Error operator()(std::int32_t* type, void* data, std::size_t* size) const
    {
        const std::uint8_t how = input.byte();
        *type = how % 24 - 1;
        const std::size_t room = *size;
        if (data != nullptr) {
            const std::vector<std::uint8_t> bytes = input.piece(std::min<std::size_t>(room, how));
            if (!bytes.empty()) {
                std::memcpy(data, bytes.data(), bytes.size());
            }
        }
        *size = how % 8 == 0 ? ~std::size_t{0} >> (how % 60) : input.word() % 3000U;
        return how > 250 ? -1001 : 0;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Input input(data, size);
    const std::uint8_t kind = input.byte();
    if (kind < 128) {
        if (const auto url = gentl::parsePortUrl(input.rest())) {
            fuzz::require(url->scheme != gentl::PortUrl::Scheme::File || !url->path.empty());
        }
        return 0;
    }
    const Answers answers{input};
    for (int i = 0; i < 4; ++i) {
        static_cast<void>(gentl::askText(answers));
        static_cast<void>(gentl::askNumber(answers));
        static_cast<void>(gentl::askId([&answers](char* text, std::size_t* length) {
            std::int32_t type = 0;
            return answers(&type, text, length);
        }));
        const std::vector<std::uint8_t> number = input.piece(input.byte() % 9U);
        static_cast<void>(gentl::decodeNumber(input.byte(), number.data(), number.size()));
    }
    return 0;
}
