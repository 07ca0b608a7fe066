// Works out what the nodes of a description are over the registers of a module.
#pragma once

#include "genapi/change_count.h"
#include "genapi/dependents.h"
#include "genapi/description.h"
#include "genapi/formula.h"
#include "genapi/port_router.h"
#include "zel_err.h"

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace genapi
{

enum class Bound : std::uint8_t { kMin, kMax };

/// Called under the lock of its map. Nodes are indices into the description. Every operation
/// answers 0 or a code: -40200 an evaluation that gives no number, -40201 a node that has no such
/// value or a formula that is none, -40202 not accessible, -40204 out of range or off the
/// increment, -40206 a number that is no entry; codes of the source and of ports without data pass
/// through. A reader that fails leaves `*value` undefined. Chains that meet themselves end with
/// -40201. `Value` is std::int64_t or double.
///
/// What may be kept (see Dependents) is read once until something was written in this map that it
/// depends on, or anything was changed elsewhere in the process (ChangeCount); all else once in
/// each operation.
class Evaluator
{
public:
    Evaluator(FeatureSource& source, Description description);

    const Description& description() const { return description_; }
    PortRouter& router() { return router_; }

    /// Begins an operation of a user: what only one operation may keep is forgotten.
    void begin()
    {
        ++operation_;
        steps_ = 0;
    }
    /// The camera may have changed anything: nothing that was kept holds.
    void forget() { forgotten_ = ++changes_; }

    bool mayKeep(std::int32_t node, Part part) const { return dependents_.mayKeep(node, part); }
    /// The present, to be taken before a read whose result is kept. Never 0.
    std::uint64_t now()
    {
        const std::uint64_t elsewhere = ChangeCount::now();
        if (elsewhere != elsewhere_) {
            elsewhere_ = elsewhere;
            forget();
        }
        return changes_;
    }
    /// True when what was read of a node at `then` still holds.
    bool holds(std::int32_t node, Part part, std::uint64_t then)
    {
        now();
        return then >= forgotten_ && then >= changed_[Dependents::placeOf(node, part)];
    }

    /// The mode now. -1014 where a port has no data, codes of conditions that cannot be read.
    ZelCamErr access(std::int32_t node, AccessMode* mode);

    /// 0 or -40202; codes of access(). A condition that has no value (it counts on an entry that
    /// the description does not know, say) forbids nothing: the device has the last word.
    ZelCamErr checkWritable(std::int32_t node);

    /// The value as a number of either kind: whole numbers of floats are rounded, booleans are 0
    /// and 1, enumerations the number of an entry. What a formula or a register below forbids is
    /// refused, predicates are not asked: access() is.
    template <class Value> ZelCamErr read(std::int32_t node, Value* value);
    /// Bytes as the camera gives them, up to the first NUL.
    ZelCamErr readText(std::int32_t node, std::string* value);

    /// Checks access and range of this node and of every node that the value is passed to, then
    /// writes. Enumerations take the number of an available entry, booleans 0 and 1. NaN is out of
    /// every range. Registers of whole numbers take the nearest.
    template <class Value> ZelCamErr write(std::int32_t node, Value value);
    ZelCamErr writeText(std::int32_t node, std::string_view value);

    template <class Value> ZelCamErr limit(std::int32_t node, Bound bound, Value* value);
    /// As the description gives it; below 1 it limits nothing.
    ZelCamErr increment(std::int32_t node, std::int64_t* value);
    /// Bytes of a text; 2^31 - 1 where nothing limits it.
    ZelCamErr maxLength(std::int32_t node, std::int64_t* length);

    /// The value of a link: its own, or that of the node that it names.
    template <class Value> ZelCamErr read(const Link& link, Value* value);

    /// The link that holds the value of a node now: of several ones the index chooses.
    ZelCamErr valueLink(const Node& node, Link** link);

private:
    class Level;
    class Variables;

    /// Where a register is now.
    struct Place {
        std::int32_t overlay = -1;
        std::uint64_t address = 0;
        std::size_t length = 0;

        bool operator==(const Place& other) const
        {
            return overlay == other.overlay && address == other.address && length == other.length;
        }
    };

    /// What was read of a register of at most 8 bytes.
    struct Cell {
        std::uint64_t then = 0;      ///< now() from before the read.
        std::uint64_t operation = 0; ///< The operation that read it.
        Place place;
        std::array<std::uint8_t, 8> bytes{};
    };

    /// The value of a node in its own arithmetic.
    struct KnownValue {
        std::uint64_t then = 0; ///< now() from before it was read; 0: not known.
        std::int64_t integer = 0;
        double real = 0.0;
    };

    struct KnownAccess {
        std::uint64_t then = 0; ///< 0: for the operation only.
        std::uint64_t operation = 0;
        ZelCamErr code = 0;
        AccessMode mode = AccessMode::kAll;
        bool isOpen = false; ///< Being worked out.
    };

    const Node& at(std::int32_t node) const { return description_.at(node); }
    std::int32_t indexOf(const Node& node) const
    {
        return static_cast<std::int32_t>(&node - description_.nodes.data());
    }
    std::string_view textAt(std::int32_t text) const
    {
        return description_.texts[static_cast<std::size_t>(text)];
    }
    /// Something was written, whether it was accepted or not: what depends on it is old, and all
    /// that other maps keep.
    void changed(std::int32_t node);
    void makeOld(std::int32_t node);
    void makeOldAround(const Place& place);
    Cell& cellAt(std::int32_t cell);
    void remember(std::int32_t cell, const Place& place);

    ZelCamErr findAccess(const Node& node, AccessMode* mode);
    ZelCamErr ownAccess(const Node& node, AccessMode* mode);
    ZelCamErr valueAccess(const Node& node, AccessMode* mode);
    ZelCamErr entriesAccess(const Node& node, AccessMode* mode);
    ZelCamErr inputAccess(const Node& node, AccessMode* mode);
    ZelCamErr needInput(std::int32_t target, AccessMode* mode);
    ZelCamErr askCondition(const Link& link, AccessMode* mode, bool* isSet);

    ZelCamErr lengthOf(const Node& node, std::int64_t* length);
    ZelCamErr findPlace(const Node& node, Place* place);
    ZelCamErr findPlaceToWrite(const Node& node, Place* place);
    ZelCamErr readCell(const Node& node, const Place& place, std::uint8_t* bytes);
    ZelCamErr readWord(const Node& node, Place* place, std::uint64_t* word);
    ZelCamErr writeBytes(const Node& node, const Place& place, const void* bytes);
    ZelCamErr writeWord(const Node& node, const Place& place, std::uint64_t word);
    bool isBigEndian(const Node& node, const Place& place) const;
    ZelCamErr readRegister(const Node& node, std::int64_t* value);
    ZelCamErr readRegister(const Node& node, double* value);
    ZelCamErr writeRegister(const Node& node, std::int64_t value);
    ZelCamErr writeRegister(const Node& node, double value);
    ZelCamErr registerLimit(const Node& node, Bound bound, std::int64_t* value);
    ZelCamErr registerLimit(const Node& node, Bound bound, double* value);
    ZelCamErr readTextRegister(const Node& node, std::string* value);

    /// The value in the arithmetic of the node itself, kept or worked out.
    template <class Value> ZelCamErr readOwn(std::int32_t node, Value* value);
    template <class Value> ZelCamErr findValue(std::int32_t node, Value* value);
    /// An enumeration's number is an entry's; while verifying an integer is inside its range.
    ZelCamErr checkRead(std::int32_t node, std::int64_t value);
    ZelCamErr checkEntryRead(const Node& node, std::int64_t value, double* numeric);
    ZelCamErr readBoolean(const Node& node, std::int64_t* value);
    template <class Value> ZelCamErr readVariable(const Link& link, Value* value);
    /// `isTo` runs FormulaTo. Without `argument` the formula reads what it needs.
    template <class Value>
    ZelCamErr calculate(const Node& node, bool isTo, const Value* argument, Value* value);
    const Formula* formulaOf(const Node& node, bool isTo);
    void compile(const Node& node, const Link& link, bool isTo, Formula* formula) const;

    template <class Value> ZelCamErr checkRange(std::int32_t node, Value value);
    ZelCamErr checkStep(std::int32_t node, std::int64_t value, std::int64_t min);
    ZelCamErr checkStep(std::int32_t node, double value, double min);
    ZelCamErr checkEntry(const Node& node, std::int64_t value);
    ZelCamErr checkErrors(const Node& node);
    template <class Value> ZelCamErr store(const Node& node, Value value);
    template <class Value> ZelCamErr storeConverted(const Node& node, Value value);
    template <class Value> ZelCamErr storeLinks(const Node& node, Value value);
    template <class Value> ZelCamErr writeLink(const Node& node, Link* link, Value value);
    template <class Value> ZelCamErr converterLimit(const Node& node, Bound bound, Value* value);

    Description description_;
    PortRouter router_;
    Dependents dependents_;
    const bool countsOnNetworkOrder_;
    std::vector<std::int32_t> cellOf_; ///< Index into cells_, by Node::cell; -1: not used yet.
    std::deque<Cell> cells_;           ///< Most registers are never looked at.
    /// Cells by the blocks of the device's memory that they were read from.
    std::unordered_map<std::uint64_t, std::vector<std::int32_t>> cellsAt_;
    std::vector<KnownAccess> known_;
    std::vector<KnownValue> values_;
    std::unordered_map<const Link*, Formula> formulas_;
    std::unordered_map<const Link*, std::string> heldTexts_;
    std::vector<std::uint64_t> changed_; ///< When, by place of Dependents.
    std::uint64_t changes_ = 1;
    std::uint64_t forgotten_ = 1; ///< When all became old at once.
    std::uint64_t elsewhere_ = 0; ///< ChangeCount without what this map changed.
    std::uint64_t operation_ = 1;
    std::uint64_t circles_ = 0; ///< How often access() met a node that it was working out.
    std::uint32_t depth_ = 0;
    std::uint32_t steps_ = 0;
    bool isVerifying_ = false; ///< What leads to the place of a write has to be in its range.
};

/// Counts one step down a chain of nodes for the scope. Real cameras stay below 20 levels; formulas
/// take more of the stack.
class Evaluator::Level
{
public:
    explicit Level(Evaluator& evaluator, std::uint32_t cost = 1)
        : evaluator_(evaluator), cost_(cost)
    {
        evaluator_.depth_ += cost_;
        ++evaluator_.steps_;
    }
    ~Level() { evaluator_.depth_ -= cost_; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

    bool isTooDeep() const
    {
        constexpr std::uint32_t kMaxDepth = 400;
        constexpr std::uint32_t kMaxSteps = 100000;
        return evaluator_.depth_ > kMaxDepth || evaluator_.steps_ > kMaxSteps;
    }

private:
    Evaluator& evaluator_;
    const std::uint32_t cost_;
};

} // namespace genapi
