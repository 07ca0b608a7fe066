#include "genapi/element_table.h"

#include <array>

namespace genapi
{

namespace
{

constexpr Element node(std::string_view tag, NodeKind kind, bool isRegister = false)
{
    return {tag, ElementRole::kNode, kind, LinkKind::kOther, Property::kNone, isRegister};
}

constexpr Element link(std::string_view tag, LinkKind kind, ElementRole role)
{
    return {tag, role, NodeKind::kOther, kind, Property::kNone, false};
}

constexpr Element reference(std::string_view tag, LinkKind kind)
{
    return link(tag, kind, ElementRole::kReference);
}

constexpr Element number(std::string_view tag, LinkKind kind)
{
    return link(tag, kind, ElementRole::kNumber);
}

constexpr Element property(std::string_view tag, Property property)
{
    return {tag, ElementRole::kProperty, NodeKind::kOther, LinkKind::kOther, property, false};
}

constexpr Element kElements[] = {
    node("AdvFeatureLock", NodeKind::kOther),
    node("Boolean", NodeKind::kBoolean),
    node("Category", NodeKind::kCategory),
    node("Command", NodeKind::kCommand),
    node("ConfRom", NodeKind::kOther),
    node("Converter", NodeKind::kConverter),
    node("EnumEntry", NodeKind::kEnumEntry),
    node("Enumeration", NodeKind::kEnumeration),
    node("Float", NodeKind::kFloat),
    node("FloatReg", NodeKind::kFloatReg, true),
    node("IntConverter", NodeKind::kIntConverter),
    node("IntKey", NodeKind::kOther),
    node("IntReg", NodeKind::kIntReg, true),
    node("IntSwissKnife", NodeKind::kIntSwissKnife),
    node("Integer", NodeKind::kInteger),
    node("MaskedIntReg", NodeKind::kMaskedIntReg, true),
    node("Node", NodeKind::kOther),
    node("Port", NodeKind::kPort),
    node("Register", NodeKind::kRegister, true),
    node("SmartFeature", NodeKind::kOther),
    node("String", NodeKind::kString),
    node("StringReg", NodeKind::kStringReg, true),
    node("StructEntry", NodeKind::kStructEntry, true),
    node("StructReg", NodeKind::kOther, true),
    node("SwissKnife", NodeKind::kSwissKnife),
    node("TextDesc", NodeKind::kOther),
    number("Address", LinkKind::kAddress),
    number("CommandValue", LinkKind::kCommandValue),
    number("Constant", LinkKind::kConstant),
    link("Expression", LinkKind::kExpression, ElementRole::kText),
    link("Formula", LinkKind::kFormula, ElementRole::kText),
    link("FormulaFrom", LinkKind::kFormula, ElementRole::kText),
    link("FormulaTo", LinkKind::kFormulaTo, ElementRole::kText),
    number("Inc", LinkKind::kIncrement),
    number("Max", LinkKind::kMax),
    number("Min", LinkKind::kMin),
    number("NumericValue", LinkKind::kNumericValue),
    number("OffValue", LinkKind::kOffValue),
    number("OnValue", LinkKind::kOnValue),
    number("Value", LinkKind::kValue),
    number("ValueDefault", LinkKind::kValueDefault),
    number("ValueIndexed", LinkKind::kValueIndexed),
    reference("pAddress", LinkKind::kAddress),
    reference("pAlias", LinkKind::kOther),
    reference("pCastAlias", LinkKind::kOther),
    reference("pChunkID", LinkKind::kChunkId),
    reference("pCommandValue", LinkKind::kCommandValue),
    reference("pEnumEntry", LinkKind::kEntry),
    reference("pError", LinkKind::kError),
    reference("pFeature", LinkKind::kFeature),
    reference("pInc", LinkKind::kIncrement),
    reference("pIndex", LinkKind::kIndex),
    reference("pInvalidator", LinkKind::kInvalidator),
    reference("pIsAvailable", LinkKind::kAvailable),
    reference("pIsImplemented", LinkKind::kImplemented),
    reference("pIsLocked", LinkKind::kLocked),
    reference("pLength", LinkKind::kLength),
    reference("pMax", LinkKind::kMax),
    reference("pMin", LinkKind::kMin),
    reference("pPort", LinkKind::kPort),
    reference("pSelected", LinkKind::kSelected),
    reference("pValue", LinkKind::kValue),
    reference("pValueCopy", LinkKind::kValueCopy),
    reference("pValueDefault", LinkKind::kValueDefault),
    reference("pValueIndexed", LinkKind::kValueIndexed),
    reference("pVariable", LinkKind::kVariable),
    property("ToolTip", Property::kToolTip),
    property("Description", Property::kDescription),
    property("DisplayName", Property::kDisplayName),
    property("Visibility", Property::kVisibility),
    property("Unit", Property::kUnit),
    property("AccessMode", Property::kAccessMode),
    property("ImposedAccessMode", Property::kImposedAccessMode),
    property("Streamable", Property::kStreamable),
    property("Cachable", Property::kCachable),
    property("PollingTime", Property::kPollingTime),
    property("IsSelfClearing", Property::kIsSelfClearing),
    property("Sign", Property::kSign),
    property("Endianess", Property::kEndianess),
    property("Slope", Property::kSlope),
    property("Symbolic", Property::kSymbolic),
    property("ValidValueSet", Property::kValidValues),
    property("ListOfValidValues", Property::kValidValues),
    property("EventID", Property::kPortId),
    property("ChunkID", Property::kPortId),
    property("Length", Property::kLength),
    property("LSB", Property::kLsb),
    property("MSB", Property::kMsb),
    property("Bit", Property::kBit),
};

/// Places of elements by a hash of their names; open addressing, four times as many as elements.
class Places
{
public:
    constexpr Places()
    {
        std::uint8_t index = 0;
        for (const Element& element : kElements) {
            std::size_t place = hash(element.tag);
            while (places_[place] != kNone)
                place = (place + 1) % kSize;
            places_[place] = index++;
        }
    }

    const Element* find(std::string_view tag) const
    {
        if (tag.empty())
            return nullptr;
        for (std::size_t place = hash(tag); places_[place] != kNone; place = (place + 1) % kSize) {
            if (kElements[places_[place]].tag == tag)
                return &kElements[places_[place]];
        }
        return nullptr;
    }

private:
    static constexpr std::size_t kSize = 512;
    static constexpr std::uint8_t kNone = 0xFF;

    /// Names differ in their length, at their ends and in the middle.
    static constexpr std::size_t hash(std::string_view tag)
    {
        const auto at = [tag](std::size_t i) { return static_cast<unsigned char>(tag[i]); };
        return (tag.size() * 31U + at(0) * 7U + at(tag.size() / 2) * 61U +
                at(tag.size() - 1) * 17U) %
               kSize;
    }

    std::array<std::uint8_t, kSize> places_ = filled();

    static constexpr std::array<std::uint8_t, kSize> filled()
    {
        std::array<std::uint8_t, kSize> places{};
        for (std::size_t i = 0; i < kSize; ++i)
            places[i] = kNone;
        return places;
    }
};

static_assert(std::size(kElements) < 128, "the table of places has room for less than 128");
constexpr Places kPlaces;

} // namespace

const Element* findElement(std::string_view tag) { return kPlaces.find(tag); }

} // namespace genapi
