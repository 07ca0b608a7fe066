// Commands to a camera and their answers: its registers at any address and in any length.
#pragma once

#include "base/mutex.h"
#include "usb3/control_pipe.h"
#include "usb3/wire/control_packet.h"
#include "zel_err.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace usb3
{

/// What a camera told of its control channel.
struct ControlLimits {
    std::uint32_t maxCommand = 84; ///< Bytes of a transfer, header included.
    std::uint32_t maxAnswer = 76;
    std::uint32_t responseMs = 0;
};

/// One command at a time, from any thread. Reads whose answer does not come are asked again; a
/// write is sent once, because the camera may have executed it (-1011 then). A busy camera is asked
/// again for a second. Every wait is bounded, also when the camera asks for patience.
class ControlChannel
{
public:
    /// `pipe` is borrowed. `lost` is called, from any thread, when the pipe says that the device is
    /// gone.
    ControlChannel(ControlPipe& pipe, std::function<void()> lost);

    /// Values that no camera has are replaced by usable ones.
    void setLimits(const ControlLimits& limits);

    /// -1015 when the range leaves the address space, -1010 when the device is gone, else the
    /// camera's answer. On failure the bytes of `data` are anything.
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size);
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size);

    /// Little-endian registers.
    ZelCamErr read32(std::uint64_t address, std::uint32_t* value);
    ZelCamErr read64(std::uint64_t address, std::uint64_t* value);
    ZelCamErr write32(std::uint64_t address, std::uint32_t value);
    /// As write32(), but -1011 after `limit` without an answer, which is dropped when it comes.
    ZelCamErr write32Within(std::uint64_t address, std::uint32_t value,
                            std::chrono::milliseconds limit);

    /// From now on everything answers -1010; waits end soon.
    void setLost() { lost_ = true; }
    bool isLost() const { return lost_; }

private:
    using Clock = std::chrono::steady_clock;
    /// One command: a read into `in` or a write from `out`.
    struct Request {
        wire::Command command;
        std::uint64_t address;
        void* in;
        const void* out;
        std::size_t size;
        Clock::duration patience; ///< For the answer.
    };
    /// How a try ended: with a status of the camera, or without one.
    struct Outcome {
        ZelCamErr code = ZelErr::kOk; ///< Of the transport.
        std::uint16_t status = 0;
        bool noAnswer = false;
    };

    ZelCamErr run(const Request& request);
    Outcome attempt(const Request& request) ZEL_REQUIRES(mutex_);
    Outcome send(const wire::Bytes& bytes) ZEL_REQUIRES(mutex_);
    Outcome await(const Request& request, std::uint16_t id) ZEL_REQUIRES(mutex_);
    Outcome failure(UsbResult result);
    ZelCamErr readPiece(std::uint64_t address, void* data, std::size_t size);
    std::uint16_t nextId() ZEL_REQUIRES(mutex_);

    ControlPipe& pipe_;
    const std::function<void()> onLost_;
    std::atomic<bool> lost_{false};
    std::atomic<std::size_t> readPiece_{64};
    std::atomic<std::size_t> writePiece_{64};
    std::atomic<unsigned> responseMs_{500};

    base::Mutex mutex_; ///< One command at a time.
    wire::Bytes answer_ ZEL_GUARDED_BY(mutex_);
    std::uint16_t lastId_ ZEL_GUARDED_BY(mutex_) = 0;
};

} // namespace usb3
