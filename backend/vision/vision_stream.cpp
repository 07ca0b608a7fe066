#include "vision/vision_stream.h"

#include "base/log.h"
#include "base/thread.h"
#include "core/chunk_trailer.h"
#include "vision/socket_buffer.h"

#include <algorithm>

namespace vision
{

namespace
{

using features::FeatureValue;

// The receiver's count of what found no free buffer.
constexpr const char* kShortages = "n_underruns";

core::BufferToken tokenOf(ArvBuffer* buffer)
{
    return static_cast<core::BufferToken>(
        reinterpret_cast<std::uintptr_t>(arv_buffer_get_user_data(buffer)));
}

/// Bytes of the image by its own description; PFNC codes carry the bits per pixel.
std::uint64_t imageBytes(const core::FrameInfo& info)
{
    const std::uint64_t bits = (info.pixelFormat >> 16U) & 0xFFU;
    return (info.width * info.height * bits + 7) / 8 +
           static_cast<std::uint64_t>(info.xPadding) * info.height;
}

} // namespace

VisionStream::VisionStream(ArvDevice* device, core::StreamSink* sink, std::function<bool()> isLost,
                           std::function<void()> closed)
    : device_(device), sink_(sink), isLost_(std::move(isLost)), closed_(std::move(closed)),
      features_("VisionStream", "Data stream")
{
    declareFeatures();
}

VisionStream::~VisionStream()
{
    dropReceiver();
    closed_();
}

void VisionStream::declareFeatures()
{
    features::FeatureTable& table = features_.table();
    options_.declare(table, ARV_IS_GV_DEVICE(device_));
    declareCounters();
    table.finish();
}

void VisionStream::declareCounters()
{
    features::FeatureTable& table = features_.table();
    table.category("StreamReceiverStatistics", "Counters of the receiver.");
    struct Counter {
        const char* feature;
        const char* name;
        const char* toolTip;
    };
    for (const Counter& counter :
         {Counter{"StreamCompletedBufferCount", "n_completed_buffers", "Buffers filled whole."},
          Counter{"StreamFailedBufferCount", "n_failures", "Buffers with missing parts."},
          Counter{"StreamReceiverUnderrunCount", "n_underruns", "Frames without a free buffer."},
          Counter{"StreamResentPacketCount", "n_resent_packets", "Packets sent again."},
          Counter{"StreamMissingPacketCount", "n_missing_packets", "Packets that never came."},
          Counter{"StreamResendRequestCount", "n_resend_requests", "Requests for packets."}}) {
        const char* name = counter.name;
        table.integer(counter.feature, counter.toolTip)
            .readOnly()
            .onRead([this, name](std::size_t) {
                return FeatureValue(static_cast<std::int64_t>(receiverCounter(name)));
            });
    }
}

std::uint64_t VisionStream::receiverCounter(const char* name)
{
    const std::lock_guard<std::mutex> lock(receiverMutex_);
    if (receiver_ == nullptr) {
        return 0;
    }
    // Asked by number: not every receiver has every counter, and by name it would complain.
    const guint count = arv_stream_get_n_infos(receiver_.get());
    for (guint i = 0; i < count; ++i) {
        if (g_strcmp0(arv_stream_get_info_name(receiver_.get(), i), name) == 0) {
            return arv_stream_get_info_uint64(receiver_.get(), i);
        }
    }
    return 0;
}

ZelCamErr VisionStream::announce(core::BufferToken token, void* memory, std::size_t size)
{
    ArvPtr<ArvBuffer> buffer(arv_buffer_new_full(
        size, memory, reinterpret_cast<void*>(static_cast<std::uintptr_t>(token)), nullptr));
    const std::lock_guard<std::mutex> lock(mutex_);
    announced_[token] = {std::move(buffer), size, false};
    return ZelErr::kOk;
}

ZelCamErr VisionStream::revoke(core::BufferToken token)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return announced_.erase(token) == 1 ? ZelErr::kOk : ZelErr::kGenTLInvalidHandle;
}

ZelCamErr VisionStream::queue(core::BufferToken token)
{
    ArvBuffer* buffer = nullptr;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto entry = announced_.find(token);
        if (entry == announced_.end()) {
            return ZelErr::kGenTLInvalidHandle;
        }
        entry->second.queued = true;
        buffer = entry->second.buffer.get();
    }
    if (receiver_ != nullptr) { // Else it gets its buffers when it is made.
        push(receiver_.get(), buffer);
    }
    return ZelErr::kOk;
}

void VisionStream::push(ArvStream* receiver, ArvBuffer* buffer)
{
    g_object_ref(buffer);
    // A frame whose leader is lost leaves these as they were: 0 tells that it did not come.
    arv_buffer_set_frame_id(buffer, 0);
    arv_buffer_set_timestamp(buffer, 0);
    arv_stream_push_buffer(receiver, buffer);
}

ZelCamErr VisionStream::discardAll()
{
    if (receiver_ != nullptr) {
        runThread(); // Only a running receiver can be told to drop its buffers.
        haltThread(true);
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (auto& entry : announced_) {
            entry.second.queued = false;
        }
    }
    if (receiver_ != nullptr && receiving_) {
        runThread();
    }
    return ZelErr::kOk;
}

void VisionStream::runThread()
{
    if (!threadRuns_) {
        arv_stream_start_thread(receiver_.get());
        threadRuns_ = true;
    }
}

void VisionStream::haltThread(bool discardBuffers)
{
    if (threadRuns_) {
        arv_stream_stop_thread(receiver_.get(), discardBuffers ? TRUE : FALSE);
        threadRuns_ = false;
    }
}

ZelCamErr VisionStream::createReceiver()
{
    if (ARV_IS_GV_DEVICE(device_)) {
        arv_gv_device_set_stream_options(ARV_GV_DEVICE(device_),
                                         options_.packetSocket
                                             ? ARV_GV_STREAM_OPTION_NONE
                                             : ARV_GV_STREAM_OPTION_PACKET_SOCKET_DISABLED);
    }
    ArvError error;
    ArvPtr<ArvStream> receiver(arv_device_create_stream(device_, nullptr, nullptr, error.out()));
    if (receiver == nullptr) {
        base::log(base::LogChannel::Vision, "no receiver: %s", error.text());
        return error.failed() ? error.code() : ZelErr::kGenTLError;
    }
    if (ARV_IS_GV_STREAM(receiver.get())) {
        g_object_set(receiver.get(), "packet-resend",
                     options_.packetResend ? ARV_GV_STREAM_PACKET_RESEND_ALWAYS
                                           : ARV_GV_STREAM_PACKET_RESEND_NEVER,
                     "packet-timeout", static_cast<guint>(options_.packetTimeoutUs.load()),
                     "frame-retention", static_cast<guint>(options_.frameRetentionUs.load()),
                     "socket-buffer", ARV_GV_STREAM_SOCKET_BUFFER_FIXED, "socket-buffer-size",
                     static_cast<gint>(options_.socketBuffer.load()), nullptr);
        enlargeReceiveBuffer(arv_gv_stream_get_port(ARV_GV_STREAM(receiver.get())),
                             static_cast<int>(options_.socketBuffer.load()));
    }
    g_signal_connect(receiver.get(), "new-buffer", G_CALLBACK(onNewBuffer), this);
    arv_stream_set_emit_signals(receiver.get(), TRUE);
    options_.changed = false;
    threadRuns_ = true;
    const std::lock_guard<std::mutex> lock(receiverMutex_);
    receiver_ = std::move(receiver);
    return ZelErr::kOk;
}

void VisionStream::dropReceiver()
{
    if (receiver_ == nullptr) {
        return;
    }
    const bool lost = isLost_();
    arv_stream_set_emit_signals(receiver_.get(), FALSE);
    runThread(); // The receiver ends its own thread and complains when there is none.
    if (lost) {
        haltThread(true); // From now on it has no memory of ours.
        runThread();
    }
    threadRuns_ = false;
    ArvPtr<ArvStream> receiver;
    {
        const std::lock_guard<std::mutex> lock(receiverMutex_);
        receiver = std::move(receiver_);
    }
    if (lost) {
        g_signal_handlers_disconnect_by_data(receiver.get(), this);
        // It takes leave of its camera, and with one that is gone that takes seconds.
        ArvStream* gone = receiver.release();
        base::startThread("zel-farewell", [gone] { g_object_unref(gone); }).detach();
    }
}

void VisionStream::pushQueued()
{
    std::vector<std::pair<core::BufferToken, ArvBuffer*>> waiting;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        for (const auto& entry : announced_) {
            if (entry.second.queued) {
                waiting.emplace_back(entry.first, entry.second.buffer.get());
            }
        }
    }
    std::sort(waiting.begin(), waiting.end());
    for (const auto& entry : waiting) {
        push(receiver_.get(), entry.second);
    }
}

ZelCamErr VisionStream::start(std::uint64_t frames)
{
    remaining_ = frames;
    ids_.reset();
    underruns_ = 0;
    lost_ = 0;
    if (receiver_ != nullptr && options_.changed) {
        dropReceiver();
    }
    if (receiver_ == nullptr) {
        const ZelCamErr code = createReceiver();
        if (code != ZelErr::kOk) {
            return code;
        }
        pushQueued();
    } else if (ARV_IS_GV_STREAM(receiver_.get())) {
        // Its socket was open all the time: a camera that was started earlier has filled it.
        discardReceived(arv_gv_stream_get_port(ARV_GV_STREAM(receiver_.get())));
    }
    shortagesSeen_ = receiverCounter(kShortages);
    receiving_ = true;
    runThread();
    return ZelErr::kOk;
}

ZelCamErr VisionStream::stop(bool)
{
    if (!receiving_) {
        return ZelErr::kGenTLResourceInUse;
    }
    haltThread(false); // A frame in its hand arrives before this returns, none comes after.
    receiving_ = false;
    return ZelErr::kOk;
}

core::StreamCounters VisionStream::counters()
{
    core::StreamCounters counters;
    // How many frames found no buffer shows when the next one finds one; until then it is one.
    const bool now = receiverCounter(kShortages) > shortagesSeen_;
    counters.underruns = underruns_ + (now ? 1 : 0);
    counters.lost = lost_;
    return counters;
}

void VisionStream::countGap(ArvStream* receiver, std::uint64_t before, std::uint64_t now)
{
    const std::uint64_t shortages = arv_stream_get_info_uint64_by_name(receiver, kShortages);
    const std::uint64_t news = shortages - shortagesSeen_;
    shortagesSeen_ = shortages;
    // Of those before the first frame nothing is known but that there was one.
    const std::uint64_t none = news > 0 ? 1 : 0;
    const std::uint64_t gap = before == 0 ? none : (now > before ? now - before - 1 : 0);
    const std::uint64_t missed = std::min(gap, news);
    underruns_ += missed;
    lost_ += gap - missed;
}

void VisionStream::onNewBuffer(ArvStream* stream, void* self)
{
    while (ArvBuffer* buffer = arv_stream_try_pop_buffer(stream)) {
        static_cast<VisionStream*>(self)->take(stream, buffer);
        g_object_unref(buffer);
    }
}

void VisionStream::take(ArvStream* receiver, ArvBuffer* buffer)
{
    const core::BufferToken token = tokenOf(buffer);
    const ArvBufferStatus status = arv_buffer_get_status(buffer);
    if (status == ARV_BUFFER_STATUS_ABORTED || status == ARV_BUFFER_STATUS_CLEARED ||
        remaining_ == 0 || !receiving_) {
        push(receiver, buffer); // Stopped in the middle, or nobody asked for one more.
        return;
    }
    const std::uint64_t before = ids_.last();
    core::FrameInfo info = describe(buffer, status == ARV_BUFFER_STATUS_SUCCESS);
    countGap(receiver, before, info.frameId);
    if (remaining_ != ~std::uint64_t{0}) {
        --remaining_;
    }
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto entry = announced_.find(token);
        if (entry != announced_.end()) {
            entry->second.queued = false;
        }
    }
    sink_->bufferDone(token, std::move(info));
    core::refill(*sink_, *this);
}

core::FrameInfo VisionStream::describe(ArvBuffer* buffer, bool complete)
{
    core::FrameInfo info;
    std::size_t received = 0;
    const auto* data = static_cast<const std::uint8_t*>(arv_buffer_get_data(buffer, &received));
    info.frameId = ids_.extend(arv_buffer_get_frame_id(buffer));
    info.timestamp = arv_buffer_get_timestamp(buffer);
    info.deliveredSize = received;
    info.incomplete = !complete;
    const ArvBufferPayloadType payload = arv_buffer_get_payload_type(buffer);
    const bool image = payload == ARV_BUFFER_PAYLOAD_TYPE_IMAGE ||
                       payload == ARV_BUFFER_PAYLOAD_TYPE_EXTENDED_CHUNK_DATA ||
                       payload == ARV_BUFFER_PAYLOAD_TYPE_MULTIPART;
    if (!complete || !image) {
        // The getters of the image speak only of whole images, and how much of a frame with holes
        // arrived is not told: its memory is handed out as it is.
        if (received == 0) {
            const std::lock_guard<std::mutex> lock(mutex_);
            const auto entry = announced_.find(tokenOf(buffer));
            info.deliveredSize = entry != announced_.end() ? entry->second.size : 0;
        }
        return info;
    }
    gint x = 0;
    gint y = 0;
    gint width = 0;
    gint height = 0;
    gint xPadding = 0;
    gint yPadding = 0;
    arv_buffer_get_image_region(buffer, &x, &y, &width, &height);
    arv_buffer_get_image_padding(buffer, &xPadding, &yPadding);
    std::size_t size = 0;
    const auto* pixels = static_cast<const std::uint8_t*>(arv_buffer_get_image_data(buffer, &size));
    info.width = static_cast<std::uint64_t>(width);
    info.height = static_cast<std::uint64_t>(height);
    info.xOffset = x;
    info.yOffset = y;
    info.xPadding = xPadding;
    info.yPadding = yPadding;
    info.pixelFormat = arv_buffer_get_image_pixel_format(buffer);
    info.imageOffset = pixels != nullptr ? static_cast<std::uint64_t>(pixels - data) : 0;
    info.deliveredSize = received - std::min<std::uint64_t>(received, info.imageOffset);
    const std::uint64_t wanted = imageBytes(info);
    // A frame that is larger than its buffer comes back as a success, cut.
    info.incomplete = info.deliveredSize < wanted;
    if (arv_buffer_has_chunks(buffer)) {
        info.chunks = core::chunkPlaces(data, received, ARV_IS_GV_DEVICE(device_));
        info.deliveredSize = std::min(info.deliveredSize, wanted);
    }
    return info;
}

} // namespace vision
