#include "output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace serializer
{

namespace
{

constexpr std::size_t kGather = std::size_t{256} * 1024;
constexpr std::size_t kDirect = std::size_t{64} * 1024;
constexpr int kMaxLinks = 40;
constexpr unsigned kPermissionBits = 07777;
constexpr unsigned kNewFileMode = 0666;

std::string directoryOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// Short and unlike any picture name, so that it fits wherever the target's name fits and no
// script that lists "*.png" meets it.
std::string temporaryName(const std::string& directory)
{
    static std::atomic<unsigned> counter{0};
    char name[64];
    std::snprintf(name, sizeof name, ".zel-%lx-%x.part", static_cast<unsigned long>(::getpid()),
                  counter.fetch_add(1));
    return directory + name;
}

} // namespace

ZelCamErr codeFromErrno(int error)
{
    return error == ENOENT || error == ENOTDIR ? ZelErr::kFileNotFound : ZelErr::kFileRead;
}

int resolveLinks(const std::string& fileName, std::string* resolved)
{
    *resolved = fileName;
    for (int hop = 0; hop < kMaxLinks; ++hop) {
        char target[4096];
        const ssize_t length = ::readlink(resolved->c_str(), target, sizeof target);
        if (length < 0) {
            // EINVAL: not a link. ENOENT: nothing there yet. Others show when the file is opened.
            return 0;
        }
        if (static_cast<std::size_t>(length) == sizeof target) {
            return ENAMETOOLONG;
        }
        const std::string text(target, static_cast<std::size_t>(length));
        *resolved = text[0] == '/' ? text : directoryOf(*resolved) + text;
    }
    return ELOOP;
}

OutputFile::~OutputFile()
{
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
    }
}

ZelCamErr OutputFile::fail(int error)
{
    if (error_ == ZelErr::kOk) {
        error_ = codeFromErrno(error);
    }
    return error_;
}

ZelCamErr OutputFile::open(const std::string& fileName)
{
    if (const int error = resolveLinks(fileName, &target_)) {
        return fail(error);
    }
    struct stat existing = {};
    const bool exists = ::stat(target_.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) {
        return fail(EISDIR);
    }
    // rename() would replace a read-only file: only the directory's permission counts there.
    if (exists && ::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) {
        return fail(errno);
    }
    pending_.reserve(kGather);
    return openTemporary(exists ? existing.st_mode & kPermissionBits : kNewFileMode, exists);
}

ZelCamErr OutputFile::openTemporary(unsigned mode, bool keepMode)
{
    const std::string directory = directoryOf(target_);
    do {
        temporary_ = temporaryName(directory);
        descriptor_ = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    } while (descriptor_ < 0 && errno == EEXIST);
    if (descriptor_ < 0) {
        const int error = errno;
        temporary_.clear();
        return fail(error);
    }
    // The umask has been applied to `mode`; an earlier file's bits come back past it.
    if (keepMode && ::fchmod(descriptor_, mode) != 0) {
        return fail(errno);
    }
    return ZelErr::kOk;
}

ZelCamErr OutputFile::writeOut(const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const ssize_t written = ::write(descriptor_, bytes, size);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return fail(errno);
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return ZelErr::kOk;
}

ZelCamErr OutputFile::flush()
{
    if (error_ != ZelErr::kOk || pending_.empty()) {
        return error_;
    }
    const ZelCamErr code = writeOut(pending_.data(), pending_.size());
    pending_.clear();
    return code;
}

ZelCamErr OutputFile::write(const void* data, std::size_t size)
{
    if (error_ != ZelErr::kOk) {
        return error_;
    }
    if ((size >= kDirect || pending_.size() + size > kGather) && flush() != ZelErr::kOk) {
        return error_;
    }
    if (size >= kDirect) {
        if (writeOut(data, size) != ZelErr::kOk) {
            return error_;
        }
    } else {
        const auto* bytes = static_cast<const unsigned char*>(data);
        pending_.insert(pending_.end(), bytes, bytes + size);
    }
    position_ += size;
    size_ = position_ > size_ ? position_ : size_;
    return ZelErr::kOk;
}

ZelCamErr OutputFile::seek(std::uint64_t position)
{
    if (flush() != ZelErr::kOk) {
        return error_;
    }
    if (::lseek(descriptor_, static_cast<off_t>(position), SEEK_SET) < 0) {
        return fail(errno);
    }
    position_ = position;
    return ZelErr::kOk;
}

ZelCamErr OutputFile::commit()
{
    flush();
    const int descriptor = descriptor_;
    descriptor_ = -1;
    // Some file systems report a full disk only here.
    if (::close(descriptor) != 0 && errno != EINTR) {
        fail(errno);
    }
    if (error_ == ZelErr::kOk && ::rename(temporary_.c_str(), target_.c_str()) != 0) {
        fail(errno);
    }
    if (error_ == ZelErr::kOk) {
        temporary_.clear();
    }
    return error_;
}

} // namespace serializer
