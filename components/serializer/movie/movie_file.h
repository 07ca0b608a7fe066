// The container file of a movie.
#pragma once

#include "av_handles.h"
#include "compressors.h"
#include "zel_err.h"

#include <cstdint>
#include <string>

namespace movie
{

/// Writes packets of one video stream. Every packet goes to the file at once (fragmented MP4 and
/// MOV: every fragment), so that what was recorded can be played when the process dies. After a
/// failed write the file is cut after the last whole packet and takes nothing more. One thread at
/// a time.
class MovieFile
{
public:
    MovieFile() = default;
    /// Closes the file; removes it when begin() did not succeed and open() made or emptied it.
    ~MovieFile();
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    /// Chooses the container; nothing is touched yet.
    ZelCamErr prepare(const ContainerRow& container);
    /// The container wants the encoder's headers in the file header, not in the packets.
    bool wantsGlobalHeader() const;
    /// Creates the file, or empties an existing regular one, and writes the container's header for
    /// an encoder that has been opened. -40002, -40003 or, if the container refuses, -40007.
    ZelCamErr begin(const std::string& fileName, const AVCodecContext& encoder,
                    std::int64_t ticksPerSecond);
    /// Writes a packet timed in the encoder's time base.
    ZelCamErr write(AVPacket* packet, AVRational timeBase);
    /// Has the file removed although begin() succeeded.
    void discard() { begun_ = false; }
    /// Completes the container and closes the file.
    ZelCamErr finish();

private:
    static int onWrite(void* self, std::uint8_t* data, int size);
    static std::int64_t onSeek(void* self, std::int64_t offset, int whence);

    ZelCamErr openFile(const std::string& fileName);
    ZelCamErr writeHeader(std::int64_t ticksPerSecond, AVRational rate);
    ZelCamErr attachIo();
    void cutToWhole();
    ZelCamErr fail(int avError);

    FormatContext format_;
    IoContext io_;
    AVStream* stream_ = nullptr; // Owned by format_.
    Container container_ = kAvi;
    std::string path_;
    int descriptor_ = -1;
    int writeError_ = 0;     // errno of the first refused write.
    std::int64_t whole_ = 0; // Size up to the last whole packet.
    std::int64_t position_ = 0;
    bool begun_ = false;
    bool touched_ = false; // The file was created or emptied.
    ZelCamErr error_ = ZelErr::kOk;
};

} // namespace movie
