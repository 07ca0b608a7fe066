#include "output_file.h"

#include <unistd.h>

#include <cerrno>

namespace serializer
{

namespace
{

constexpr std::size_t kGather = std::size_t{256} * 1024;
constexpr std::size_t kDirect = std::size_t{64} * 1024;

} // namespace

ZelCamErr OutputFile::keep(ZelCamErr code)
{
    error_ = error_ == ZelErr::kOk ? code : error_;
    return error_;
}

ZelCamErr OutputFile::open(const std::string& fileName)
{
    pending_.reserve(kGather);
    return keep(file_.open(fileName));
}

ZelCamErr OutputFile::flush()
{
    if (error_ != ZelErr::kOk || pending_.empty()) {
        return error_;
    }
    const ZelCamErr code = keep(file_.write(pending_.data(), pending_.size()));
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
        if (keep(file_.write(data, size)) != ZelErr::kOk) {
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
    if (::lseek(file_.descriptor(), static_cast<off_t>(position), SEEK_SET) < 0) {
        return keep(base::codeFromErrno(errno));
    }
    position_ = position;
    return ZelErr::kOk;
}

ZelCamErr OutputFile::commit()
{
    flush();
    keep(file_.close());
    return error_ == ZelErr::kOk ? keep(file_.publish()) : error_;
}

} // namespace serializer
