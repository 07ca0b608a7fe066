// Takes packets from a UDP socket, straight into the frames that they belong to.
#pragma once

#include "gige/packet_source.h"
#include "gige/stream_socket.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <array>
#include <memory>
#include <vector>

namespace gige
{

/// How packets are taken from a socket.
enum class ReceiveMethod : std::int64_t {
    Automatic, ///< Joined as long as the network joins packets, else Batch.
    Joined,    ///< Packets that the network has joined, many at a call (UDP_GRO).
    Batch,     ///< Many packets at a call (recvmmsg).
    Single,    ///< One packet at a call.
    Ring,      ///< From memory that the system fills (RingReader); wants CAP_NET_RAW.
};

/// Where the next packets belong is foretold by the assembler, and there the system puts them. What
/// came otherwise is copied.
class SocketReader final : public PacketSource
{
public:
    /// `socket` is borrowed and open.
    SocketReader(StreamSocket& socket, ReceiveMethod method, std::size_t packetSize);
    ~SocketReader() override;
    SocketReader(const SocketReader&) = delete;
    SocketReader& operator=(const SocketReader&) = delete;

    bool drain(FrameAssembler& assembler, StreamNumbers& numbers, int most) override;
    int descriptor() const override { return socket_.descriptor(); }
    std::size_t capacity(std::size_t packetSize) const override;
    std::size_t turn() const override { return std::size_t{2} * kMost; }

private:
    struct Buffers;
    static constexpr int kMost = 64; ///< Packets of one call.

    int receiveChecked(FrameAssembler& assembler, StreamNumbers& numbers, Clock::time_point now);
    int receiveJoined(FrameAssembler& assembler, StreamNumbers& numbers, Clock::time_point now);
    int receiveBatch(FrameAssembler& assembler, StreamNumbers& numbers, Clock::time_point now);
    void takeBatch(FrameAssembler& assembler, StreamNumbers& numbers, int count,
                   Clock::time_point now);
    int foresee(const FrameAssembler::Ahead& ahead, int most);
    bool isForeseen(const FrameAssembler::Ahead& ahead, const iovec* pieces, int index,
                    std::size_t size) const;
    std::size_t gather(const iovec* pieces, std::size_t count, std::size_t skip, std::size_t size,
                       std::uint8_t* to) const;
    void readControl(msghdr* message, StreamNumbers& numbers, std::size_t* joined);
    void setJoining(bool on);
    void noteSingles(bool single);

    StreamSocket& socket_;
    ReceiveMethod method_;
    const bool automatic_;
    const std::size_t slot_; ///< Bytes for one packet that was not foreseen.
    int singles_ = 0;        ///< Packets in a row that were not joined.
    int foreseen_ = 0;       ///< Packets that have a place in their frame.
    int usual_ = kMost;      ///< Packets that a call brings at most these days.
    std::unique_ptr<Buffers> buffers_;
};

} // namespace gige
