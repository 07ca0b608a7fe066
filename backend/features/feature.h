// One GenICam feature: what the description says about it and what its registers do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace features
{

/// Value of a feature: integers, booleans (0, 1), enumerations (entry value) and commands (1 while
/// executing) are int64; floats are double; text is string.
using FeatureValue = std::variant<std::int64_t, double, std::string>;

/// Memory: bytes at an address that the owner of the table serves.
enum class FeatureType { Category, Integer, Float, Boolean, Enumeration, String, Command, Memory };
enum class Visibility { Beginner, Expert, Guru, Invisible };
enum class Access { ReadOnly, WriteOnly, ReadWrite };

struct IntLimits {
    std::int64_t min;
    std::int64_t max;
    std::int64_t increment = 1;
};

struct FloatLimits {
    double min;
    double max;
};

/// Words of descriptions (tool tips, units ...) live as long as the program: literals, or
/// base::intern().
using Words = const char*;

struct EnumEntry {
    std::string name;
    std::int64_t value;
    Words toolTip;
    std::function<bool()> available; ///< Empty: always.
};

/// A feature of a FeatureTable, described by chained calls right after it was added:
///
///     table.integer("Width", "Width of the image.").unit("px").value(640)
///          .limits([this](std::size_t) { return widthLimits(); }).streamable();
///
/// Every setter must be called before the table is finished, except value changes. `index` in hooks
/// is the value of the selector (0 without one). Hooks run inside FeatureTable::read() and write(),
/// on the caller's thread under whatever lock the caller holds; they may read and set features of
/// the same table, not write its registers.
class Feature
{
public:
    Feature(FeatureType type, std::string name, Words toolTip);

    // What the description says.
    Feature& describe(std::string text) { return makeRare().description = std::move(text), *this; }
    Feature& displayName(Words text) { return displayName_ = text, *this; }
    Feature& unit(Words text) { return unit_ = text, *this; }
    /// Linear, Logarithmic, PureNumber, HexNumber, IPV4Address, MACAddress.
    Feature& representation(Words text) { return representation_ = text, *this; }
    Feature& expert() { return visibility_ = Visibility::Expert, *this; }
    Feature& guru() { return visibility_ = Visibility::Guru, *this; }
    Feature& invisible() { return visibility_ = Visibility::Invisible, *this; }
    Feature& readOnly() { return access_ = Access::ReadOnly, *this; }
    /// The value belongs into configuration files and user sets.
    Feature& streamable() { return streamable_ = true, *this; }
    /// One value per value of `selector` (an enumeration or integer whose values are 0 to
    /// count - 1).
    Feature& selectedBy(std::string selector, std::size_t count);
    /// The value belongs to those of these selectors, in registers that do not tell them apart: the
    /// hooks look at the selectors.
    Feature& shownBy(std::vector<std::string> selectors)
    {
        return makeRare().shownBy = std::move(selectors), *this;
    }
    Feature& entry(std::string name, std::int64_t value, Words toolTip,
                   std::function<bool()> available = {});

    // Ranges; outside is refused with -1019. The function form gives the range registers of its own
    // and may depend on other features.
    Feature& range(std::int64_t min, std::int64_t max, std::int64_t increment = 1);
    Feature& range(double min, double max);
    Feature& limits(std::function<IntLimits(std::size_t index)> limits);
    Feature& limits(std::function<FloatLimits(std::size_t index)> limits);

    // Registers.
    /// Integers: 8 (signed) by default, or 4 (unsigned). Strings: capacity; a text that fills it
    /// has no closing NUL.
    Feature& bytes(std::uint32_t count) { return length_ = count, *this; }
    /// The register holds value times `factor` as an integer; a Converter makes it a float again.
    Feature& scaledBy(double factor) { return scale_ = factor, *this; }
    /// An integer without register: a formula (IntSwissKnife) over variables, each {name in the
    /// formula, feature}. Read only.
    Feature& formula(std::string text, std::vector<std::pair<std::string, std::string>> variables);
    /// An integer without register: always this value. Read only.
    Feature& constant(std::int64_t value);
    /// A read-only feature at `address` of an event or chunk port instead of the module's own.
    Feature& inPort(std::string port, std::uint64_t address, bool littleEndian = false);
    /// Unavailable features answer -1005.
    Feature& availableIf(std::function<bool()> test) { return available_ = std::move(test), *this; }
    /// Locked features are readable and answer -1005 to writes.
    Feature& lockedIf(std::function<bool()> test) { return locked_ = std::move(test), *this; }

    // Behaviour.
    /// Start value of all indices.
    Feature& value(const FeatureValue& value);
    /// Computes the value on every read instead of giving the stored one.
    Feature& onRead(std::function<FeatureValue(std::size_t index)> hook);
    /// Asked before a value that passed range and access is stored; a code other than 0 refuses it.
    Feature& onWrite(std::function<std::int32_t(std::size_t index, const FeatureValue&)> hook);
    /// Told after a value was stored by a register write.
    Feature& onChange(std::function<void(std::size_t index)> hook);
    /// Runs a command; its code is the result of the register write.
    Feature& onExecute(std::function<std::int32_t(std::size_t index)> hook);
    /// The value changes without being written: a counter that runs, say. Those with onRead() do so
    /// anyway; values of all others may be kept by readers until they, or something that changes
    /// others, are written.
    Feature& changesByItself() { return changing_ = true, *this; }
    /// Writing it changes values or limits of other features: readers that keep those read them
    /// again. Not needed for selectors, commands, and what is computed on every read.
    Feature& changesOthers() { return changesOthers_ = true, *this; }
    /// The limits depend on nothing but these features and those that change others: readers may
    /// keep them until then.
    Feature& limitedBy(std::vector<std::string> features)
    {
        keepsLimits_ = true;
        makeRare().limitedBy = std::move(features);
        return *this;
    }
    /// A command that is still executing after its write returned. Without it commands are done at
    /// once.
    Feature& busyWhile(std::function<bool()> test)
    {
        return makeRare().busy = std::move(test), *this;
    }

    // Values, for the owner of the table: no range and access checks, no write hooks.
    std::int64_t integer(std::size_t index = 0) const;
    double real(std::size_t index = 0) const;
    const std::string& text(std::size_t index = 0) const;
    FeatureValue current(std::size_t index = 0) const; ///< With onRead().
    const FeatureValue& stored(std::size_t index = 0) const { return values_.at(index); }
    void set(FeatureValue value, std::size_t index = 0);

    const std::string& name() const { return name_; }
    FeatureType type() const { return type_; }
    std::size_t count() const { return values_.size(); }
    bool isStreamable() const { return streamable_; }
    bool isAvailable() const { return !available_ || available_(); }
    bool isLocked() const { return locked_ && locked_(); }
    Access access() const { return access_; }
    IntLimits intLimits(std::size_t index) const;
    FloatLimits floatLimits(std::size_t index) const;
    /// Range, increment, existing and available entry, length: 0, or -1019.
    std::int32_t check(const FeatureValue& value, std::size_t index) const;

private:
    friend class FeatureTable;
    friend class FeatureXml;

    /// What few features have. A camera has hundreds of them, and each camera its own.
    struct Rare {
        std::string description;
        std::vector<std::string> limitedBy;
        std::vector<std::string> shownBy;
        std::vector<std::string> children; ///< Categories: names of their features.
        std::string formula;
        std::vector<std::pair<std::string, std::string>> variables;
        std::string port;
        bool littleEndian = false;
        std::function<std::int32_t(std::size_t)> onExecute;
        std::function<bool()> busy;
    };
    Rare& makeRare();
    /// All of it empty when it has none of it.
    const Rare& rare() const;

    FeatureType type_;
    std::string name_;
    Words toolTip_;
    Words displayName_ = "";
    Words unit_ = "";
    Words representation_ = "";
    Visibility visibility_ = Visibility::Beginner;
    Access access_ = Access::ReadWrite;
    bool streamable_ = false;
    bool changing_ = false;
    bool changesOthers_ = false;
    bool keepsLimits_ = false;
    std::string selector_;
    std::vector<EnumEntry> entries_;
    std::unique_ptr<Rare> rare_;

    bool hasRange_ = false;
    IntLimits intRange_;
    FloatLimits floatRange_;
    std::function<IntLimits(std::size_t)> intLimits_;
    std::function<FloatLimits(std::size_t)> floatLimits_;

    std::uint32_t length_ = 0;
    double scale_ = 0.0;
    bool constant_ = false;
    std::uint64_t address_ = 0; ///< Of the block of registers of index 0.
    std::uint64_t stride_ = 0;  ///< From one index to the next.
    std::function<bool()> available_;
    std::function<bool()> locked_;

    std::vector<FeatureValue> values_;
    std::function<FeatureValue(std::size_t)> onRead_;
    std::function<std::int32_t(std::size_t, const FeatureValue&)> onWrite_;
    std::function<void(std::size_t)> onChange_;
};

} // namespace features
