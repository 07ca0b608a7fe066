#include "genapi/node_reader.h"

#include "base/log.h"
#include "base/text.h"

#include <algorithm>

namespace genapi
{

namespace
{

constexpr int kMaxGroupDepth = 16;
// Real descriptions have a tenth of these.
constexpr std::size_t kMaxNodes = 150000;
constexpr std::size_t kMaxLinks = 500000;
constexpr const char* kTooMuch = "there are too many elements";

std::int64_t versionOf(const pugi::xml_node& root, const char* name)
{
    return base::parseInteger(attributeOf(root, name)).value_or(1);
}

/// About how many nodes there are: room for them is taken at once.
std::size_t nodesIn(const pugi::xml_node& parent, int depth)
{
    std::size_t count = 0;
    for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
        const std::string_view tag = child.name();
        if (tag == "Group" && depth < kMaxGroupDepth) {
            count += nodesIn(child, depth + 1);
            continue;
        }
        ++count;
        if (tag == "Enumeration") {
            for (pugi::xml_node entry = child.child("EnumEntry"); entry;
                 entry = entry.next_sibling("EnumEntry"))
                ++count;
        }
    }
    return std::min(count, kMaxNodes);
}

/// Place among those conditions of a StructReg that its entries replace; above 2: none of them.
std::size_t conditionOf(LinkKind kind)
{
    return static_cast<std::size_t>(kind) - static_cast<std::size_t>(LinkKind::kImplemented);
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
    const std::size_t nodes = nodesIn(root, 0);
    description_.nodes.reserve(nodes);
    description_.byName.reserve(nodes);
    elements_.reserve(nodes);
    if (!collect(root, 0))
        return false;
    description_.links.reserve(description_.nodes.size() * 4);
    for (std::size_t i = 0; i < description_.nodes.size(); ++i) {
        if (!readNode(static_cast<std::int32_t>(i)))
            return false;
    }
    current_ = root;
    const std::int32_t found = description_.named("Root");
    if (found < 0 || description_.at(found).kind != NodeKind::kCategory)
        return refuse("there is no root category");
    description_.root = found;
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
        if (!(tag == "Group" ? collect(child, depth + 1) : addNode(child, findElement(tag), -1)))
            return false;
    }
    return true;
}

bool NodeReader::addNode(const pugi::xml_node& element, const Element* known, std::int32_t owner)
{
    const bool isNode = known != nullptr && known->role == ElementRole::kNode;
    Node node;
    node.name = attributeOf(element, "Name");
    if (!isNode && node.name.empty())
        return true;
    if (description_.nodes.size() >= kMaxNodes)
        return refuse("there are too many nodes");
    if (isNode) {
        node.kind = known->node;
        node.isRegister = known->isRegister;
    }
    if (node.kind == NodeKind::kFloatReg)
        node.caching = 2;
    const auto index = static_cast<std::int32_t>(description_.nodes.size());
    node.cell = node.kind == NodeKind::kStructEntry && owner >= 0 ? owner : index;
    const bool isInline = owner >= 0 && node.kind == NodeKind::kIntSwissKnife;
    const bool isEntry = owner >= 0 && node.kind == NodeKind::kEnumEntry;
    const bool isStructure = node.isRegister && node.kind == NodeKind::kOther;
    if (node.name.empty() && !isInline && !isStructure)
        return refuse("a node of kind " + std::string(element.name()) + " has no name");
    description_.nodes.push_back(node);
    elements_.push_back(element);
    // Formulas inside registers need no name; one that has it may be used elsewhere.
    if (!node.name.empty() && !isEntry) {
        const NameIndex::Added added = description_.byName.add(index, description_.nodes);
        if (added == NameIndex::Added::kKnown && !isInline)
            return refuse("two nodes are named " + std::string(node.name));
        if (added == NameIndex::Added::kTooManyAlike)
            return refuse("too many names are alike");
    }
    const bool mayOwn = node.isRegister || node.kind == NodeKind::kEnumeration ||
                        node.kind == NodeKind::kIntSwissKnife;
    return !mayOwn || addChildren(element, index);
}

bool NodeReader::addChildren(const pugi::xml_node& element, std::int32_t index)
{
    // Adding nodes moves them about.
    const NodeKind kind = description_.at(index).kind;
    for (pugi::xml_node child = element.first_child(); child; child = child.next_sibling()) {
        const std::string_view tag = child.name();
        const bool isOwned = tag == "IntSwissKnife" ||
                             (tag == "StructEntry" && kind == NodeKind::kOther) ||
                             (tag == "EnumEntry" && kind == NodeKind::kEnumeration);
        if (!isOwned)
            continue;
        current_ = child;
        // A formula inside a formula has no meaning, and recursion must end.
        if (kind == NodeKind::kIntSwissKnife)
            return refuse("a formula contains a node");
        if (!addNode(child, findElement(tag), index))
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
    inherited_.fill(-1);
    if (node.cell != index && !takeStructure(&node))
        return false;
    if (!readChildren(index))
        return false;
    const char* const fault = faultOf(node);
    if (fault != nullptr)
        base::log(base::LogChannel::GenApi, "node %s %s and is left out",
                  std::string(node.name).c_str(), fault);
    node.isBroken = node.isBroken || fault != nullptr;
    return true;
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
    for (std::uint32_t i = 0; i < structure.linkCount; ++i) {
        const Link link = description_.links[structure.firstLink + i];
        const std::size_t condition = conditionOf(link.kind);
        if (condition < inherited_.size() && inherited_[condition] < 0)
            inherited_[condition] = static_cast<std::int64_t>(description_.links.size());
        description_.links.push_back(link);
    }
    *node = entry;
    return true;
}

bool NodeReader::readChildren(std::int32_t index)
{
    Node& node = description_.at(index);
    std::int32_t child = index;
    const pugi::xml_node element = elements_[static_cast<std::size_t>(index)];
    for (pugi::xml_node xml = element.first_child(); xml; xml = xml.next_sibling()) {
        const Element* const known = findElement(xml.name());
        if (known == nullptr)
            continue;
        current_ = xml;
        bool makesSense = true;
        if (known->role == ElementRole::kProperty) {
            makesSense = readProperty(&node, known->property, textOf(xml));
        } else if (known->role != ElementRole::kNode) {
            makesSense = readLink(&node, *known, xml);
        } else if (known->node == NodeKind::kIntSwissKnife ||
                   (known->node == NodeKind::kEnumEntry && node.kind == NodeKind::kEnumeration)) {
            // Entries and formulas inside a node follow it in the order of the document.
            while (elements_[static_cast<std::size_t>(++child)] != xml) {
            }
            Link link;
            link.kind = known->node == NodeKind::kEnumEntry ? LinkKind::kEntry : LinkKind::kAddress;
            link.target = child;
            add(&node, link);
        }
        if (!why_.empty())
            return false;
        if (!makesSense)
            base::log(base::LogChannel::GenApi, "node %s has a bad %s and is left out",
                      std::string(node.name).c_str(), xml.name());
        node.isBroken = node.isBroken || !makesSense;
    }
    return true;
}

bool NodeReader::readLink(Node* node, const Element& element, const pugi::xml_node& child)
{
    Link link;
    link.kind = element.link;
    if (element.role == ElementRole::kReference) {
        // What says nothing about the node itself may lead nowhere.
        if (!readReference(&link, child))
            return link.kind == LinkKind::kOther || link.kind == LinkKind::kFeature ||
                   link.kind == LinkKind::kSelected || link.kind == LinkKind::kInvalidator ||
                   link.kind == LinkKind::kEntry || link.kind == LinkKind::kError;
    } else if (element.role == ElementRole::kText) {
        const bool isNamed = element.link == LinkKind::kExpression;
        const std::string_view name = attributeOf(child, "Name");
        if (isNamed && name.empty())
            return false;
        link.text = keep(isNamed ? name : textOf(child));
        if (isNamed)
            keep(textOf(child));
    } else if (!readValue(*node, &link, textOf(child))) {
        return false;
    }
    if (link.kind == LinkKind::kConstant) {
        link.text = keep(attributeOf(child, "Name"));
        if (description_.texts.back().empty())
            return false;
    }
    if (link.kind == LinkKind::kValueIndexed && !readIndexed(&link, child))
        return false;
    if (link.kind == LinkKind::kVariable && !readVariable(&link, attributeOf(child, "Name")))
        return false;
    return add(node, link);
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
    const std::size_t condition = conditionOf(link.kind);
    if (condition < inherited_.size() && inherited_[condition] >= 0) {
        description_.links[static_cast<std::size_t>(inherited_[condition])] = link;
        return true;
    }
    description_.links.push_back(link);
    node->linkKinds |= setOf(link.kind);
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
    // Text before everything else is kept with the element itself.
    std::string_view text = element.value();
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
