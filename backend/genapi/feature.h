// One node of a map as users see it: type, access and range are checked before anything is written.
#pragma once

#include "genapi/description.h"
#include "genapi/evaluator.h"
#include "genapi/kept_value.h"
#include "zel_err.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace genapi
{

/// The ZelGenParam::kType... of a node of this kind.
std::int32_t paramTypeOf(NodeKind kind);

/// Belongs to its map and is called under its lock. Every operation answers 0 or a code: -40202 not
/// accessible now, -40203 another type, -40204 out of range or off the increment, -40206 unknown
/// entry, the other codes of an Evaluator. A reader that fails leaves `*value` alone.
class Feature
{
public:
    Feature(Evaluator& evaluator, std::int32_t index);

    const Node& node() const { return node_; }

    /// One of ZelGenParam::kType...
    std::int32_t type() const { return type_; }
    /// Reads may answer with the value of the last read as long as nothing was written, executed or
    /// reported by the module since.
    bool isValueCached() const { return isKept_; }

    bool isAvailable() { return checkAvailable() == ZelErr::kOk; }
    bool isReadable() { return checkReadable() == ZelErr::kOk; }
    bool isWritable();

    ZelCamErr readInteger(std::int64_t* value);
    ZelCamErr writeInteger(std::int64_t value);
    ZelCamErr integerLimit(Bound bound, std::int64_t* value);
    ZelCamErr increment(std::int64_t* value);

    ZelCamErr readFloat(double* value);
    ZelCamErr writeFloat(double value);
    ZelCamErr floatLimit(Bound bound, double* value);
    /// Of this node, or of the next one that has a unit.
    std::string_view unit();

    ZelCamErr readBoolean(bool* value);
    ZelCamErr writeBoolean(bool value);

    /// Bytes as the camera gives them, up to the first NUL.
    ZelCamErr readString(std::string* value);
    ZelCamErr writeString(std::string_view value);
    ZelCamErr maxLength(std::int32_t* length);

    ZelCamErr execute();
    ZelCamErr isDone(bool* done);

    /// Entries by their position in the description.
    std::size_t entryCount() const { return entries_.size(); }
    const Node& entry(std::size_t entry) const;
    std::int64_t entryValue(std::size_t entry) const;
    bool isEntryImplemented(std::size_t entry);
    bool isEntryAvailable(std::size_t entry);
    ZelCamErr readEntry(std::size_t* entry);
    ZelCamErr writeEntryValue(std::int64_t value);
    ZelCamErr writeEntrySymbol(std::string_view symbol);

private:
    ZelCamErr checkType(std::int32_t wanted) const;
    ZelCamErr checkAvailable();
    ZelCamErr checkReadable();
    ZelCamErr checkRanged(std::int32_t wanted);
    AccessMode entryMode(std::size_t entry);
    /// The kept value, else what `read` gives after the checks of type and access.
    template <class Value, class Read>
    ZelCamErr readKept(std::int32_t wanted, KeptValue<Value>* kept, Value* value, Read read);
    ZelCamErr findEntry(std::size_t* entry);
    ZelCamErr writeEntry(std::size_t entry);
    bool canTellDone();

    Evaluator& evaluator_;
    const Node& node_;
    const std::int32_t index_;
    const std::int32_t type_;
    const bool isKept_;
    bool isFinished_ = false; ///< The command was seen to be done.
    /// The entry that the camera takes back by itself, and may not have yet; -1: none.
    std::int32_t clearing_ = -1;
    KeptValue<std::int64_t> keptInteger_;
    KeptValue<double> keptReal_;
    KeptValue<std::string> keptText_;
    KeptValue<std::size_t> keptEntry_;
    std::vector<std::int32_t> entries_;
};

} // namespace genapi
