// The container file of a movie.
#pragma once

#include "av_handles.h"
#include "base/replaced_file.h"
#include "compressors.h"
#include "zel_err.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace movie
{

/// Writes packets of one video stream. They go to the file so soon (AVI: at once; MP4 and MOV by
/// fragments, Matroska by clusters, of half a second at most) that a process that dies loses little
/// of what was recorded, and what there is can be played. After a failed write the file is cut
/// after the last whole packet and takes nothing more.
///
/// The file gets its name when the first packet is in it: until then, and if there never is one, an
/// earlier file stays. One thread at a time.
class MovieFile
{
public:
    MovieFile() = default;
    ~MovieFile() = default;
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    /// Chooses the container; nothing is touched yet.
    ZelCamErr prepare(const ContainerRow& container);
    /// The container wants the encoder's headers in the file header, not in the packets.
    bool wantsGlobalHeader() const;
    /// Creates the file under a temporary name and writes the container's header for an encoder
    /// that has been opened. Codes of base::ReplacedFile or, if the container refuses, -40007.
    ZelCamErr begin(const std::string& fileName, const AVCodecContext& encoder,
                    std::int64_t ticksPerSecond);
    /// Writes a packet timed in the encoder's time base.
    ZelCamErr write(AVPacket* packet, AVRational timeBase);
    /// True while packets wait in memory for their fragment or cluster to be whole.
    bool hasWaiting() const { return waiting_; }
    /// Writes those packets.
    ZelCamErr flush();
    /// Completes the container and closes the file; removes it when it has no packet.
    ZelCamErr finish();

private:
    static int onWrite(void* self, std::uint8_t* data, int size);
    static std::int64_t onSeek(void* self, std::int64_t offset, int whence);

    bool flushIsDue(std::int64_t time) const;
    ZelCamErr writeHeader(std::int64_t ticksPerSecond, AVRational rate);
    ZelCamErr attachIo();
    void cutToWhole();
    ZelCamErr fail(int avError);

    FormatContext format_;
    IoContext io_;
    AVStream* stream_ = nullptr; // Owned by format_.
    Container container_ = kAvi;
    std::unique_ptr<base::ReplacedFile> file_;
    int writeError_ = 0;     // errno of the first refused write.
    std::int64_t whole_ = 0; // Size up to the last whole packet.
    std::int64_t position_ = 0;
    bool published_ = false;
    bool waiting_ = false;
    std::int64_t flushedTo_ = 0; // Of the movie, in the stream's time base.
    std::chrono::steady_clock::time_point flushedAt_;
    ZelCamErr error_ = ZelErr::kOk;
};

} // namespace movie
