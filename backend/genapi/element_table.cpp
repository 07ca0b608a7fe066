#include "genapi/element_table.h"

namespace genapi
{

namespace
{

using Kind = NodeKind;
using Link = LinkKind;

/// What an element is, by its name.
template <class Meaning> struct Row {
    std::string_view tag;
    Meaning meaning;
};

constexpr Row<Kind> kNodes[] = {
    {"AdvFeatureLock", Kind::kOther},
    {"Boolean", Kind::kBoolean},
    {"Category", Kind::kCategory},
    {"Command", Kind::kCommand},
    {"ConfRom", Kind::kOther},
    {"Converter", Kind::kConverter},
    {"EnumEntry", Kind::kEnumEntry},
    {"Enumeration", Kind::kEnumeration},
    {"Float", Kind::kFloat},
    {"IntConverter", Kind::kIntConverter},
    {"IntKey", Kind::kOther},
    {"IntSwissKnife", Kind::kIntSwissKnife},
    {"Integer", Kind::kInteger},
    {"Node", Kind::kOther},
    {"Port", Kind::kPort},
    {"SmartFeature", Kind::kOther},
    {"String", Kind::kString},
    {"SwissKnife", Kind::kSwissKnife},
    {"TextDesc", Kind::kOther},
};

constexpr Row<Kind> kRegisters[] = {
    {"FloatReg", Kind::kFloatReg},         {"IntReg", Kind::kIntReg},
    {"MaskedIntReg", Kind::kMaskedIntReg}, {"Register", Kind::kRegister},
    {"StringReg", Kind::kStringReg},       {"StructEntry", Kind::kStructEntry},
    {"StructReg", Kind::kOther},
};

constexpr Row<Link> kReferences[] = {
    {"pAddress", Link::kAddress},
    {"pAlias", Link::kOther},
    {"pCastAlias", Link::kOther},
    {"pChunkID", Link::kChunkId},
    {"pCommandValue", Link::kCommandValue},
    {"pEnumEntry", Link::kEntry},
    {"pError", Link::kError},
    {"pFeature", Link::kFeature},
    {"pInc", Link::kIncrement},
    {"pIndex", Link::kIndex},
    {"pInvalidator", Link::kInvalidator},
    {"pIsAvailable", Link::kAvailable},
    {"pIsImplemented", Link::kImplemented},
    {"pIsLocked", Link::kLocked},
    {"pLength", Link::kLength},
    {"pMax", Link::kMax},
    {"pMin", Link::kMin},
    {"pPort", Link::kPort},
    {"pSelected", Link::kSelected},
    {"pValue", Link::kValue},
    {"pValueCopy", Link::kValueCopy},
    {"pValueDefault", Link::kValueDefault},
    {"pValueIndexed", Link::kValueIndexed},
    {"pVariable", Link::kVariable},
};

constexpr Row<Link> kNumbers[] = {
    {"Address", Link::kAddress},
    {"CommandValue", Link::kCommandValue},
    {"Constant", Link::kConstant},
    {"Inc", Link::kIncrement},
    {"Max", Link::kMax},
    {"Min", Link::kMin},
    {"NumericValue", Link::kNumericValue},
    {"OffValue", Link::kOffValue},
    {"OnValue", Link::kOnValue},
    {"Value", Link::kValue},
    {"ValueDefault", Link::kValueDefault},
    {"ValueIndexed", Link::kValueIndexed},
};

constexpr Row<Link> kTexts[] = {
    {"Expression", Link::kExpression},
    {"Formula", Link::kFormula},
    {"FormulaFrom", Link::kFormula},
    {"FormulaTo", Link::kFormulaTo},
};

constexpr Row<Property> kProperties[] = {
    {"ToolTip", Property::kToolTip},
    {"Description", Property::kDescription},
    {"DisplayName", Property::kDisplayName},
    {"Visibility", Property::kVisibility},
    {"Unit", Property::kUnit},
    {"AccessMode", Property::kAccessMode},
    {"ImposedAccessMode", Property::kImposedAccessMode},
    {"Streamable", Property::kStreamable},
    {"Cachable", Property::kCachable},
    {"PollingTime", Property::kPollingTime},
    {"IsSelfClearing", Property::kIsSelfClearing},
    {"Sign", Property::kSign},
    {"Endianess", Property::kEndianess},
    {"Slope", Property::kSlope},
    {"Symbolic", Property::kSymbolic},
    {"ValidValueSet", Property::kValidValues},
    {"ListOfValidValues", Property::kValidValues},
    {"EventID", Property::kPortId},
    {"ChunkID", Property::kPortId},
    {"Length", Property::kLength},
    {"LSB", Property::kLsb},
    {"MSB", Property::kMsb},
    {"Bit", Property::kBit},
};

/// All elements by a hash of their names, with open addressing: four times as many places.
class Elements
{
public:
    constexpr Elements()
    {
        for (const auto& row : kNodes)
            add({row.tag, ElementRole::kNode, row.meaning});
        for (const auto& row : kRegisters)
            add({row.tag, ElementRole::kNode, row.meaning, Link::kOther, Property::kNone, true});
        for (const auto& row : kReferences)
            add({row.tag, ElementRole::kReference, Kind::kOther, row.meaning});
        for (const auto& row : kNumbers)
            add({row.tag, ElementRole::kNumber, Kind::kOther, row.meaning});
        for (const auto& row : kTexts)
            add({row.tag, ElementRole::kText, Kind::kOther, row.meaning});
        for (const auto& row : kProperties)
            add({row.tag, ElementRole::kProperty, Kind::kOther, Link::kOther, row.meaning});
    }

    const Element* find(std::string_view tag) const
    {
        for (std::size_t place = hash(tag); !places_[place].tag.empty();
             place = (place + 1) % kSize) {
            if (places_[place].tag == tag)
                return &places_[place];
        }
        return nullptr;
    }

private:
    static constexpr std::size_t kSize = 512;

    /// Names differ in their length, at their ends and in the middle.
    static constexpr std::size_t hash(std::string_view tag)
    {
        if (tag.empty())
            return 0;
        const auto at = [tag](std::size_t i) {
            return std::size_t{static_cast<unsigned char>(tag[i])};
        };
        return (tag.size() * 31U + at(0) * 7U + at(tag.size() / 2) * 61U +
                at(tag.size() - 1) * 17U) %
               kSize;
    }

    constexpr void add(const Element& element)
    {
        std::size_t place = hash(element.tag);
        while (!places_[place].tag.empty())
            place = (place + 1) % kSize;
        places_[place] = element;
    }

    Element places_[kSize];
};

constexpr Elements kElements;

} // namespace

const Element* findElement(std::string_view tag) { return kElements.find(tag); }

} // namespace genapi
