// A zip archive out of a camera.
#include "genapi/zip_reader.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string archive = fuzz::Input(data, size).rest();
    std::string member;
    if (genapi::isZip(archive) && genapi::unzip(archive, &member) == ZelErr::kOk) {
        fuzz::require(member.size() <= genapi::kMaxDocumentSize);
    }
    return 0;
}
