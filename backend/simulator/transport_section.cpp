// Payload, locks and network settings of a simulated camera.
#include "simulator/transport_section.h"

namespace simulator
{

TransportSection::TransportSection(CameraContext& context,
                                   std::function<std::uint64_t()> payloadSize)
    : context_(context)
{
    FeatureTable& table = context.table;
    table.category("TransportLayerControl", "Transfer of frames and network settings.");
    table.integer("PayloadSize", "Bytes of one frame.")
        .describe("Bytes of one frame with the present settings, chunks included.")
        .unit("B")
        .expert()
        .readOnly()
        .onRead([payloadSize = std::move(payloadSize)](std::size_t) {
            return FeatureValue(static_cast<std::int64_t>(payloadSize()));
        });
    locked_ =
        &table.integer("TLParamsLocked", "Locks what must not change while streaming.")
             .describe(
                 "Set by the host: 1 locks the features that must not change while streaming.")
             .invisible()
             .changesByItself() // The end of a session takes it back.
             .range(std::int64_t{0}, std::int64_t{1});
    locked_->onChange([this](std::size_t) { context_.transportLocked = locked_->integer() != 0; });
    if (context.config.hasNetwork) {
        network_ = std::make_unique<NetworkSection>(context);
    }
}

void TransportSection::setLocked(bool locked)
{
    locked_->set(std::int64_t{locked});
    context_.transportLocked = locked;
}

void TransportSection::restart()
{
    setLocked(false);
    if (network_) {
        network_->restart();
    }
}

} // namespace simulator
