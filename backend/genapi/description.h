// The model of a GenICam description: nodes, and the links between them, in flat arrays.
#pragma once

#include "genapi/name_index.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace genapi
{

/// Bytes of the longest text that a register can hold; a description that says more is mistaken.
constexpr std::size_t kMaxTextRegister = std::size_t{1} << 20U;

/// Element names that make a node. Kinds of whole numbers stand together, and those of floats.
enum class NodeKind : std::uint8_t {
    kOther, ///< A node without a value for us: Node, ConfRom, IntKey, StructReg itself ...
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
    kRegister,
    kBoolean,
    kCommand,
    kEnumeration,
    kEnumEntry,
    kPort,
};

/// What an element says about its node: a reference to another node, or a value of its own.
enum class LinkKind : std::uint8_t {
    kValue, ///< Value or pValue.
    kValueCopy,
    kValueIndexed, ///< ValueIndexed or pValueIndexed; `extra` is the index.
    kValueDefault,
    kIndex,   ///< pIndex; of registers `extra` is pOffset's node, the number is Offset.
    kAddress, ///< Address, pAddress, or a formula inside the register.
    kLength,
    kVariable,   ///< pVariable; `text` is its name.
    kConstant,   ///< `text` is its name, the number its value.
    kExpression, ///< `text` is its name, the text after it the formula.
    kFormula,    ///< Formula or FormulaFrom: what reading computes; `text` is the formula.
    kFormulaTo,  ///< What writing computes.
    kMin,
    kMax,
    kIncrement,
    kValidValue,
    kNumericValue, ///< Of an entry: what its enumeration is as a float.
    kCommandValue,
    kOnValue,
    kOffValue,
    kImplemented,
    kAvailable,
    kLocked,
    kError,
    kPort,
    kChunkId,
    kFeature,
    kSelected,
    kEntry,
    kInvalidator,
    kOther, ///< Must exist, means nothing to us: pAlias, pCastAlias ...
};

/// Kinds of links as a set of bits.
template <class... Kinds> constexpr std::uint32_t setOf(Kinds... kinds)
{
    static_assert(static_cast<unsigned>(LinkKind::kOther) < 32);
    return ((std::uint32_t{1} << static_cast<unsigned>(kinds)) | ...);
}

/// What of the target a variable asks for.
enum class Aspect : std::uint8_t {
    kValue,
    kMin,
    kMax,
    kIncrement,
    kAccessMode,
    kVisibility,
    kCachingMode,
    kEntry, ///< `extra` is the node of the entry.
};

enum class Slope : std::uint8_t { kAutomatic, kIncreasing, kDecreasing, kVarying };

/// In the order of the numbers that formulas see.
enum class AccessMode : std::uint8_t {
    kNotImplemented,
    kNotAvailable,
    kWriteOnly,
    kReadOnly,
    kAll
};

constexpr bool isReadable(AccessMode mode) { return mode >= AccessMode::kReadOnly; }
constexpr bool isWritable(AccessMode mode)
{
    return mode == AccessMode::kWriteOnly || mode == AccessMode::kAll;
}
constexpr bool isAvailable(AccessMode mode) { return mode > AccessMode::kNotAvailable; }

/// The mode of a node that two conditions apply to.
AccessMode combine(AccessMode left, AccessMode right);

struct Link {
    LinkKind kind = LinkKind::kOther;
    Aspect aspect = Aspect::kValue;
    bool hasNumber = false;
    std::int32_t target = -1; ///< Index into Description::nodes; -1: a value of its own.
    std::int32_t extra = -1;
    std::int32_t text = -1; ///< Index into Description::texts.
    /// The value both ways: integers beyond 2^53 keep theirs. Writing a node without registers
    /// changes it.
    std::int64_t integer = 0;
    double real = 0.0;

    /// As std::int64_t or double.
    template <class Value> Value number() const
    {
        if constexpr (std::is_same_v<Value, double>)
            return real;
        else
            return integer;
    }
};

struct Node {
    std::string_view name; ///< Empty for a formula written inside a register.
    std::string_view displayName;
    std::string_view toolTip;
    std::string_view text;
    std::string_view unit;
    std::uint32_t firstLink = 0;
    std::uint32_t linkCount = 0;
    std::uint32_t linkKinds = 0; ///< The kinds that its links are of.
    std::int32_t cell = -1;    ///< Nodes with one cell share what was read: entries of a StructReg.
    std::int32_t overlay = -1; ///< Port: index into Description::overlays; -1: the device.
    std::int64_t length = 0;   ///< Bytes of a register; 0: given by a link.
    NodeKind kind = NodeKind::kOther;
    AccessMode accessMode = AccessMode::kReadOnly; ///< Of registers.
    AccessMode imposedAccess = AccessMode::kAll;
    Slope slope = Slope::kAutomatic;
    std::uint8_t visibility = 0;
    std::uint8_t caching = 1; ///< 0 NoCache, 1 WriteThrough, 2 WriteAround.
    std::uint8_t lowBit = 0;  ///< Of masked registers, as written; the order varies.
    std::uint8_t highBit = 0;
    bool isRegister = false;
    bool isStreamable = false;
    bool isPolled = false;
    bool isSelfClearing = true;
    bool isSigned = false;
    bool isBigEndian = false;
    bool isFeature = false; ///< Reachable from the root category.
    bool hasVisibility = false;
    bool isBroken = false; ///< What it says makes no sense: not implemented.
};

/// A port that shows the bytes of an event or of a chunk instead of the device's registers.
struct Overlay {
    bool isEvent = false; ///< Else a chunk.
    bool hasId = false;   ///< False where the id is no number of 64 bits: nothing fits it.
    std::uint64_t id = 0;
    std::int32_t idNode = -1; ///< A node that holds the id.
};

/// Everything that one description says. Structure and names never change once made.
class Description
{
public:
    /// A range of links for loops.
    template <class Each> struct Range {
        Each* first;
        Each* last;
        Each* begin() const { return first; }
        Each* end() const { return last; }
    };

    Description() = default;
    Description(Description&&) = default;
    Description& operator=(Description&&) = default;
    Description(const Description&) = delete;
    Description& operator=(const Description&) = delete;

    const Node& at(std::int32_t node) const { return nodes[static_cast<std::size_t>(node)]; }
    Node& at(std::int32_t node) { return nodes[static_cast<std::size_t>(node)]; }
    Range<Link> linksOf(const Node& node)
    {
        Link* const first = links.data() + node.firstLink;
        return {first, first + node.linkCount};
    }
    Range<const Link> linksOf(const Node& node) const
    {
        const Link* const first = links.data() + node.firstLink;
        return {first, first + node.linkCount};
    }
    /// Its links, or none when none is of these kinds.
    Range<Link> linksOf(const Node& node, std::uint32_t kinds)
    {
        Link* const first = links.data() + node.firstLink;
        return {first, (node.linkKinds & kinds) != 0 ? first + node.linkCount : first};
    }
    /// The first link of a kind, or null.
    Link* find(const Node& node, LinkKind kind)
    {
        return (node.linkKinds & setOf(kind)) != 0 ? findKind(node, kind) : nullptr;
    }
    const Link* find(const Node& node, LinkKind kind) const
    {
        return const_cast<Description*>(this)->find(node, kind);
    }
    /// Target of the first link of a kind; -1 without one.
    std::int32_t target(const Node& node, LinkKind kind) const;
    /// The node of a name; -1 without one.
    std::int32_t named(std::string_view name) const { return byName.find(name, nodes); }
    /// Nodes of the entries of an enumeration, in order.
    std::vector<std::int32_t> entriesOf(const Node& node) const;
    /// Copies the texts and names that are views of the document, which is not needed any more.
    void keepTexts();

    std::vector<Node> nodes;
    std::vector<Link> links;
    std::vector<std::string_view> texts;
    NameIndex byName; ///< Entries of enumerations are not in it.
    std::vector<Overlay> overlays;
    std::int32_t root = -1;       ///< The category "Root".
    bool marksStreamable = false; ///< Some node says whether it is streamable.
    bool isOldSchema = false;     ///< Below 1.1.

    Link* findKind(const Node& node, LinkKind kind);

    std::vector<char> kept;         ///< What the views of texts and names point into.
    std::deque<std::string> joined; ///< Texts that stand nowhere in one piece, while it is read.
};

/// Kinds whose value is a whole number, enumerations and booleans left out.
constexpr bool isIntegerKind(NodeKind kind)
{
    return kind >= NodeKind::kInteger && kind <= NodeKind::kIntConverter;
}
constexpr bool isFloatKind(NodeKind kind)
{
    return kind >= NodeKind::kFloat && kind <= NodeKind::kConverter;
}
constexpr bool isFormulaKind(NodeKind kind)
{
    return kind == NodeKind::kIntSwissKnife || kind == NodeKind::kIntConverter ||
           kind == NodeKind::kSwissKnife || kind == NodeKind::kConverter;
}

} // namespace genapi
