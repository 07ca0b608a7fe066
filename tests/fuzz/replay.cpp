// Gives a target the inputs that are kept as files: zel_replay_TARGET FILE_OR_FOLDER...
#include "input.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{

int count = 0;

void replay(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
    std::printf("%s\n", file.c_str());
    std::fflush(stdout); // the last name is the one that broke something
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++count;
}

} // namespace

int main(int argc, char** argv)
{
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (int i = 1; i < argc; ++i) {
        const std::filesystem::path path(argv[i]);
        if (!std::filesystem::is_directory(path)) {
            replay(path);
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
            if (entry.is_regular_file()) {
                replay(entry.path());
            }
        }
    }
    std::printf("%d inputs\n", count);
    return count > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
