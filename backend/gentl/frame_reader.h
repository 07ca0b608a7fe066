// What a producer tells of a filled buffer, in the words of core.
#pragma once

#include "core/transport.h"
#include "gentl/api.h"

#include <array>
#include <cstdint>
#include <optional>

namespace gentl
{

/// Asks a stream about its buffers. Every answer is optional; what is missing stays 0, which means
/// "as the camera's features say". One call per frame where the producer takes many questions at
/// once; else one per question, and what it does not implement is asked once. Used by one thread.
class FrameReader
{
public:
    /// `tickFrequency`: ticks of the device's clock per second, 0 when not known.
    FrameReader(const Api& api, Handle stream, std::uint64_t tickFrequency)
        : api_(api), stream_(stream), tickFrequency_(tickFrequency)
    {
    }

    /// `base` and `size`: the memory that was announced for the buffer.
    core::FrameInfo read(Handle buffer, const void* base, std::size_t size);

private:
    static constexpr std::size_t kCommands = 32;

    bool askAllAtOnce(Handle buffer);
    std::optional<std::uint64_t> number(Handle buffer, std::int32_t command);
    std::optional<std::uint64_t> part(Handle buffer, std::uint32_t index,
                                      std::int32_t command) const;
    void readImage(Handle buffer, core::FrameInfo& frame);
    bool readFirstImagePart(Handle buffer, const void* base, std::size_t size,
                            core::FrameInfo& frame) const;
    std::uint64_t timestamp(Handle buffer);
    void readChunks(Handle buffer, core::FrameInfo& frame);

    const Api& api_;
    const Handle stream_;
    const std::uint64_t tickFrequency_;
    bool chunksImplemented_ = true;
    bool stackImplemented_ = true;
    bool answered_ = false; ///< `answers_` holds all that can be known of the present buffer.
    std::array<std::optional<std::uint64_t>, kCommands> answers_; ///< By command.
    std::uint32_t unimplemented_ = 0;                             ///< A bit per command.
};

} // namespace gentl
