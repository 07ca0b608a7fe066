#include "movie_file.h"

#include "base/replaced_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace movie
{

namespace
{

constexpr int kIoBuffer = 512 * 1024;
constexpr int kLargePacket = 64 * 1024;
constexpr unsigned kNewFileMode = 0666;
// Fragment headers hold a frame's duration in 32 bits.
constexpr double kMaxFrameTicks = 0x7FFFFFFF;
// Matroska gathers this long before it writes.
constexpr int kClusterMilliseconds = 500;

std::int64_t usableTicks(std::int64_t wanted, AVRational rate)
{
    const double most = kMaxFrameTicks * av_q2d(rate);
    const auto limited = static_cast<std::int64_t>(std::min(static_cast<double>(wanted), most));
    // At least one tick per frame, else frames would share a time.
    return std::max<std::int64_t>(limited, rate.num);
}

} // namespace

MovieFile::~MovieFile()
{
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    if (touched_ && !begun_) {
        ::unlink(path_.c_str());
    }
}

ZelCamErr MovieFile::fail(int avError)
{
    if (error_ == ZelErr::kOk) {
        if (writeError_ != 0) {
            error_ = base::codeFromErrno(writeError_);
        } else {
            error_ = avError == AVERROR(ENOMEM) ? ZelErr::kGenTLOutOfMemory : ZelErr::kUnknown;
        }
    }
    return error_;
}

int MovieFile::onWrite(void* self, std::uint8_t* data, int size)
{
    auto& file = *static_cast<MovieFile*>(self);
    int left = size;
    while (left > 0) {
        const ssize_t written =
            ::pwrite(file.descriptor_, data, static_cast<std::size_t>(left), file.position_);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            file.writeError_ = errno;
            return AVERROR(errno);
        }
        data += written;
        left -= static_cast<int>(written);
        file.position_ += written;
    }
    return size;
}

std::int64_t MovieFile::onSeek(void* self, std::int64_t offset, int whence)
{
    auto& file = *static_cast<MovieFile*>(self);
    struct stat status = {};
    if (::fstat(file.descriptor_, &status) != 0) {
        return AVERROR(errno);
    }
    switch (whence) {
    case AVSEEK_SIZE:
        return status.st_size;
    case SEEK_CUR:
        file.position_ += offset;
        break;
    case SEEK_END:
        file.position_ = status.st_size + offset;
        break;
    default:
        file.position_ = offset;
        break;
    }
    return file.position_;
}

ZelCamErr MovieFile::prepare(const ContainerRow& container)
{
    AVFormatContext* context = nullptr;
    const int code = avformat_alloc_output_context2(&context, nullptr, container.muxer, nullptr);
    if (code < 0) {
        return code == AVERROR(ENOMEM) ? ZelErr::kGenTLOutOfMemory : ZelErr::kInvalidArgument;
    }
    format_.reset(context);
    container_ = container.bit;
    return ZelErr::kOk;
}

bool MovieFile::wantsGlobalHeader() const
{
    return (format_->oformat->flags & AVFMT_GLOBALHEADER) != 0;
}

ZelCamErr MovieFile::openFile(const std::string& fileName)
{
    if (const int error = base::resolveLinks(fileName, &path_)) {
        return base::codeFromErrno(error);
    }
    struct stat existing = {};
    if (::stat(path_.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode)) {
        return ZelErr::kFileRead;
    }
    descriptor_ = ::open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kNewFileMode);
    if (descriptor_ < 0) {
        return base::codeFromErrno(errno);
    }
    touched_ = true;
    return ZelErr::kOk;
}

ZelCamErr MovieFile::attachIo()
{
    auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBuffer));
    if (buffer == nullptr) {
        return ZelErr::kGenTLOutOfMemory;
    }
    io_.reset(avio_alloc_context(buffer, kIoBuffer, 1, this, nullptr, onWrite, onSeek));
    if (io_ == nullptr) {
        av_free(buffer);
        return ZelErr::kGenTLOutOfMemory;
    }
    format_->pb = io_.get();
    format_->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_FLUSH_PACKETS;
    return ZelErr::kOk;
}

ZelCamErr MovieFile::begin(const std::string& fileName, const AVCodecContext& encoder,
                           std::int64_t ticksPerSecond)
{
    stream_ = avformat_new_stream(format_.get(), nullptr);
    if (stream_ == nullptr || avcodec_parameters_from_context(stream_->codecpar, &encoder) < 0) {
        return ZelErr::kGenTLOutOfMemory;
    }
    const AVRational rate = av_inv_q(encoder.time_base);
    stream_->time_base = encoder.time_base;
    stream_->avg_frame_rate = rate;
    stream_->r_frame_rate = rate;
    ZelCamErr code = openFile(fileName);
    if (code == ZelErr::kOk) {
        code = attachIo();
    }
    return code == ZelErr::kOk ? writeHeader(ticksPerSecond, rate) : code;
}

ZelCamErr MovieFile::writeHeader(std::int64_t ticksPerSecond, AVRational rate)
{
    Options options;
    if (container_ == kMp4 || container_ == kMov) {
        // Fragments: a plain file's index comes last, and without it nothing can be played.
        options.set("movflags", "frag_keyframe+empty_moov+default_base_moof");
        options.set("video_track_timescale", usableTicks(ticksPerSecond, rate));
    } else if (container_ == kMkv || container_ == kWebm) {
        options.set("cluster_time_limit", kClusterMilliseconds);
    }
    const int code = avformat_write_header(format_.get(), options.get());
    avio_flush(io_.get());
    if (writeError_ != 0) {
        return fail(code);
    }
    if (code < 0) {
        return code == AVERROR(ENOMEM) ? ZelErr::kGenTLOutOfMemory : ZelErr::kInvalidArgument;
    }
    begun_ = true;
    whole_ = position_;
    return ZelErr::kOk;
}

ZelCamErr MovieFile::write(AVPacket* packet, AVRational timeBase)
{
    if (error_ != ZelErr::kOk) {
        return error_;
    }
    packet->stream_index = stream_->index;
    packet->duration = packet->duration != 0 ? packet->duration : 1;
    av_packet_rescale_ts(packet, timeBase, stream_->time_base);
    // Large packets are not worth a copy through the buffer.
    io_->direct = packet->size >= kLargePacket ? 1 : 0;
    const int code = av_write_frame(format_.get(), packet);
    if (code < 0 || writeError_ != 0) {
        fail(code);
        cutToWhole();
        return error_;
    }
    whole_ = std::max(whole_, position_);
    return ZelErr::kOk;
}

void MovieFile::cutToWhole()
{
    // Best effort: the failure has been recorded, and players also cope with half a packet.
    if (::ftruncate(descriptor_, whole_) != 0) {
        return;
    }
}

ZelCamErr MovieFile::finish()
{
    if (error_ == ZelErr::kOk) {
        io_->direct = 0;
        const int code = av_write_trailer(format_.get());
        avio_flush(io_.get());
        if (code < 0 || writeError_ != 0) {
            fail(code);
        }
    }
    const int descriptor = descriptor_;
    descriptor_ = -1;
    if (::close(descriptor) != 0 && errno != EINTR) {
        writeError_ = errno;
        fail(0);
    }
    return error_;
}

} // namespace movie
