// What a producer tells of a filled buffer, in the words of core.
#pragma once

#include "core/transport.h"
#include "gentl/api.h"

#include <atomic>
#include <cstdint>
#include <optional>

namespace gentl
{

/// Asks a stream about its buffers. Every answer is optional; what is missing stays 0, which means
/// "as the camera's features say". Used by one thread.
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
    std::optional<std::uint64_t> number(Handle buffer, std::int32_t command) const;
    std::optional<std::uint64_t> part(Handle buffer, std::uint32_t index,
                                      std::int32_t command) const;
    void readImage(Handle buffer, core::FrameInfo& frame) const;
    bool readFirstImagePart(Handle buffer, const void* base, std::size_t size,
                            core::FrameInfo& frame) const;
    std::uint64_t timestamp(Handle buffer) const;
    void readChunks(Handle buffer, core::FrameInfo& frame);

    const Api& api_;
    const Handle stream_;
    const std::uint64_t tickFrequency_;
    bool chunksImplemented_ = true;
};

} // namespace gentl
