// Works out what the nodes of a description are over the registers of a module.
#pragma once

#include "genapi/description.h"
#include "genapi/formula.h"
#include "genapi/port_router.h"
#include "zel_err.h"

#include <array>
#include <cstdint>
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
/// -40201.
///
/// Registers that may be cached are read once until something was written, executed or reported
/// anywhere in the process (ChangeCount), which makes every invalidator true; all others once in
/// each operation. A polled register counts as one that may not be cached.
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

    /// The mode now. -1014 where a port has no data, codes of conditions that cannot be read.
    ZelCamErr access(std::int32_t node, AccessMode* mode);

    /// 0 or -40202; codes of access().
    ZelCamErr checkWritable(std::int32_t node);

    /// The value as a whole number: floats are rounded, booleans are 0 and 1, enumerations the
    /// number of an entry. What a formula or a register below forbids is
    /// refused, predicates are not asked: access() is.
    ZelCamErr readInteger(std::int32_t node, std::int64_t* value);
    ZelCamErr readReal(std::int32_t node, double* value);
    /// Bytes as the camera gives them, up to the first NUL.
    ZelCamErr readText(std::int32_t node, std::string* value);

    /// Checks access and range of this node and of every node that the value is passed to, then
    /// writes. Enumerations take the number of an available entry, booleans 0 and 1.
    ZelCamErr writeInteger(std::int32_t node, std::int64_t value);
    /// NaN is out of every range. Registers of whole numbers take the nearest.
    ZelCamErr writeReal(std::int32_t node, double value);
    ZelCamErr writeText(std::int32_t node, std::string_view value);

    ZelCamErr integerLimit(std::int32_t node, Bound bound, std::int64_t* value);
    ZelCamErr realLimit(std::int32_t node, Bound bound, double* value);
    /// As the description gives it; below 1 it limits nothing.
    ZelCamErr increment(std::int32_t node, std::int64_t* value);
    /// Bytes of a text; 2^31 - 1 where nothing limits it.
    ZelCamErr maxLength(std::int32_t node, std::int64_t* length);

    /// The value of a link: its own, or that of the node that it names.
    ZelCamErr readInteger(const Link& link, std::int64_t* value);
    ZelCamErr readReal(const Link& link, double* value);

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
    };

    /// What was read of a register of at most 8 bytes.
    struct Cell {
        std::uint64_t change = 0;    ///< ChangeCount from before the read.
        std::uint64_t operation = 0; ///< The operation that read it.
        Place place;
        std::array<std::uint8_t, 8> bytes{};
    };

    struct KnownAccess {
        std::uint64_t operation = 0;
        ZelCamErr code = 0;
        AccessMode mode = AccessMode::kAll;
    };

    const Node& at(std::int32_t node) const { return description_.at(node); }
    /// What was written may change everything, whether it was accepted or not.
    void forget();

    ZelCamErr findAccess(const Node& node, AccessMode* mode);
    ZelCamErr ownAccess(const Node& node, AccessMode* mode);
    ZelCamErr valueAccess(const Node& node, AccessMode* mode);
    ZelCamErr entriesAccess(const Node& node, AccessMode* mode);
    ZelCamErr inputAccess(const Node& node, AccessMode* mode);
    ZelCamErr needInput(std::int32_t target, AccessMode* mode);
    ZelCamErr askCondition(const Link& link, AccessMode* mode, bool* isSet);

    ZelCamErr findPlace(const Node& node, Place* place);
    ZelCamErr findPlaceToWrite(const Node& node, Place* place);
    ZelCamErr readCell(const Node& node, const Place& place, std::uint8_t* bytes);
    ZelCamErr readWord(const Node& node, Place* place, std::uint64_t* word);
    ZelCamErr writeBytes(const Place& place, const void* bytes);
    ZelCamErr writeWord(const Node& node, const Place& place, std::uint64_t word);
    bool isBigEndian(const Node& node, const Place& place) const;
    ZelCamErr readIntegerRegister(const Node& node, std::int64_t* value);
    ZelCamErr writeIntegerRegister(const Node& node, std::int64_t value);
    ZelCamErr readRealRegister(const Node& node, double* value);
    ZelCamErr writeRealRegister(const Node& node, double value);

    ZelCamErr readTextRegister(const Place& place, std::string* value);

    /// An enumeration's number is an entry's; while verifying an integer is inside its range.
    ZelCamErr checkRead(std::int32_t node, std::int64_t value);
    ZelCamErr readBoolean(const Node& node, std::int64_t* value);
    ZelCamErr readVariable(const Link& link, std::int64_t* value);
    ZelCamErr readVariable(const Link& link, double* value);
    /// `isTo` runs FormulaTo. Without `argument` the formula reads what it needs.
    ZelCamErr calculate(const Node& node, bool isTo, const double* argument, double* value);
    ZelCamErr calculate(const Node& node, bool isTo, const std::int64_t* argument,
                        std::int64_t* value);
    const Formula* formulaOf(const Node& node, bool isTo);

    ZelCamErr checkRange(std::int32_t node, std::int64_t value);
    ZelCamErr checkRange(std::int32_t node, double value);
    ZelCamErr checkEntry(const Node& node, std::int64_t value);
    ZelCamErr checkErrors(const Node& node);
    ZelCamErr storeInteger(const Node& node, std::int64_t value);
    ZelCamErr storeReal(const Node& node, double value);
    template <class Value> ZelCamErr storeLinks(const Node& node, Value value);
    ZelCamErr writeLink(Link* link, std::int64_t value);
    ZelCamErr writeLink(Link* link, double value);
    ZelCamErr converterLimit(const Node& node, Bound bound, std::int64_t* value);
    ZelCamErr converterLimit(const Node& node, Bound bound, double* value);

    Description description_;
    PortRouter router_;
    const bool countsOnNetworkOrder_;
    std::vector<Cell> cells_; ///< By Node::cell.
    std::vector<KnownAccess> known_;
    std::unordered_map<const Link*, Formula> formulas_;
    std::unordered_map<const Link*, std::string> heldTexts_;
    std::uint64_t operation_ = 1;
    std::uint32_t depth_ = 0;
    std::uint32_t steps_ = 0;
    bool isVerifying_ = false; ///< What leads to the place of a write has to be in its range.
};

} // namespace genapi
