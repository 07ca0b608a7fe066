#include "movie_file.h"

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
// Fragment headers hold a frame's duration in 32 bits.
constexpr double kMaxFrameTicks = 0x7FFFFFFF;
// What waits in memory is written when it is this old, by the movie's clock or by the wall's.
constexpr std::chrono::milliseconds kLongestWait{500};

std::int64_t usableTicks(std::int64_t wanted, AVRational rate)
{
    const double most = kMaxFrameTicks * av_q2d(rate);
    const auto limited = static_cast<std::int64_t>(std::min(static_cast<double>(wanted), most));
    // At least one tick per frame, else frames would share a time.
    return std::max<std::int64_t>(limited, rate.num);
}

} // namespace

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
        const ssize_t written = ::pwrite(file.file_->descriptor(), data,
                                         static_cast<std::size_t>(left), file.position_);
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
    if (::fstat(file.file_->descriptor(), &status) != 0) {
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
    file_ = std::make_unique<base::ReplacedFile>();
    ZelCamErr code = file_->open(fileName);
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
        options.set("cluster_time_limit", kLongestWait.count());
    }
    const int code = avformat_write_header(format_.get(), options.get());
    avio_flush(io_.get());
    if (writeError_ != 0) {
        return fail(code);
    }
    if (code < 0) {
        return code == AVERROR(ENOMEM) ? ZelErr::kGenTLOutOfMemory : ZelErr::kInvalidArgument;
    }
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
    const std::int64_t end = packet->dts + packet->duration;
    // Large packets are not worth a copy through the buffer.
    io_->direct = packet->size >= kLargePacket ? 1 : 0;
    const int code = av_write_frame(format_.get(), packet);
    if (code < 0 || writeError_ != 0) {
        fail(code);
        cutToWhole();
        return error_;
    }
    whole_ = std::max(whole_, position_);
    waiting_ = true;
    if (!flushIsDue(end)) {
        return ZelErr::kOk;
    }
    flushedTo_ = end;
    return flush();
}

bool MovieFile::flushIsDue(std::int64_t time) const
{
    const double waited = static_cast<double>(time - flushedTo_) * av_q2d(stream_->time_base);
    return !published_ || waited >= std::chrono::duration<double>(kLongestWait).count() ||
           std::chrono::steady_clock::now() - flushedAt_ >= kLongestWait;
}

ZelCamErr MovieFile::flush()
{
    if (error_ != ZelErr::kOk) {
        return error_;
    }
    const int code = av_write_frame(format_.get(), nullptr);
    avio_flush(io_.get());
    if (code < 0 || writeError_ != 0) {
        fail(code);
        cutToWhole();
        return error_;
    }
    whole_ = std::max(whole_, position_);
    waiting_ = false;
    flushedAt_ = std::chrono::steady_clock::now();
    if (!published_) {
        error_ = file_->publish();
        published_ = error_ == ZelErr::kOk;
    }
    return error_;
}

void MovieFile::cutToWhole()
{
    // Best effort: the failure has been recorded, and players also cope with half a packet.
    if (::ftruncate(file_->descriptor(), whole_) != 0) {
        return;
    }
}

ZelCamErr MovieFile::finish()
{
    if (error_ == ZelErr::kOk && published_) {
        io_->direct = 0;
        const int code = av_write_trailer(format_.get());
        avio_flush(io_.get());
        if (code < 0 || writeError_ != 0) {
            fail(code);
        }
    }
    const ZelCamErr closed = file_->close();
    error_ = error_ == ZelErr::kOk ? closed : error_;
    file_.reset();
    return error_;
}

} // namespace movie
