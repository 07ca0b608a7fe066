#include "base/whole_file.h"

#include "base/replaced_file.h"
#include "base/unique_fd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace base
{

ZelCamErr readWholeFile(const char* file, std::size_t limit, std::string* content)
{
    if (file == nullptr || *file == '\0')
        return ZelErr::kInvalidArgument;
    // Not to wait for a writer if it is a pipe.
    const UniqueFd descriptor(::open(file, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!descriptor)
        return codeFromErrno(errno);
    struct stat status = {};
    if (::fstat(descriptor.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<std::size_t>(status.st_size) > limit)
        return ZelErr::kFileRead;
    std::string read;
    char block[65536];
    for (;;) {
        const ssize_t size = ::read(descriptor.get(), block, sizeof block);
        if (size < 0 && errno == EINTR)
            continue;
        if (size < 0)
            return ZelErr::kFileRead;
        if (size == 0)
            break;
        read.append(block, static_cast<std::size_t>(size));
        if (read.size() > limit)
            return ZelErr::kFileRead;
    }
    *content = std::move(read);
    return ZelErr::kOk;
}

ZelCamErr replaceFile(const char* file, const std::string& content)
{
    if (file == nullptr || *file == '\0')
        return ZelErr::kInvalidArgument;
    ReplacedFile replaced;
    ZelCamErr result = replaced.open(file);
    if (result == ZelErr::kOk)
        result = replaced.write(content.data(), content.size());
    if (result == ZelErr::kOk)
        result = replaced.close();
    return result == ZelErr::kOk ? replaced.publish() : result;
}

} // namespace base
