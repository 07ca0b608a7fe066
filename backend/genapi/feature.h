// One node of a map as users see it: access, range and type are checked before anything is written.
#pragma once

#include "genapi/description.h"
#include "genapi/engine_node.h"
#include "genapi/feature_access.h"
#include "genapi/feature_range.h"
#include "genapi/kept_value.h"
#include "zel_err.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace genapi
{

class FeatureMap;

/// The ZelGenParam::kType... of a node of this kind.
std::int32_t paramTypeOf(NodeKind kind);

/// Belongs to its map and is called under its lock. Every operation answers 0 or a code: -40202 not
/// accessible now, -40203 another type, -40204 out of range or off the increment, -40206 unknown
/// entry, codes of the source. A reader that fails leaves `*value` alone.
class Feature
{
public:
    Feature(FeatureMap& map, std::int32_t index);

    const NodeDescription& node() const { return node_; }
    FeatureMap& map() { return map_; }
    FeatureAccess& access() { return access_; }

    /// One of ZelGenParam::kType...
    std::int32_t type() const { return type_; }
    /// Reads may answer with the value of the last read as long as nothing was written, executed or
    /// reported by the module since.
    bool isValueCached() const { return isKept_; }

    ZelCamErr readInteger(std::int64_t* value);
    ZelCamErr writeInteger(std::int64_t value);
    ZelCamErr integerRange(IntegerRange* range);

    ZelCamErr readFloat(double* value);
    ZelCamErr writeFloat(double value);
    ZelCamErr floatRange(FloatRange* range);
    /// Of this node, or of the next one that has a unit.
    const std::string& unit() const;

    ZelCamErr readBoolean(bool* value);
    ZelCamErr writeBoolean(bool value);

    /// Bytes as the camera gives them, up to the first NUL.
    ZelCamErr readString(std::string* value);
    ZelCamErr writeString(std::string_view value);
    ZelCamErr maxLength(std::int32_t* length);

    ZelCamErr execute();
    ZelCamErr isDone(bool* done);

    /// Entries by their position in the description.
    std::size_t entryCount() const { return node_.entries.size(); }
    FeatureAccess& entryAccess(std::size_t entry);
    ZelCamErr readEntry(std::size_t* entry);
    ZelCamErr writeEntryValue(std::int64_t value);
    ZelCamErr writeEntrySymbol(std::string_view symbol);

private:
    ZelCamErr checkType(std::int32_t wanted) const;
    /// The kept value, else what `read` gives after the checks of type and access.
    template <class Value, class Read>
    ZelCamErr readKept(std::int32_t wanted, KeptValue<Value>* kept, Value* value, Read read);
    ZelCamErr findEntry(std::size_t* entry);
    ZelCamErr writeWhole(std::int64_t value);
    ZelCamErr writeEntry(std::size_t entry);
    bool isStoredWhole() const;
    const NodeDescription* valueNode() const;

    FeatureMap& map_;
    const NodeDescription& node_;
    std::int32_t type_;
    EngineNode engine_;
    FeatureAccess access_;
    FeatureRange range_;
    bool isKept_;
    KeptValue<std::int64_t> keptInteger_;
    KeptValue<double> keptReal_;
    KeptValue<std::string> keptText_;
    KeptValue<std::size_t> keptEntry_;
    std::vector<EngineNode> copies_;
    std::vector<std::unique_ptr<FeatureAccess>> entries_;
};

} // namespace genapi
