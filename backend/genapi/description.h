// The model of a GenICam description: what the nodes say, with references resolved to indices.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace genapi
{

/// Element names that make a node.
enum class NodeKind : std::uint8_t {
    kUnsupported, ///< A node of a kind without a value for us, for example Register or DcamLock.
    kCategory,
    kInteger,
    kIntReg,
    kMaskedIntReg,
    kStructEntry,
    kIntSwissKnife,
    kIntConverter,
    kFloat,
    kFloatReg,
    kSwissKnife,
    kConverter,
    kString,
    kStringReg,
    kBoolean,
    kCommand,
    kEnumeration,
    kPort,
};

/// Why a node names another one.
enum class ReferenceKind : std::uint8_t {
    kValue,
    kValueCopy,
    kValueIndexed,
    kIndex,
    kAddress,
    kLength,
    kVariable,
    kMin,
    kMax,
    kIncrement,
    kCommandValue,
    kImplemented,
    kAvailable,
    kLocked,
    kPort,
    kFeature,
    kSelected,
    kOther, ///< Must exist, means nothing to us: pInvalidator, pError, pAlias ...
};

/// What of the target is asked for; only variables ask for anything but the value.
enum class Aspect : std::uint8_t { kValue, kMin, kMax, kIncrement, kEntry };

struct Reference {
    ReferenceKind kind = ReferenceKind::kOther;
    std::int32_t target = -1; ///< Index into Description::nodes.
    Aspect aspect = Aspect::kValue;
};

/// Access modes as a set of bits.
constexpr unsigned kReadable = 1;
constexpr unsigned kWritable = 2;

/// A number of the description, both ways: integers beyond 2^53 keep their value.
struct Number {
    std::int64_t integer = 0;
    double real = 0.0;
};

struct EntryDescription {
    std::string symbol;
    std::string displayName;
    std::string toolTip;
    std::string text;
    std::int64_t value = 0;
    std::int32_t visibility = 0;
    std::vector<Reference> references; ///< Conditions only.
};

struct NodeDescription {
    std::string name; ///< Empty for a formula written inside a register.
    NodeKind kind = NodeKind::kUnsupported;
    std::int32_t parent = -1; ///< StructEntry: the index of its StructReg.
    std::int32_t visibility = 0;
    unsigned accessMode = 0; ///< Of registers; 0: not given.
    unsigned imposedAccess = kReadable | kWritable;
    bool isRegister = false;
    bool isStreamable = false;
    bool isCachable = true;
    bool isPolled = false;
    bool isSelfClearing = true;
    bool isSigned = false;
    bool isFeature = false; ///< Reachable from the root category.
    std::string displayName;
    std::string toolTip;
    std::string text;
    std::string unit;
    std::optional<Number> min;
    std::optional<Number> max;
    std::optional<Number> increment;
    std::vector<Number> validValues; ///< Empty: all in the range.
    std::optional<Number> commandValue;
    Number onValue{1, 1.0};
    Number offValue{0, 0.0};
    std::int64_t length = 0; ///< Bytes of a register; 0: given by another node.
    std::int64_t lowBit = 0; ///< Bits of a masked register as written; the order varies.
    std::int64_t highBit = 0;
    std::int32_t overlaySlot = -1; ///< Port: index into Description::overlays; -1: the device.
    std::vector<Reference> references;
    std::vector<EntryDescription> entries;

    /// First target of this kind, or -1.
    std::int32_t target(ReferenceKind wanted) const;
};

/// A port that shows the bytes of an event or of a chunk instead of the device's registers.
struct Overlay {
    bool isEvent = false; ///< Else a chunk.
    std::uint64_t id = 0;
};

/// Everything that one description says. Immutable once made.
struct Description {
    std::vector<NodeDescription> nodes;
    std::unordered_map<std::string_view, std::int32_t> byName; ///< Views of the nodes' names.
    std::vector<Overlay> overlays;
    std::int32_t root = -1;       ///< The category "Root".
    bool marksStreamable = false; ///< Some node says whether it is streamable.
    bool isOldSchema = false;     ///< Below 1.1: byte order rules of old GigE Vision cameras.
    std::string evaluated;        ///< The same as plain XML for ArvGc, reduced to what has a value.
};

/// Names of nodes that exist only in Description::evaluated begin like this.
constexpr std::string_view kAddedNodePrefix = "_Zel";

/// Addresses from here on belong to overlays: base + slot * span + address of the port.
constexpr std::uint64_t kOverlayBase = std::uint64_t{1} << 62;
constexpr unsigned kOverlayShift = 40;

/// Kinds whose value is a whole number, enumerations and booleans left out.
bool isIntegerKind(NodeKind kind);
bool isFloatKind(NodeKind kind);

struct IntegerLimits {
    std::int64_t min;
    std::int64_t max;
};

/// What a node can hold by itself: registers by their length, bits and sign, others 64 bits.
IntegerLimits integerLimits(const NodeDescription& node);

} // namespace genapi
