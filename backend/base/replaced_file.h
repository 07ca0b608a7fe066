// A file that takes the place of an earlier one whole, or not at all.
#pragma once

#include "base/fork_guard.h"
#include "base/unique_fd.h"
#include "zel_err.h"

#include <cstddef>
#include <string>

namespace base
{

/// The code for an errno value of the file system: -40002 when the way to the file does not exist,
/// -40003 for everything else (not permitted, disk full, is a directory ...).
ZelCamErr codeFromErrno(int error);

/// Follows symbolic links to the name a new file would get. Returns an errno value, or 0.
int resolveLinks(const std::string& fileName, std::string* resolved);

/// Stands under a temporary name in the directory of its target until it is published. Destroyed
/// before that, it is removed, and an earlier file stays as it was.
///
/// A symbolic link is followed: the file it names is replaced, the link stays. An existing file
/// keeps its permission bits and must be writable; a new one gets 0666 less the umask. What exists
/// and is not a regular file (a directory, a device, a pipe) is refused.
///
/// A temporary file is locked while its writer lives and named after its target, so that the next
/// one that writes the same file finds and removes what a killed process left behind.
///
/// One thread at a time; any number of objects, threads and processes for one target: the one
/// published last stays.
class ReplacedFile
{
public:
    ReplacedFile() = default;
    /// Removes a file that was not published.
    ~ReplacedFile();
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;

    /// Makes the temporary file. Once per object. Codes of codeFromErrno(). May throw bad_alloc.
    ZelCamErr open(const std::string& fileName);

    /// The file, open for writing only; -1 before open() and after close().
    int descriptor() const { return descriptor_.get(); }

    /// Writes all of `data` where the descriptor stands. Codes of codeFromErrno().
    ZelCamErr write(const void* data, std::size_t size);

    /// Gives the file its name; if it is open it stays so. Once per object. Codes of
    /// codeFromErrno().
    ZelCamErr publish();

    /// Closes the file, before or after it is published: some file systems report a full disk only
    /// here. Codes of codeFromErrno().
    ZelCamErr close();

private:
    int makeTemporary(unsigned mode);

    std::string target_;
    std::string temporary_; // Empty when there is no temporary file to remove.
    ForkStamp writer_;      // The process that the temporary file belongs to.
    UniqueFd descriptor_;
    UniqueFd lock_; // Keeps the lock between close() and publish().
};

} // namespace base
