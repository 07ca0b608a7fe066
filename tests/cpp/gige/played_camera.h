// A camera whose registers and packets the tests play.
#pragma once

#include "base/mutex.h"
#include "gige/udp_socket.h"
#include "gige/wire/gvcp.h"
#include "stream_maker.h"

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

/// Answers READREG, WRITEREG, READMEM and WRITEMEM out of a memory of bytes, sends test packets,
/// and sends stream packets when the test says so. Discovery it does not answer: it is opened by
/// its address. Its own thread between construction and destruction.
class PlayedCamera
{
public:
    explicit PlayedCamera(std::uint32_t address);
    ~PlayedCamera();
    PlayedCamera(const PlayedCamera&) = delete;
    PlayedCamera& operator=(const PlayedCamera&) = delete;

    bool isReady() const { return socket_.isOpen() && stream_.isOpen(); }
    std::uint32_t address() const { return address_; }

    std::uint32_t word(std::uint32_t address);
    void setWord(std::uint32_t address, std::uint32_t value);
    void setText(std::uint32_t address, const std::string& text);
    /// Where its stream goes now.
    std::uint32_t destination();
    std::uint16_t port();
    /// A packet of its stream, from the port that it tells.
    bool send(const stream_maker::Packet& packet);
    bool send(const std::vector<stream_maker::Packet>& packets);
    /// What it was asked for since the last call.
    std::vector<gige::wire::ResendRequest> takeRequests();
    std::vector<gige::wire::Action> takeActions();

    std::atomic<bool> refusesMemory{false}; ///< READMEM of four bytes: registers only.
    std::atomic<std::uint32_t> path{65535}; ///< Larger packets vanish.
    std::atomic<int> writes{0};             ///< Of registers and memory.

private:
    void run();
    void handle(const gige::wire::CommandPacket& packet, const gige::Sender& from);
    gige::wire::Datagram answer(const gige::wire::CommandPacket& packet);
    gige::wire::Datagram readMemory(const gige::wire::CommandPacket& packet);
    void written(std::uint32_t address, std::uint32_t value);
    std::uint32_t load(std::uint32_t address) ZEL_REQUIRES(mutex_);
    void store(std::uint32_t address, std::uint32_t value) ZEL_REQUIRES(mutex_);

    const std::uint32_t address_;
    gige::UdpSocket socket_;
    gige::UdpSocket broadcasts_;
    gige::UdpSocket stream_;
    base::Mutex mutex_;
    std::map<std::uint32_t, std::uint8_t> memory_ ZEL_GUARDED_BY(mutex_);
    std::vector<gige::wire::ResendRequest> requests_ ZEL_GUARDED_BY(mutex_);
    std::vector<gige::wire::Action> actions_ ZEL_GUARDED_BY(mutex_);
    std::atomic<bool> ending_{false};
    std::thread thread_;
};
