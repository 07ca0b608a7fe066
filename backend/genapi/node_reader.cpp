#include "genapi/node_reader.h"

#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace genapi
{

namespace
{

constexpr int kMaxGroupDepth = 16;
// Real descriptions have 40,000 with their entries.
constexpr std::size_t kMaxNodes = 400000;
constexpr std::size_t kMaxLinks = 1000000;
constexpr const char* kTooMuch = "there are too many elements";
constexpr std::int64_t kMaxTextRegister = std::int64_t{1} << 20U;

struct KindRow {
    std::string_view tag;
    NodeKind kind;
    bool isRegister;
};

// Sorted by tag.
constexpr KindRow kKinds[] = {
    {"AdvFeatureLock", NodeKind::kOther, false},
    {"Boolean", NodeKind::kBoolean, false},
    {"Category", NodeKind::kCategory, false},
    {"Command", NodeKind::kCommand, false},
    {"ConfRom", NodeKind::kOther, false},
    {"Converter", NodeKind::kConverter, false},
    {"EnumEntry", NodeKind::kEnumEntry, false},
    {"Enumeration", NodeKind::kEnumeration, false},
    {"Float", NodeKind::kFloat, false},
    {"FloatReg", NodeKind::kFloatReg, true},
    {"IntConverter", NodeKind::kIntConverter, false},
    {"IntKey", NodeKind::kOther, false},
    {"IntReg", NodeKind::kIntReg, true},
    {"IntSwissKnife", NodeKind::kIntSwissKnife, false},
    {"Integer", NodeKind::kInteger, false},
    {"MaskedIntReg", NodeKind::kMaskedIntReg, true},
    {"Node", NodeKind::kOther, false},
    {"Port", NodeKind::kPort, false},
    {"Register", NodeKind::kRegister, true},
    {"SmartFeature", NodeKind::kOther, false},
    {"String", NodeKind::kString, false},
    {"StringReg", NodeKind::kStringReg, true},
    {"StructEntry", NodeKind::kStructEntry, true},
    {"StructReg", NodeKind::kOther, true},
    {"SwissKnife", NodeKind::kSwissKnife, false},
    {"TextDesc", NodeKind::kOther, false},
};

enum class Form : std::uint8_t { kReference, kNumber, kText };

struct LinkRow {
    std::string_view tag;
    LinkKind kind;
    Form form;
};

// Sorted by tag.
constexpr LinkRow kLinks[] = {
    {"Address", LinkKind::kAddress, Form::kNumber},
    {"CommandValue", LinkKind::kCommandValue, Form::kNumber},
    {"Constant", LinkKind::kConstant, Form::kNumber},
    {"Expression", LinkKind::kExpression, Form::kText},
    {"Formula", LinkKind::kFormula, Form::kText},
    {"FormulaFrom", LinkKind::kFormula, Form::kText},
    {"FormulaTo", LinkKind::kFormulaTo, Form::kText},
    {"Inc", LinkKind::kIncrement, Form::kNumber},
    {"Max", LinkKind::kMax, Form::kNumber},
    {"Min", LinkKind::kMin, Form::kNumber},
    {"NumericValue", LinkKind::kNumericValue, Form::kNumber},
    {"OffValue", LinkKind::kOffValue, Form::kNumber},
    {"OnValue", LinkKind::kOnValue, Form::kNumber},
    {"Value", LinkKind::kValue, Form::kNumber},
    {"ValueDefault", LinkKind::kValueDefault, Form::kNumber},
    {"ValueIndexed", LinkKind::kValueIndexed, Form::kNumber},
    {"pAddress", LinkKind::kAddress, Form::kReference},
    {"pAlias", LinkKind::kOther, Form::kReference},
    {"pCastAlias", LinkKind::kOther, Form::kReference},
    {"pChunkID", LinkKind::kChunkId, Form::kReference},
    {"pCommandValue", LinkKind::kCommandValue, Form::kReference},
    {"pEnumEntry", LinkKind::kEntry, Form::kReference},
    {"pError", LinkKind::kError, Form::kReference},
    {"pFeature", LinkKind::kFeature, Form::kReference},
    {"pInc", LinkKind::kIncrement, Form::kReference},
    {"pIndex", LinkKind::kIndex, Form::kReference},
    {"pInvalidator", LinkKind::kInvalidator, Form::kReference},
    {"pIsAvailable", LinkKind::kAvailable, Form::kReference},
    {"pIsImplemented", LinkKind::kImplemented, Form::kReference},
    {"pIsLocked", LinkKind::kLocked, Form::kReference},
    {"pLength", LinkKind::kLength, Form::kReference},
    {"pMax", LinkKind::kMax, Form::kReference},
    {"pMin", LinkKind::kMin, Form::kReference},
    {"pPort", LinkKind::kPort, Form::kReference},
    {"pSelected", LinkKind::kSelected, Form::kReference},
    {"pValue", LinkKind::kValue, Form::kReference},
    {"pValueCopy", LinkKind::kValueCopy, Form::kReference},
    {"pValueDefault", LinkKind::kValueDefault, Form::kReference},
    {"pValueIndexed", LinkKind::kValueIndexed, Form::kReference},
    {"pVariable", LinkKind::kVariable, Form::kReference},
};

/// The row of a tag in a sorted table, or null.
template <class Row, std::size_t kSize>
const Row* rowOf(const Row (&rows)[kSize], std::string_view tag)
{
    const Row* const found =
        std::lower_bound(std::begin(rows), std::end(rows), tag,
                         [](const Row& row, std::string_view wanted) { return row.tag < wanted; });
    return found != std::end(rows) && found->tag == tag ? found : nullptr;
}

std::string_view attributeOf(const pugi::xml_node& element, const char* name)
{
    return base::trim(element.attribute(name).value());
}

std::int64_t versionOf(const pugi::xml_node& root, const char* name)
{
    return base::parseInteger(attributeOf(root, name)).value_or(1);
}

AccessMode accessModeOf(std::string_view text, AccessMode otherwise)
{
    if (text == "RO")
        return AccessMode::kReadOnly;
    if (text == "WO")
        return AccessMode::kWriteOnly;
    return text == "RW" ? AccessMode::kAll : otherwise;
}

std::uint8_t visibilityOf(std::string_view text)
{
    constexpr std::string_view kLevels[] = {"Beginner", "Expert", "Guru", "Invisible"};
    const auto* const found = std::find(std::begin(kLevels), std::end(kLevels), text);
    return static_cast<std::uint8_t>(found != std::end(kLevels) ? found - kLevels : 0);
}

Slope slopeOf(std::string_view text)
{
    if (text == "Increasing")
        return Slope::kIncreasing;
    if (text == "Decreasing")
        return Slope::kDecreasing;
    return text == "Varying" ? Slope::kVarying : Slope::kAutomatic;
}

/// Conditions of a StructEntry stand in place of those of its StructReg.
bool isCondition(LinkKind kind)
{
    return kind == LinkKind::kImplemented || kind == LinkKind::kAvailable ||
           kind == LinkKind::kLocked;
}

} // namespace

bool NodeReader::refuse(const std::string& why)
{
    if (why_.empty()) {
        why_ = why;
        place_ = current_.offset_debug();
    }
    return false;
}

bool NodeReader::read(const pugi::xml_node& root)
{
    const std::int64_t major = versionOf(root, "SchemaMajorVersion");
    description_.isOldSchema =
        major < 1 || (major == 1 && versionOf(root, "SchemaMinorVersion") < 1);
    if (!collect(root, 0))
        return false;
    description_.links.reserve(description_.nodes.size() * 8);
    for (std::size_t i = 0; i < description_.nodes.size(); ++i) {
        if (!readNode(static_cast<std::int32_t>(i)))
            return false;
    }
    current_ = root;
    const auto found = description_.byName.find("Root");
    if (found == description_.byName.end() ||
        description_.at(found->second).kind != NodeKind::kCategory)
        return refuse("there is no root category");
    description_.root = found->second;
    return true;
}

bool NodeReader::collect(const pugi::xml_node& parent, int depth)
{
    current_ = parent;
    if (depth > kMaxGroupDepth)
        return refuse("groups are nested too deeply");
    for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element)
            continue;
        current_ = child;
        const std::string_view tag = child.name();
        if (!(tag == "Group" ? collect(child, depth + 1) : addNode(child, -1)))
            return false;
    }
    return true;
}

bool NodeReader::addNode(const pugi::xml_node& element, std::int32_t owner)
{
    const std::string_view tag = element.name();
    const KindRow* const row = rowOf(kKinds, tag);
    if (row == nullptr && attributeOf(element, "Name").empty())
        return true;
    if (description_.nodes.size() >= kMaxNodes)
        return refuse("there are too many nodes");
    Node node;
    node.name = attributeOf(element, "Name");
    if (row != nullptr) {
        node.kind = row->kind;
        node.isRegister = row->isRegister;
    }
    if (node.kind == NodeKind::kFloatReg)
        node.caching = 2;
    const auto index = static_cast<std::int32_t>(description_.nodes.size());
    node.cell = node.kind == NodeKind::kStructEntry && owner >= 0 ? owner : index;
    const bool isInline = owner >= 0 && node.kind == NodeKind::kIntSwissKnife;
    const bool isEntry = owner >= 0 && node.kind == NodeKind::kEnumEntry;
    if (node.name.empty() && !isInline && tag != "StructReg")
        return refuse("a node of kind " + std::string(tag) + " has no name");
    // Formulas inside registers need no name; one that has it may be used elsewhere.
    const bool isKnown = node.name.empty() || isEntry ||
                         description_.byName.emplace(node.name, index).second || isInline;
    if (!isKnown)
        return refuse("two nodes are named " + std::string(node.name));
    description_.nodes.push_back(node);
    elements_.push_back(element);
    return addChildren(element, index);
}

bool NodeReader::addChildren(const pugi::xml_node& element, std::int32_t index)
{
    const std::string_view tag = element.name();
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        const std::string_view childTag = child.name();
        const bool isNode = childTag == "IntSwissKnife" ||
                            (tag == "StructReg" && childTag == "StructEntry") ||
                            (tag == "Enumeration" && childTag == "EnumEntry");
        if (!isNode)
            continue;
        current_ = child;
        // A formula inside a formula has no meaning, and recursion must end.
        if (tag == "IntSwissKnife")
            return refuse("a formula contains a node");
        if (!addNode(child, index))
            return false;
    }
    return true;
}

bool NodeReader::readNode(std::int32_t index)
{
    // Reading adds links, never nodes, so the reference stays valid.
    Node& node = description_.at(index);
    current_ = elements_[static_cast<std::size_t>(index)];
    node.firstLink = static_cast<std::uint32_t>(description_.links.size());
    ownLinks_ = 0;
    if (node.cell != index && !takeStructure(&node))
        return false;
    return readChildren(index) && checkRegister(node);
}

bool NodeReader::takeStructure(Node* node)
{
    // Its structure stands before it, so that is read already.
    const Node& structure = description_.at(node->cell);
    if (description_.links.size() + structure.linkCount > kMaxLinks)
        return refuse(kTooMuch);
    Node entry = structure;
    entry.name = node->name;
    entry.displayName = entry.toolTip = entry.text = std::string_view();
    entry.kind = node->kind;
    entry.firstLink = node->firstLink;
    for (std::uint32_t i = 0; i < structure.linkCount; ++i)
        description_.links.push_back(description_.links[structure.firstLink + i]);
    *node = entry;
    ownLinks_ = description_.links.size();
    return true;
}

bool NodeReader::readChildren(std::int32_t index)
{
    Node& node = description_.at(index);
    std::int32_t child = index;
    const pugi::xml_node element = elements_[static_cast<std::size_t>(index)];
    for (pugi::xml_node xml = element.first_child(); xml; xml = xml.next_sibling()) {
        if (xml.type() != pugi::node_element)
            continue;
        current_ = xml;
        const std::string_view tag = xml.name();
        const bool isFormula = tag == "IntSwissKnife";
        bool accepted = true;
        if (isFormula || (tag == "EnumEntry" && node.kind == NodeKind::kEnumeration)) {
            // Entries and formulas inside a node follow it in the order of the document.
            while (elements_[static_cast<std::size_t>(++child)] != xml) {
            }
            Link link;
            link.kind = isFormula ? LinkKind::kAddress : LinkKind::kEntry;
            link.target = child;
            accepted = add(&node, link);
        } else {
            accepted = readChild(&node, xml);
        }
        if (!accepted)
            return refuse("node " + std::string(node.name) + ": bad value of " + std::string(tag));
    }
    return true;
}

bool NodeReader::readChild(Node* node, const pugi::xml_node& child)
{
    const std::string_view tag = child.name();
    const LinkRow* const row = rowOf(kLinks, tag);
    if (row == nullptr)
        return readProperty(node, tag, textOf(child));
    Link link;
    link.kind = row->kind;
    if (row->form == Form::kReference) {
        if (!readReference(&link, child))
            return false;
    } else if (row->form == Form::kText) {
        const std::string_view name = attributeOf(child, "Name");
        if (row->kind == LinkKind::kExpression && name.empty())
            return false;
        link.text = keep(row->kind == LinkKind::kExpression ? name : textOf(child));
        if (row->kind == LinkKind::kExpression)
            keep(textOf(child));
    } else if (!readValue(node, &link, textOf(child))) {
        return false;
    }
    if (row->kind == LinkKind::kConstant) {
        link.text = keep(attributeOf(child, "Name"));
        if (description_.texts.back().empty())
            return false;
    }
    if (row->kind == LinkKind::kValueIndexed) {
        const auto index = base::parseInteger(attributeOf(child, "Index"));
        link.extra = static_cast<std::int32_t>(index.value_or(-1));
        if (!index || link.extra != *index)
            return false;
    }
    if (row->kind == LinkKind::kVariable && !readVariable(&link, attributeOf(child, "Name")))
        return false;
    return add(node, link);
}

bool NodeReader::readValue(Node* node, Link* link, std::string_view text)
{
    const bool isValue = link->kind == LinkKind::kValue;
    if (isValue && node->kind == NodeKind::kString) {
        link->text = keep(text);
        return true;
    }
    if (isValue && node->kind == NodeKind::kBoolean && (text == "true" || text == "false")) {
        link->hasNumber = true;
        link->integer = text == "true" ? 1 : 0;
        return true;
    }
    return readNumber(*node, link, text);
}

bool NodeReader::readNumber(const Node& node, Link* link, std::string_view text) const
{
    const auto integer = base::parseInteger(text);
    const auto real = base::parseReal(text);
    if (!real)
        return false;
    link->hasNumber = true;
    link->real = *real;
    link->integer = integer.value_or(0);
    const bool mayBeReal = isFloatKind(node.kind) || isFormulaKind(node.kind) ||
                           link->kind == LinkKind::kNumericValue || std::trunc(*real) == *real;
    if (!integer && mayBeReal && std::abs(*real) < 9.2e18)
        link->integer = static_cast<std::int64_t>(*real);
    return integer || mayBeReal;
}

bool NodeReader::readReference(Link* link, const pugi::xml_node& child)
{
    if (!findNode(textOf(child), &link->target))
        return false;
    if (link->kind != LinkKind::kIndex)
        return true;
    const std::string_view node = attributeOf(child, "pOffset");
    const std::string_view number = attributeOf(child, "Offset");
    if (!node.empty() && !findNode(node, &link->extra))
        return false;
    const auto offset = base::parseInteger(number);
    link->hasNumber = offset.has_value();
    link->integer = offset.value_or(0);
    return offset || number.empty();
}

bool NodeReader::readVariable(Link* link, std::string_view name)
{
    constexpr struct {
        std::string_view suffix;
        Aspect aspect;
    } kAspects[] = {
        {".Min", Aspect::kMin},
        {".Max", Aspect::kMax},
        {".Inc", Aspect::kIncrement},
        {".AccessMode", Aspect::kAccessMode},
        {".Visibility", Aspect::kVisibility},
        {".CachingMode", Aspect::kCachingMode},
    };
    link->text = keep(name);
    for (const auto& row : kAspects) {
        if (name.size() > row.suffix.size() &&
            name.substr(name.size() - row.suffix.size()) == row.suffix)
            link->aspect = row.aspect;
    }
    for (const std::string_view infix : {".Entry.", ".Enum."}) {
        const std::size_t at = name.find(infix);
        if (at == std::string_view::npos)
            continue;
        link->aspect = Aspect::kEntry;
        const std::string_view symbol = name.substr(at + infix.size());
        // Entries follow their enumeration; their own elements may not have been read yet.
        const auto first = static_cast<std::size_t>(link->target) + 1;
        for (std::size_t i = first;
             i < description_.nodes.size() && description_.nodes[i].kind == NodeKind::kEnumEntry;
             ++i) {
            if (description_.nodes[i].name == symbol)
                link->extra = static_cast<std::int32_t>(i);
        }
        if (link->extra < 0)
            return refuse("there is no entry " + std::string(symbol));
    }
    return !name.empty();
}

bool NodeReader::readProperty(Node* node, std::string_view tag, std::string_view text)
{
    if (tag == "ToolTip") {
        node->toolTip = text;
    } else if (tag == "Description") {
        node->text = text;
    } else if (tag == "DisplayName") {
        node->displayName = text;
    } else if (tag == "Visibility") {
        node->visibility = visibilityOf(text);
        node->hasVisibility = true;
    } else if (tag == "Unit") {
        node->unit = text;
    } else if (tag == "AccessMode") {
        node->accessMode = accessModeOf(text, node->accessMode);
    } else if (tag == "ImposedAccessMode") {
        node->imposedAccess = accessModeOf(text, node->imposedAccess);
    } else if (tag == "Streamable") {
        node->isStreamable = text == "Yes";
        description_.marksStreamable = true;
    } else if (tag == "Cachable") {
        node->caching = text == "NoCache" ? 0 : text == "WriteAround" ? 2 : 1;
    } else if (tag == "PollingTime") {
        node->isPolled = true;
    } else if (tag == "IsSelfClearing") {
        node->isSelfClearing = node->kind == NodeKind::kCommand ? text != "No" : text == "Yes";
    } else if (tag == "Sign") {
        node->isSigned = text == "Signed";
    } else if (tag == "Endianess") {
        node->isBigEndian = text == "BigEndian";
    } else if (tag == "Slope") {
        node->slope = slopeOf(text);
    } else if (tag == "Symbolic" && node->kind == NodeKind::kEnumEntry) {
        node->name = text;
    } else if (tag == "ValidValueSet" || tag == "ListOfValidValues") {
        return readValidValues(node, text);
    } else if (node->kind == NodeKind::kPort && (tag == "EventID" || tag == "ChunkID")) {
        return readPortId(node, tag, text);
    } else if (tag == "Length") {
        node->length = base::parseInteger(text).value_or(0);
        return node->length > 0;
    } else if (tag == "LSB" || tag == "MSB" || tag == "Bit") {
        const std::int64_t bit = base::parseInteger(text).value_or(-1);
        if (bit < 0 || bit > 63)
            return refuse("register " + std::string(node->name) + " has impossible bits");
        if (tag != "MSB")
            node->lowBit = static_cast<std::uint8_t>(bit);
        if (tag != "LSB")
            node->highBit = static_cast<std::uint8_t>(bit);
    }
    return true;
}

bool NodeReader::readPortId(Node* node, std::string_view tag, std::string_view text)
{
    Overlay overlay;
    overlay.isEvent = tag == "EventID";
    if (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X")
        text.remove_prefix(2);
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, overlay.id, 16);
    overlay.hasId = result.ec == std::errc() && result.ptr == end;
    node->overlay = static_cast<std::int32_t>(description_.overlays.size());
    description_.overlays.push_back(overlay);
    return true;
}

bool NodeReader::readValidValues(Node* node, std::string_view text)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(';'), text.size());
        const std::string_view item = base::trim(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        Link link;
        link.kind = LinkKind::kValidValue;
        if (item.empty())
            continue;
        if (!readNumber(*node, &link, item) || !add(node, link))
            return false;
    }
    return true;
}

bool NodeReader::findNode(std::string_view name, std::int32_t* index)
{
    const auto found = description_.byName.find(name);
    if (found == description_.byName.end())
        return refuse("there is no node " + std::string(name));
    *index = found->second;
    return true;
}

bool NodeReader::checkRegister(const Node& node)
{
    const bool isNumber = node.kind == NodeKind::kIntReg || node.kind == NodeKind::kMaskedIntReg ||
                          node.kind == NodeKind::kStructEntry;
    const bool isReal = node.kind == NodeKind::kFloatReg;
    current_ = elements_[static_cast<std::size_t>(&node - description_.nodes.data())];
    if (node.kind == NodeKind::kEnumEntry && description_.find(node, LinkKind::kValue) == nullptr)
        return refuse("EnumEntry " + std::string(node.name) + " has no value");
    if ((isNumber && node.length > 8) ||
        (isReal && node.length != 0 && node.length != 4 && node.length != 8) ||
        (node.kind == NodeKind::kStringReg && node.length > kMaxTextRegister))
        return refuse("register " + std::string(node.name) + " has an impossible length");
    const bool needsLength = isNumber || isReal || node.kind == NodeKind::kStringReg;
    if (needsLength && node.length == 0 && description_.target(node, LinkKind::kLength) < 0)
        return refuse("register " + std::string(node.name) + " has no length");
    if (needsLength && description_.target(node, LinkKind::kPort) < 0)
        return refuse("register " + std::string(node.name) + " has no port");
    return true;
}

bool NodeReader::add(Node* node, const Link& link)
{
    if (link.kind == LinkKind::kOther)
        return true;
    if (description_.links.size() >= kMaxLinks)
        return refuse(kTooMuch);
    if (node->kind == NodeKind::kPort && link.kind == LinkKind::kChunkId) {
        Overlay overlay;
        overlay.idNode = link.target;
        node->overlay = static_cast<std::int32_t>(description_.overlays.size());
        description_.overlays.push_back(overlay);
    }
    if (isCondition(link.kind)) {
        for (std::size_t i = node->firstLink; i < ownLinks_; ++i) {
            if (description_.links[i].kind == link.kind) {
                description_.links[i] = link;
                return true;
            }
        }
    }
    description_.links.push_back(link);
    node->linkCount = static_cast<std::uint32_t>(description_.links.size()) - node->firstLink;
    return true;
}

std::int32_t NodeReader::keep(std::string_view text)
{
    description_.texts.push_back(text);
    return static_cast<std::int32_t>(description_.texts.size()) - 1;
}

std::string_view NodeReader::textOf(const pugi::xml_node& element)
{
    std::string_view text;
    std::string* joined = nullptr;
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_pcdata && child.type() != pugi::node_cdata)
            continue;
        // Several pieces of text have no common place in the document.
        if (!text.empty()) {
            if (joined == nullptr) {
                description_.joined.emplace_back(text);
                joined = &description_.joined.back();
            }
            text = joined->append(child.value());
        } else {
            text = child.value();
        }
    }
    return base::trim(text);
}

} // namespace genapi
