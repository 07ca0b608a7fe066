// What a node map is built over: one module's GenICam description and its registers.
#pragma once

#include "zel_err.h"

#include <cstddef>
#include <cstdint>
#include <string>

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

    /// True for a GigE Vision camera: descriptions older than schema 1.1 mean the order of the
    /// network by their 4-byte registers, whatever else they say.
    virtual bool hasNetworkByteOrder() { return false; }
};

} // namespace genapi
