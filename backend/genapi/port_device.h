// The device that ArvGc evaluates a description over: registers of a source, bytes of events.
#pragma once

#include "genapi/description.h"
#include "genapi/feature_source.h"
#include "zel_err.h"

#include <arv.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace genapi
{

/// Routes the register accesses of one node map. Not thread safe: calls are ordered by the lock of
/// the node map.
class PortRouter
{
public:
    PortRouter(FeatureSource& source, const std::vector<Overlay>& overlays, bool swapsWords);

    ZelCamErr read(std::uint64_t address, void* data, std::size_t size);
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size);

    /// Copies the bytes behind the event or chunk ports with this id.
    void setData(bool isEvent, std::uint64_t id, const void* data, std::size_t size);

    /// Forgets the bytes of all chunk ports.
    void dropChunks();

    /// False until the first data of an overlay arrived.
    bool hasData(std::int32_t slot) const;

private:
    struct Slot {
        Overlay overlay;
        bool hasData = false;
        std::string bytes;
    };

    FeatureSource& source_;
    std::vector<Slot> slots_;
    bool swapsWords_;
};

/// Drops the reference that it owns.
struct ObjectDeleter {
    void operator()(void* object) const { g_object_unref(object); }
};

/// A device whose memory is `router`, borrowed: it must outlive the device.
std::unique_ptr<ArvDevice, ObjectDeleter> makePortDevice(PortRouter& router);

/// The result code of an error: that of the source where it came through ArvGc.
ZelCamErr codeOf(const GError& error);

/// Keeps what Aravis reports about a camera's description off the terminal. Idempotent.
void silenceAravis();

} // namespace genapi
