// Events of a GigE Vision camera.
#pragma once

#include "vision/arv_ptr.h"
#include "vision/gvcp_socket.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

namespace vision
{

/// Opens the message channel of a camera: tells it our address and port, takes its EVENT and
/// EVENTDATA packets and acknowledges them. A camera without a message channel is left alone. The
/// handler runs on the channel's own thread; the destructor returns when it runs no more.
class MessageChannel
{
public:
    /// An event: its id and the bytes of its record, which begins with 16 bytes of header.
    using Handler = std::function<void(std::uint64_t id, const void* data, std::size_t size)>;

    MessageChannel(ArvDevice* device, std::uint32_t localAddress, Handler handler);
    ~MessageChannel();
    MessageChannel(const MessageChannel&) = delete;
    MessageChannel& operator=(const MessageChannel&) = delete;

private:
    void receive();
    void handle(const gvcp::Packet& packet);

    ArvDevice* const device_;
    GvcpSocket socket_;
    const Handler handler_;
    std::atomic<bool> ending_{false};
    std::uint16_t lastId_ = 0;
    std::thread thread_;
};

} // namespace vision
