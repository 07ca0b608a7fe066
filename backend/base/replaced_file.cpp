#include "base/replaced_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace base
{

namespace
{

constexpr int kMaxLinks = 40;
constexpr unsigned kPermissionBits = 07777;
constexpr unsigned kNewFileMode = 0666;
// How many may write one file at a time, and how many names are looked at for left-over files even
// when the first is free.
constexpr unsigned kMaxWriters = 1000;
constexpr unsigned kLookedAt = 3;

std::string directoryOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::uint64_t hashOf(const std::string& path)
{
    std::uint64_t hash = 0xCBF29CE484222325U;
    const std::size_t slash = path.rfind('/');
    for (std::size_t i = slash == std::string::npos ? 0 : slash + 1; i < path.size(); ++i) {
        hash = (hash ^ static_cast<unsigned char>(path[i])) * 0x100000001B3U;
    }
    return hash;
}

// Short and unlike any picture name, so that it fits wherever the target's name fits and no
// script that lists "*.png" meets it. Always the same for a target, so that no directory has to be
// searched for what was left behind.
std::string temporaryName(const std::string& target, unsigned writer)
{
    char name[64];
    std::snprintf(name, sizeof name, ".zel-%016llx-%u.part",
                  static_cast<unsigned long long>(hashOf(target)), writer);
    return directoryOf(target) + name;
}

bool sameFile(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Removes the file of that name if its writer is gone: only then can it be locked. True if so.
bool removeLeftOver(const std::string& name)
{
    const UniqueFd file(
        ::open(name.c_str(), O_WRONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    struct stat locked = {};
    struct stat named = {};
    // The names are compared under the lock: before it was had, the writer may have published the
    // file and another may have made its own.
    return file && ::fstat(file.get(), &locked) == 0 && S_ISREG(locked.st_mode) &&
           ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 && ::lstat(name.c_str(), &named) == 0 &&
           sameFile(locked, named) && ::unlink(name.c_str()) == 0;
}

// Makes and locks the file of that name. Returns an errno value, EEXIST if there is one already,
// or 0.
int makeLocked(const std::string& name, unsigned mode, UniqueFd* made)
{
    UniqueFd file(::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (!file) {
        return errno;
    }
    // Where nothing can be locked, files are never taken for left over either.
    while (::flock(file.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
    struct stat status = {};
    if (::fstat(file.get(), &status) == 0 && status.st_nlink == 0) {
        return EEXIST; // Another took it for left over in the moment before it was locked.
    }
    *made = std::move(file);
    return 0;
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

ReplacedFile::~ReplacedFile()
{
    // Before the lock goes with the descriptor: the name may be another's afterwards. A forked
    // child leaves its parent's file alone.
    if (!temporary_.empty() && !writer_.isInherited()) {
        ::unlink(temporary_.c_str());
    }
}

int ReplacedFile::makeTemporary(unsigned mode)
{
    unsigned number = 0;
    int error = EEXIST;
    for (; number < kMaxWriters && error == EEXIST; ++number) {
        temporary_ = temporaryName(target_, number);
        error = makeLocked(temporary_, mode, &descriptor_);
        if (error == EEXIST && removeLeftOver(temporary_)) {
            error = makeLocked(temporary_, mode, &descriptor_);
        }
    }
    if (error != 0) {
        temporary_.clear();
        return error;
    }
    for (; number < kLookedAt; ++number) {
        removeLeftOver(temporaryName(target_, number));
    }
    return 0;
}

ZelCamErr ReplacedFile::open(const std::string& fileName)
{
    if (const int error = resolveLinks(fileName, &target_)) {
        return codeFromErrno(error);
    }
    struct stat existing = {};
    const bool exists = ::stat(target_.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) {
        return ZelErr::kFileRead;
    }
    // rename() would replace a read-only file: only the directory's permission counts there.
    if (exists && ::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) {
        return codeFromErrno(errno);
    }
    const unsigned mode = exists ? existing.st_mode & kPermissionBits : kNewFileMode;
    if (const int error = makeTemporary(mode)) {
        return codeFromErrno(error);
    }
    // The umask has been applied to `mode`; an earlier file's bits come back past it.
    if (exists && ::fchmod(descriptor_.get(), mode) != 0) {
        return codeFromErrno(errno);
    }
    return ZelErr::kOk;
}

ZelCamErr ReplacedFile::write(const void* data, std::size_t size)
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const ssize_t written = ::write(descriptor_.get(), bytes, size);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return codeFromErrno(errno);
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return ZelErr::kOk;
}

ZelCamErr ReplacedFile::publish()
{
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
        return codeFromErrno(errno);
    }
    temporary_.clear();
    return ZelErr::kOk;
}

ZelCamErr ReplacedFile::close()
{
    // The lock stays as long as one descriptor does.
    lock_ = UniqueFd(::fcntl(descriptor_.get(), F_DUPFD_CLOEXEC, 0));
    return descriptor_.closeChecked() || errno == EINTR ? ZelErr::kOk : codeFromErrno(errno);
}

} // namespace base
