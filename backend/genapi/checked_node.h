// One node of a map as users see it: type, access and range are checked before anything is written.
#pragma once

#include "genapi/description.h"
#include "genapi/evaluator.h"
#include "zel_err.h"
#include "zel_gen_param_api.h"

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
class CheckedNode
{
public:
    CheckedNode(Evaluator& evaluator, std::int32_t index);

    const Node& node() const { return node_; }

    /// One of ZelGenParam::kType...
    std::int32_t type() const { return type_; }
    /// Reads may answer with the value of the last read as long as nothing was written, executed or
    /// reported by the module since.
    bool isValueCached() const { return isKept_; }

    bool isAvailable() { return checkMode(genapi::isAvailable) == ZelErr::kOk; }
    bool isReadable() { return checkMode(genapi::isReadable) == ZelErr::kOk; }
    bool isWritable() { return checkMode(genapi::isWritable) == ZelErr::kOk; }

    ZelCamErr readInteger(std::int64_t* value);
    ZelCamErr writeInteger(std::int64_t value) { return write(ZelGenParam::kTypeInt, value); }
    ZelCamErr integerLimit(Bound bound, std::int64_t* value)
    {
        return limit(ZelGenParam::kTypeInt, bound, value);
    }
    ZelCamErr increment(std::int64_t* value);

    ZelCamErr readFloat(double* value);
    ZelCamErr writeFloat(double value) { return write(ZelGenParam::kTypeFloat, value); }
    ZelCamErr floatLimit(Bound bound, double* value)
    {
        return limit(ZelGenParam::kTypeFloat, bound, value);
    }
    /// Of this node, or of the next one that has a unit.
    std::string_view unit();

    ZelCamErr readBoolean(bool* value);
    ZelCamErr writeBoolean(bool value)
    {
        return write(ZelGenParam::kTypeBoolean, std::int64_t{value});
    }

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
    ZelCamErr readEntryValue(std::int64_t* value);
    ZelCamErr writeEntryValue(std::int64_t value) { return write(ZelGenParam::kTypeEnum, value); }
    ZelCamErr writeEntrySymbol(std::string_view symbol);

private:
    /// The last value that was read.
    template <class Value> struct Kept {
        Value value{};
        std::uint64_t then = 0; ///< Evaluator::now() from before the read.
    };

    ZelCamErr checkType(std::int32_t wanted) const;
    /// Begins an operation. 0 when the mode now is one of those that are `wanted`.
    ZelCamErr checkMode(bool (*wanted)(AccessMode));
    /// The same for what is available, and of this type.
    ZelCamErr checkAvailable(std::int32_t wanted);
    template <class Value> ZelCamErr write(std::int32_t wanted, Value value);
    template <class Value> ZelCamErr limit(std::int32_t wanted, Bound bound, Value* value);
    ZelCamErr commandValue(std::int64_t* value);
    AccessMode entryMode(std::size_t entry);
    /// The kept value, else what `read` gives after the checks of type and access.
    template <class Value, class Read>
    ZelCamErr readKept(std::int32_t wanted, Kept<Value>* kept, Value* value, Read read);
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
    Kept<std::int64_t> keptInteger_;
    Kept<double> keptReal_;
    Kept<std::string> keptText_;
    Kept<std::size_t> keptEntry_;
    std::vector<std::int32_t> entries_;
};

} // namespace genapi
