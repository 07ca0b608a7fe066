// A register space with a GenICam description: a module of the producer, or the camera itself.
#pragma once

#include "simulator/producer/handle_registry.h"
#include "simulator/producer/info_value.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace simulator::producer
{

/// What GCGetPortInfo tells.
struct PortFacts {
    std::string id;
    std::string vendor;
    std::string model;
    std::string tlType;
    std::string module; ///< "TLSystem" ... "Device"
    std::string version;
    std::string portName;
    bool bigEndian = true;
    bool readable = true;
    bool writable = true;
    bool reachable = true;
};

/// Thread safe.
class Port : public HandleObject
{
public:
    Port* port() final { return this; }

    /// Reads or writes all bytes or none. Throw Failure with the code.
    virtual void read(std::uint64_t address, void* data, std::size_t size) = 0;
    virtual void write(std::uint64_t address, const void* data, std::size_t size) = 0;

    virtual PortFacts facts() = 0;
    /// The description; it lies in the register space, at xmlAddress().
    virtual std::string xml() const = 0;
    virtual std::size_t xmlSize() const = 0;
    virtual std::uint64_t xmlAddress() const = 0;
    virtual std::string xmlFileName() const = 0;

    /// "local:name;address;size", numbers in hexadecimal digits.
    std::string url() const;
    /// Answer GCGetPortInfo and GCGetPortURLInfo. Throw Failure -1009 for unknown commands.
    InfoValue info(std::int32_t command);
    InfoValue urlInfo(std::int32_t command) const;
};

} // namespace simulator::producer
