// Events of a GigE Vision camera.
#pragma once

#include "vision/arv_ptr.h"
#include "vision/gvcp_socket.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <thread>

namespace vision
{

/// Opens the message channel of a camera: tells it our address and port, takes its EVENT and
/// EVENTDATA packets and acknowledges them; what others send is ignored. A camera without a message
/// channel is left alone. The handler runs on the channel's own thread; the destructor returns when
/// it runs no more.
class MessageChannel
{
public:
    /// An event: its id and the bytes of its record, which begins with 16 bytes of header, or 24
    /// where the camera's block ids have 64 bits.
    using Handler = std::function<void(std::uint64_t id, const void* data, std::size_t size)>;

    /// Addresses are host integers: the adapter's and the camera's.
    MessageChannel(ArvDevice* device, std::uint32_t localAddress, std::uint32_t cameraAddress,
                   Handler handler);
    ~MessageChannel();
    /// The camera is gone: the destructor does not take leave of it, which would take seconds.
    void setCameraGone() { gone_ = true; }

    MessageChannel(const MessageChannel&) = delete;
    MessageChannel& operator=(const MessageChannel&) = delete;

private:
    void receive();
    void answer(const gvcp::Packet& packet, std::uint16_t port);
    bool isNew(std::uint16_t id);
    void handle(const gvcp::Packet& packet, std::size_t header);

    ArvDevice* const device_;
    const std::uint32_t cameraAddress_;
    GvcpSocket socket_;
    const Handler handler_;
    std::atomic<bool> ending_{false};
    std::atomic<bool> gone_{false};
    std::array<std::uint16_t, 16> recentIds_{}; ///< 0: none.
    std::size_t nextRecent_ = 0;
    std::thread thread_;
};

} // namespace vision
