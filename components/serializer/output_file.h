// A file that appears whole under its name, or not at all.
#pragma once

#include "zel_err.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace serializer
{

/// The code for an errno value of the file system: -40002 when the way to the file does not exist,
/// -40003 for everything else (not permitted, disk full, is a directory ...).
ZelCamErr codeFromErrno(int error);

/// Writes to a temporary name in the directory of the target and renames on commit(). Destroyed
/// without a successful commit, it removes what it wrote and leaves an earlier file untouched.
///
/// A symbolic link is followed: the file it names is replaced, the link stays. An existing file
/// keeps its permission bits and must be writable; a new one gets 0666 less the umask. What exists
/// and is not a regular file (a directory, a device, a pipe) is refused.
///
/// The first failure is kept: after it every call returns its code. One thread at a time.
class OutputFile
{
public:
    OutputFile() = default;
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Opens the temporary file. Once per object. Codes of codeFromErrno().
    ZelCamErr open(const std::string& fileName);

    /// Appends at the current position. Small pieces are gathered, large ones go straight out.
    ZelCamErr write(const void* data, std::size_t size);

    /// Moves the position, measured from the start of the file.
    ZelCamErr seek(std::uint64_t position);

    /// The current position.
    std::uint64_t position() const { return position_; }

    /// The bytes the file has so far.
    std::uint64_t size() const { return size_; }

    /// Flushes, closes and renames. Nothing may be written afterwards.
    ZelCamErr commit();

    /// The first failure, or 0.
    ZelCamErr error() const { return error_; }

private:
    ZelCamErr fail(int error);
    ZelCamErr flush();
    ZelCamErr writeOut(const void* data, std::size_t size);
    ZelCamErr openTemporary(unsigned mode, bool keepMode);

    std::string target_;
    std::string temporary_; // Empty when there is no temporary file to remove.
    std::vector<unsigned char> pending_;
    std::uint64_t position_ = 0;
    std::uint64_t size_ = 0;
    int descriptor_ = -1;
    ZelCamErr error_ = ZelErr::kOk;
};

/// Follows symbolic links to the name a new file would get. Returns an errno value, or 0.
int resolveLinks(const std::string& fileName, std::string* resolved);

} // namespace serializer
