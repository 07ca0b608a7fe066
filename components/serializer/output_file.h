// A file that appears whole under its name, or not at all.
#pragma once

#include "base/replaced_file.h"
#include "zel_err.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace serializer
{

/// A base::ReplacedFile that gathers small pieces; published by commit(). Destroyed without a
/// successful commit, it leaves an earlier file untouched.
///
/// The first failure is kept: after it every call returns its code. One thread at a time.
class OutputFile
{
public:
    /// Opens the file. Once per object. Codes of base::codeFromErrno().
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
    ZelCamErr keep(ZelCamErr code);
    ZelCamErr flush();

    base::ReplacedFile file_;
    std::vector<unsigned char> pending_;
    std::uint64_t position_ = 0;
    std::uint64_t size_ = 0;
    ZelCamErr error_ = ZelErr::kOk;
};

} // namespace serializer
