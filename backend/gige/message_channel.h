// Events of a GigE Vision camera.
#pragma once

#include "gige/control_channel.h"
#include "gige/wire/events.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

namespace gige
{

/// Opens the message channel of a camera: tells it our address and port, takes its EVENT and
/// EVENTDATA packets and acknowledges them; what others send is ignored. A camera without a message
/// channel is left alone. The handler runs on the channel's own thread; the destructor returns when
/// it runs no more.
class MessageChannel
{
public:
    /// `event.record` is what the user gets: 16 bytes of header, or 24 where the camera's block ids
    /// have 64 bits, and the data.
    using Handler = std::function<void(const wire::Event& event)>;

    /// `control` is borrowed.
    MessageChannel(ControlChannel& control, Handler handler);
    ~MessageChannel();
    MessageChannel(const MessageChannel&) = delete;
    MessageChannel& operator=(const MessageChannel&) = delete;

private:
    bool open();
    void receive();
    void answer(const wire::CommandPacket& packet, const Sender& sender);
    bool isNew(std::uint16_t id);

    ControlChannel& control_;
    UdpSocket socket_;
    base::UniqueFd wake_;
    const Handler handler_;
    std::atomic<bool> ending_{false};
    std::array<std::uint16_t, 16> recentIds_{}; ///< 0: none.
    std::size_t nextRecent_ = 0;
    std::thread thread_;
};

} // namespace gige
