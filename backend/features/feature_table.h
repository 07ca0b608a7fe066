// The features of one module: declared once, they give its description and its registers.
#pragma once

#include "features/feature.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

namespace features
{

/// What the head of a GenICam description says of the module.
struct ModuleIdentity {
    std::string vendor; ///< C identifier.
    std::string model;  ///< C identifier.
    std::string toolTip;
    std::string standardNameSpace = "None";
    std::string productGuid;
    std::string versionGuid;
};

/// A port of event or chunk data in the description.
struct DataPort {
    std::string name;
    bool chunk; ///< Else event.
    std::uint64_t id;
};

/// Features with their registers (big-endian, packed from `base` upwards) and their description.
/// Add features, finish(), then read and write. Not thread safe: the owner locks. Codes are those
/// of GenTL.
class FeatureTable
{
public:
    FeatureTable(ModuleIdentity identity, std::uint64_t base);
    FeatureTable(const FeatureTable&) = delete;
    FeatureTable& operator=(const FeatureTable&) = delete;

    // Adding; features live as long as the table at a fixed address. Features go into the category
    // that was added last; `parent` empty: directly under Root.
    Feature& category(const std::string& name, Words toolTip, const std::string& parent = {});
    Feature& integer(const std::string& name, Words toolTip);
    Feature& real(const std::string& name, Words toolTip);
    Feature& boolean(const std::string& name, Words toolTip);
    Feature& enumeration(const std::string& name, Words toolTip);
    /// `capacity` bytes; a text that fills them has no closing NUL.
    Feature& string(const std::string& name, Words toolTip, std::uint32_t capacity);
    Feature& command(const std::string& name, Words toolTip);
    /// `length` bytes at `address`, outside of the table. A node of the description without a
    /// category, for who knows its name.
    Feature& memory(const std::string& name, Words toolTip, std::uint64_t address,
                    std::uint32_t length);
    void port(const std::string& name, bool chunk, std::uint64_t id);

    /// Lays out the registers and writes the description; call once, after the last addition.
    void finish();

    // The description, the same for the life of the table; thread safe. Few look at it twice and it
    // takes as much memory as the features, so that it is let go when all of it was read, and made
    // again for who comes later.
    std::string xml() const;
    std::size_t xmlSize() const { return xmlSize_; }
    /// Copies what lies in [offset, offset + size); the caller has compared with xmlSize().
    void readXml(std::size_t offset, void* data, std::size_t size) const;
    std::uint64_t base() const { return base_; }
    std::uint64_t end() const { return end_; } ///< First address behind the registers.

    /// Any length and alignment inside [base, end). -1015 outside; unavailable and write-only
    /// registers read -1005.
    std::int32_t read(std::uint64_t address, void* data, std::size_t size) const;
    /// Whole registers (text: from its start, any length up to the register's). -1015: not at a
    /// register's start or outside; -1005: read only, locked or unavailable; -1019: value refused.
    std::int32_t write(std::uint64_t address, const void* data, std::size_t size);

    /// Whether a register lies there that is never written.
    bool isReadOnly(std::uint64_t address) const;

    /// Null when there is none of this name.
    Feature* find(const std::string& name);
    const Feature* find(const std::string& name) const;
    std::deque<Feature>& features() { return features_; }

    /// Address of the value register; 0 when there is none.
    std::uint64_t address(const std::string& name, std::size_t index = 0) const;

private:
    friend class FeatureXml;

    /// What a register of a feature's block holds.
    enum class Slot { Value, Min, Max, Increment, Available, Locked, Entries, Padding };
    struct Register {
        std::uint64_t address;
        std::uint32_t size;
        Slot slot;
        std::uint32_t index;
        Feature* feature;
    };

    Feature& add(FeatureType type, const std::string& name, Words toolTip);
    /// Throws logic_error where two features have one name.
    void refuseTwins() const;
    void layOut(Feature& feature);
    const Register* at(std::uint64_t address) const;
    std::int32_t readRegister(const Register& reg, unsigned char* bytes) const;
    std::int32_t readPart(const Register& reg, std::size_t offset, unsigned char* out,
                          std::size_t count) const;
    std::int32_t writeRegister(const Register& reg, const unsigned char* bytes, std::size_t size);
    static std::vector<std::pair<Slot, std::uint32_t>> slotsOf(const Feature& feature);

    ModuleIdentity identity_;
    std::uint64_t base_;
    std::uint64_t end_;
    std::deque<Feature> features_;
    Feature* currentCategory_ = nullptr; ///< Null before the first.
    std::vector<DataPort> ports_;
    std::vector<Register> registers_; ///< By address, without gaps.
    std::size_t xmlSize_ = 0;
    mutable std::mutex xmlMutex_;
    /// In pieces that follow one another; none while nobody reads it. Under xmlMutex_.
    mutable std::vector<std::string> xml_;
    mutable std::size_t xmlRead_ = 0; ///< Bytes of it from its start that were read.
};

} // namespace features
