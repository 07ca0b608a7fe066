#include "genapi/whole_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace genapi
{

namespace
{

class Descriptor
{
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor()
    {
        if (number_ >= 0)
            ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return number_; }
    /// False when the last bytes could not be stored.
    bool close()
    {
        const int number = number_;
        number_ = -1;
        return ::close(number) == 0;
    }

private:
    int number_;
};

ZelCamErr codeOfErrno(int error)
{
    return error == ENOENT || error == ENOTDIR ? ZelErr::kFileNotFound : ZelErr::kFileRead;
}

bool writeAll(int descriptor, const std::string& content)
{
    for (std::size_t done = 0; done < content.size();) {
        const ssize_t written = ::write(descriptor, content.data() + done, content.size() - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

/// A name beside the target that nobody else uses.
std::string temporaryName(const std::string& target)
{
    static std::atomic<unsigned> counter{0};
    return target + "." + std::to_string(::getpid()) + "." + std::to_string(++counter) + ".tmp";
}

} // namespace

ZelCamErr readWholeFile(const char* file, std::size_t limit, std::string* content)
{
    if (file == nullptr || *file == '\0')
        return ZelErr::kInvalidArgument;
    // Not to wait for a writer if it is a pipe.
    const Descriptor descriptor(::open(file, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (descriptor.get() < 0)
        return codeOfErrno(errno);
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
    std::string target = file;
    const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(file, nullptr),
                                                               &std::free);
    if (resolved != nullptr)
        target = resolved.get();
    struct stat status = {};
    if (::stat(target.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
        return ZelErr::kFileRead;
    const std::string temporary = temporaryName(target);
    Descriptor descriptor(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (descriptor.get() < 0)
        return codeOfErrno(errno);
    const bool written = writeAll(descriptor.get(), content);
    const bool closed = descriptor.close();
    if (!written || !closed || std::rename(temporary.c_str(), target.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return ZelErr::kFileRead;
    }
    return ZelErr::kOk;
}

} // namespace genapi
