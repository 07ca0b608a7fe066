// What a node map is built over: one module's GenICam description and its registers.
#pragma once

#include "zel_err.h"

#include <cstddef>
#include <cstdint>
#include <string>

// The GObject of Aravis; opaque here.
struct _ArvDevice;
using ArvDevice = struct _ArvDevice;

namespace genapi
{

/// One GenICam register space with its description: a camera, a transport module, an interface.
/// Implemented by the transports. Thread rule: a node map calls its source under its own lock, one
/// call at a time; a source that is used by several maps locks by itself. A source outlives the
/// node maps over it, or the map is detached first. A source may detach the map from inside one of
/// these calls (a device that is found to be lost).
class FeatureSource
{
public:
    virtual ~FeatureSource() = default;

    /// The description: XML text, or a zip archive that holds it. -1008 or -1003 when there is
    /// none.
    virtual ZelCamErr description(std::string* document) = 0;

    /// Reads `size` bytes at `address`. Codes of a GenTL producer pass through to the user.
    virtual ZelCamErr read(std::uint64_t address, void* data, std::size_t size) = 0;

    /// Writes `size` bytes at `address`.
    virtual ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) = 0;

    /// A device of Aravis behind this source (borrowed), or null. Its own node map is used for
    /// descriptions older than schema 1.1, because Aravis knows which old cameras swap bytes; for
    /// all others a map is built over description(), read() and write().
    virtual ArvDevice* arvDevice() { return nullptr; }

    /// True for a GigE Vision camera reached without a device of Aravis: descriptions older than
    /// schema 1.1 count on 4-byte registers being turned into the host's byte order.
    virtual bool hasNetworkByteOrder() { return false; }
};

} // namespace genapi
