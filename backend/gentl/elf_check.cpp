// Whether a file can be a shared library at all, before the loader touches it.
#include "gentl/elf_check.h"

#include "base/unique_fd.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace gentl
{

namespace
{

constexpr std::size_t kMaxSegments = 256;

bool readAt(int file, std::uint64_t offset, void* data, std::size_t size)
{
    return pread(file, data, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size);
}

bool isLibraryHeader(const Elf64_Ehdr& header)
{
    return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
           header.e_ident[EI_CLASS] == ELFCLASS64 && header.e_type == ET_DYN &&
           header.e_phentsize == sizeof(Elf64_Phdr) && header.e_phnum > 0 &&
           header.e_phnum <= kMaxSegments;
}

bool liesIn(std::uint64_t fileSize, std::uint64_t offset, std::uint64_t size)
{
    return offset <= fileSize && size <= fileSize - offset;
}

} // namespace

std::string whyNotLoadable(const std::string& path)
{
    // Opening a pipe for reading would wait for a writer.
    const base::UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return "it is no regular file";
    }
    const auto fileSize = static_cast<std::uint64_t>(status.st_size);
    Elf64_Ehdr header{};
    if (!readAt(file.get(), 0, &header, sizeof header) || !isLibraryHeader(header)) {
        return "it is no shared library of 64 bits";
    }
    for (std::uint64_t i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment{};
        const std::uint64_t place = header.e_phoff + i * sizeof segment;
        if (!liesIn(fileSize, place, sizeof segment) ||
            !readAt(file.get(), place, &segment, sizeof segment)) {
            return "it is cut off";
        }
        const bool isMapped = segment.p_type == PT_LOAD || segment.p_type == PT_DYNAMIC;
        if (isMapped && !liesIn(fileSize, segment.p_offset, segment.p_filesz)) {
            return "it is cut off";
        }
    }
    return "";
}

} // namespace gentl
