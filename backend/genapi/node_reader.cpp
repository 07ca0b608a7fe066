#include "genapi/node_reader.h"

#include "genapi/node_properties.h"
#include "genapi/xml_element.h"

#include <cctype>
#include <utility>

namespace genapi
{

namespace
{

constexpr int kMaxGroupDepth = 16;
constexpr std::int64_t kMaxTextRegister = std::int64_t{1} << 20U;

struct KindRow {
    std::string_view tag;
    NodeKind kind;
    bool isRegister;
};

constexpr KindRow kKinds[] = {
    {"Category", NodeKind::kCategory, false},
    {"Integer", NodeKind::kInteger, false},
    {"IntReg", NodeKind::kIntReg, true},
    {"MaskedIntReg", NodeKind::kMaskedIntReg, true},
    {"StructEntry", NodeKind::kStructEntry, false},
    {"StructReg", NodeKind::kUnsupported, true},
    {"Register", NodeKind::kUnsupported, true},
    {"IntSwissKnife", NodeKind::kIntSwissKnife, false},
    {"IntConverter", NodeKind::kIntConverter, false},
    {"Float", NodeKind::kFloat, false},
    {"FloatReg", NodeKind::kFloatReg, true},
    {"SwissKnife", NodeKind::kSwissKnife, false},
    {"Converter", NodeKind::kConverter, false},
    {"String", NodeKind::kString, false},
    {"StringReg", NodeKind::kStringReg, true},
    {"Boolean", NodeKind::kBoolean, false},
    {"Command", NodeKind::kCommand, false},
    {"Enumeration", NodeKind::kEnumeration, false},
    {"Port", NodeKind::kPort, false},
};

struct ReferenceRow {
    std::string_view tag;
    ReferenceKind kind;
};

constexpr ReferenceRow kReferences[] = {
    {"pValue", ReferenceKind::kValue},
    {"pFeature", ReferenceKind::kFeature},
    {"pVariable", ReferenceKind::kVariable},
    {"pPort", ReferenceKind::kPort},
    {"pIsImplemented", ReferenceKind::kImplemented},
    {"pIsAvailable", ReferenceKind::kAvailable},
    {"pIsLocked", ReferenceKind::kLocked},
    {"pMin", ReferenceKind::kMin},
    {"pMax", ReferenceKind::kMax},
    {"pInc", ReferenceKind::kIncrement},
    {"pSelected", ReferenceKind::kSelected},
    {"pAddress", ReferenceKind::kAddress},
    {"pIndex", ReferenceKind::kIndex},
    {"pLength", ReferenceKind::kLength},
    {"pValueCopy", ReferenceKind::kValueCopy},
    {"pValueIndexed", ReferenceKind::kValueIndexed},
    {"pValueDefault", ReferenceKind::kValueIndexed},
    {"pCommandValue", ReferenceKind::kCommandValue},
};

const KindRow* kindOf(std::string_view tag)
{
    for (const KindRow& row : kKinds) {
        if (row.tag == tag)
            return &row;
    }
    return nullptr;
}

ReferenceKind referenceKindOf(std::string_view tag)
{
    for (const ReferenceRow& row : kReferences) {
        if (row.tag == tag)
            return row.kind;
    }
    return ReferenceKind::kOther;
}

bool isReference(std::string_view tag)
{
    return tag.size() > 1 && tag[0] == 'p' && std::isupper(static_cast<unsigned char>(tag[1])) != 0;
}

Aspect aspectOf(std::string_view variable)
{
    const auto endsWith = [variable](std::string_view suffix) {
        return variable.size() > suffix.size() &&
               variable.substr(variable.size() - suffix.size()) == suffix;
    };
    if (endsWith(".Min"))
        return Aspect::kMin;
    if (endsWith(".Max"))
        return Aspect::kMax;
    if (endsWith(".Inc"))
        return Aspect::kIncrement;
    const bool isEntry = variable.find(".Entry.") != std::string_view::npos ||
                         variable.find(".Enum.") != std::string_view::npos;
    return isEntry ? Aspect::kEntry : Aspect::kValue;
}

} // namespace

bool NodeReader::refuse(const std::string& why)
{
    why_ = why;
    return false;
}

bool NodeReader::read(const xmlNode* root)
{
    const auto major = parseInteger(attributeOf(root, "SchemaMajorVersion")).value_or(1);
    const auto minor = parseInteger(attributeOf(root, "SchemaMinorVersion")).value_or(1);
    description_->isOldSchema = major < 1 || (major == 1 && minor < 1);
    if (!collect(root, 0))
        return false;
    if (!indexNames())
        return false;
    for (std::size_t i = 0; i < description_->nodes.size(); ++i) {
        if (!readNode(i))
            return false;
    }
    const auto found = description_->byName.find("Root");
    if (found == description_->byName.end() ||
        description_->nodes[static_cast<std::size_t>(found->second)].kind != NodeKind::kCategory)
        return refuse("there is no root category");
    description_->root = found->second;
    return true;
}

bool NodeReader::indexNames()
{
    auto& byName = description_->byName;
    byName.reserve(description_->nodes.size());
    for (std::size_t i = 0; i < description_->nodes.size(); ++i) {
        const std::string& name = description_->nodes[i].name;
        if (name.empty() || inlineFormulas_.count(elements_[i]) != 0)
            continue;
        if (!byName.emplace(name, static_cast<std::int32_t>(i)).second)
            return refuse("two nodes are named " + name);
    }
    // Formulas inside registers need no name; one that has it may be used elsewhere.
    for (const auto& [element, index] : inlineFormulas_) {
        const std::string& name = description_->nodes[static_cast<std::size_t>(index)].name;
        if (!name.empty())
            byName.emplace(name, index);
    }
    return true;
}

bool NodeReader::collect(const xmlNode* parent, int depth)
{
    if (depth > kMaxGroupDepth)
        return refuse("groups are nested too deeply");
    for (const xmlNode* child = firstChild(parent); child != nullptr; child = nextSibling(child)) {
        const bool accepted =
            tagOf(child) == "Group" ? collect(child, depth + 1) : addNode(child, -1);
        if (!accepted)
            return false;
    }
    return true;
}

bool NodeReader::addNode(const xmlNode* element, std::int32_t parent)
{
    const std::string_view tag = tagOf(element);
    const KindRow* const row = kindOf(tag);
    NodeDescription node;
    node.name = attributeOf(element, "Name");
    const bool mayBeNameless = row == nullptr || tag == "StructReg" || parent >= 0;
    if (node.name.empty() && !mayBeNameless)
        return refuse("a node of kind " + std::string(tag) + " has no name");
    if (node.name.empty() && row == nullptr)
        return true;
    if (row != nullptr) {
        node.kind = row->kind;
        node.isRegister = row->isRegister;
    }
    if (node.kind == NodeKind::kStructEntry)
        node.parent = parent;
    const auto index = static_cast<std::int32_t>(description_->nodes.size());
    description_->nodes.push_back(std::move(node));
    elements_.push_back(element);
    for (const xmlNode* child = firstChild(element); child != nullptr; child = nextSibling(child)) {
        const std::string_view childTag = tagOf(child);
        const bool isFormula = childTag == "IntSwissKnife";
        if (isFormula)
            inlineFormulas_[child] = static_cast<std::int32_t>(description_->nodes.size());
        const bool isNode = isFormula || (tag == "StructReg" && childTag == "StructEntry");
        // A formula inside a formula has no meaning, and recursion must end.
        if (isNode && (tag == "IntSwissKnife" || !addNode(child, index)))
            return why_.empty() ? refuse("a formula contains a node") : false;
    }
    return true;
}

bool NodeReader::readNode(std::size_t index)
{
    // Entries and children never add nodes, so the reference stays valid.
    NodeDescription& node = description_->nodes[index];
    for (const xmlNode* child = firstChild(elements_[index]); child != nullptr;
         child = nextSibling(child)) {
        if (!readChild(&node, child))
            return why_.empty()
                       ? refuse("node " + node.name + ": bad value of " + std::string(tagOf(child)))
                       : false;
    }
    return checkRegister(node);
}

bool NodeReader::readChild(NodeDescription* node, const xmlNode* child)
{
    const std::string_view tag = tagOf(child);
    if (isReference(tag))
        return readReference(&node->references, child);
    if (tag == "EnumEntry")
        return node->kind != NodeKind::kEnumeration || readEntry(node, child);
    if (tag == "StructEntry")
        return true;
    if (tag == "IntSwissKnife") {
        node->references.push_back(
            {ReferenceKind::kAddress, inlineFormulas_.at(child), Aspect::kValue});
        return true;
    }
    if ((tag == "Constant" || tag == "Expression") && attributeOf(child, "Name").empty())
        return false;
    const std::string text = textOf(child);
    return readProperty(description_, node, tag, text);
}

bool NodeReader::readEntry(NodeDescription* node, const xmlNode* element)
{
    EntryDescription entry;
    entry.symbol = attributeOf(element, "Name");
    bool hasValue = false;
    for (const xmlNode* child = firstChild(element); child != nullptr; child = nextSibling(child)) {
        const std::string_view tag = tagOf(child);
        if (isReference(tag)) {
            if (!readReference(&entry.references, child))
                return false;
            continue;
        }
        const std::string text = textOf(child);
        if (tag == "Value") {
            const auto value = parseInteger(text);
            hasValue = value.has_value();
            entry.value = value.value_or(0);
        } else if (tag == "Symbolic") {
            entry.symbol = text;
        } else if (tag == "DisplayName") {
            entry.displayName = text;
        } else if (tag == "ToolTip") {
            entry.toolTip = text;
        } else if (tag == "Description") {
            entry.text = text;
        } else if (tag == "Visibility") {
            entry.visibility = visibilityOf(text);
        }
    }
    if (!hasValue || entry.symbol.empty())
        return false;
    node->entries.push_back(std::move(entry));
    return true;
}

bool NodeReader::readReference(std::vector<Reference>* references, const xmlNode* element)
{
    const ReferenceKind kind = referenceKindOf(tagOf(element));
    if (!addReference(references, kind, textOf(element)))
        return false;
    if (kind == ReferenceKind::kVariable) {
        const std::string variable = attributeOf(element, "Name");
        if (variable.empty())
            return false;
        references->back().aspect = aspectOf(variable);
    }
    const std::string offset = attributeOf(element, "pOffset");
    return kind != ReferenceKind::kIndex || offset.empty() ||
           addReference(references, kind, offset);
}

bool NodeReader::addReference(std::vector<Reference>* references, ReferenceKind kind,
                              const std::string& name)
{
    const auto found = description_->byName.find(name);
    if (found == description_->byName.end())
        return refuse("there is no node " + name);
    references->push_back({kind, found->second, Aspect::kValue});
    return true;
}

bool NodeReader::checkRegister(const NodeDescription& node)
{
    constexpr std::int64_t kMaxBit = 63;
    const bool isNumber = node.kind == NodeKind::kIntReg || node.kind == NodeKind::kMaskedIntReg;
    const bool isReal = node.kind == NodeKind::kFloatReg;
    if ((isNumber && node.length > 8) ||
        (isReal && node.length != 0 && node.length != 4 && node.length != 8) ||
        (node.kind == NodeKind::kStringReg && node.length > kMaxTextRegister))
        return refuse("register " + node.name + " has an impossible length");
    const bool needsLength = isNumber || isReal || node.kind == NodeKind::kStringReg;
    if (needsLength && node.length == 0 && node.target(ReferenceKind::kLength) < 0)
        return refuse("register " + node.name + " has no length");
    if (node.lowBit < 0 || node.lowBit > kMaxBit || node.highBit < 0 || node.highBit > kMaxBit)
        return refuse("register " + node.name + " has impossible bits");
    if (needsLength && node.target(ReferenceKind::kPort) < 0)
        return refuse("register " + node.name + " has no port");
    return true;
}

} // namespace genapi
