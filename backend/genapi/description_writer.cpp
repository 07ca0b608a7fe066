#include "genapi/description_writer.h"

#include "genapi/xml_element.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace genapi
{

namespace
{

// Lengths that a register gives are believed up to these many bytes.
constexpr int kMaxTextLength = 65536;
constexpr int kMaxNumberLength = 8;

constexpr std::string_view kEvaluatedTags[] = {
    "Value",       "pValue",  "ValueIndexed", "pValueIndexed", "ValueDefault", "pValueDefault",
    "pIndex",      "Min",     "Max",          "pMin",          "pMax",         "Inc",
    "pInc",        "Address", "pAddress",     "Length",        "pPort",        "Sign",
    "Endianess",   "LSB",     "MSB",          "Bit",           "Formula",      "FormulaTo",
    "FormulaFrom", "Slope",   "IsLinear",     "pVariable",     "Constant",     "Expression",
    "AccessMode",
};

constexpr std::string_view kValueTags[] = {
    "Value", "pValue", "ValueIndexed", "pValueIndexed", "ValueDefault", "pValueDefault", "pIndex",
};

constexpr const char* kAttributes[] = {"Name", "Index", "Offset", "pOffset"};

template <std::size_t kSize>
bool contains(const std::string_view (&tags)[kSize], std::string_view tag)
{
    return std::find(std::begin(tags), std::end(tags), tag) != std::end(tags);
}

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

class Writer
{
public:
    Writer(const Description& description, const std::vector<const xmlNode*>& elements)
        : description_(description), elements_(elements)
    {
        for (std::size_t i = 0; i < elements.size(); ++i)
            indices_.emplace(elements[i], i);
    }

    std::string write(const xmlNode* root)
    {
        text_ = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<RegisterDescription";
        for (const xmlAttr* attribute = root->properties; attribute != nullptr;
             attribute = attribute->next) {
            const auto* const name = reinterpret_cast<const char*>(attribute->name);
            if (attribute->ns == nullptr)
                addAttribute(root, name);
        }
        text_ += ">\n";
        for (std::size_t i = 0; i < elements_.size(); ++i) {
            const bool isInner = indices_.count(elements_[i]->parent) != 0;
            if (!isInner)
                writeNode(i);
        }
        text_ += added_;
        text_ += "</RegisterDescription>\n";
        return std::move(text_);
    }

private:
    const NodeDescription& node(std::int32_t index) const
    {
        return description_.nodes[static_cast<std::size_t>(index)];
    }

    void addAttribute(const xmlNode* element, const char* name)
    {
        const std::string value = attributeOf(element, name);
        if (!value.empty())
            text_ += std::string(" ") + name + "=\"" + escaped(value) + "\"";
    }

    void addElement(std::string_view tag, std::string_view variable, const std::string& value)
    {
        text_.append("<").append(tag);
        if (!variable.empty())
            text_.append(" Name=\"").append(escaped(variable)).append("\"");
        text_.append(">").append(escaped(value)).append("</").append(tag).append(">");
    }

    static bool isConvertedBoolean(const NodeDescription& node)
    {
        return node.kind == NodeKind::kBoolean && node.target(ReferenceKind::kValue) >= 0 &&
               (node.onValue.integer != 1 || node.offValue.integer != 0);
    }

    std::string tagFor(std::size_t index) const
    {
        const NodeDescription& node = description_.nodes[index];
        switch (node.kind) {
        case NodeKind::kCategory:
            return {};
        case NodeKind::kUnsupported:
            return tagOf(elements_[index]) == "StructReg" ? "StructReg" : std::string();
        case NodeKind::kBoolean:
            return isConvertedBoolean(node) ? "IntConverter" : "Integer";
        case NodeKind::kEnumeration:
        case NodeKind::kCommand:
            return "Integer";
        default:
            return std::string(tagOf(elements_[index]));
        }
    }

    void writeNode(std::size_t index)
    {
        const std::string tag = tagFor(index);
        if (tag.empty())
            return;
        const NodeDescription& node = description_.nodes[index];
        text_.append("<").append(tag);
        const auto named = description_.byName.find(node.name);
        if (named != description_.byName.end() && named->second == static_cast<std::int32_t>(index))
            text_.append(" Name=\"").append(escaped(node.name)).append("\"");
        text_ += ">";
        if (isConvertedBoolean(node)) {
            const std::string on = std::to_string(node.onValue.integer);
            addElement("FormulaTo", "",
                       "(FROM=0)?(" + std::to_string(node.offValue.integer) + "):(" + on + ")");
            addElement("FormulaFrom", "", "(TO=(" + on + "))?1:0");
            addElement("pValue", "", this->node(node.target(ReferenceKind::kValue)).name);
        } else {
            writeChildren(index);
        }
        text_.append("</").append(tag).append(">\n");
    }

    void writeChildren(std::size_t index)
    {
        const NodeDescription& node = description_.nodes[index];
        const bool isPlainValue = node.kind == NodeKind::kBoolean ||
                                  node.kind == NodeKind::kEnumeration ||
                                  node.kind == NodeKind::kCommand;
        for (const xmlNode* child = firstChild(elements_[index]); child != nullptr;
             child = nextSibling(child)) {
            const std::string_view tag = tagOf(child);
            if (isPlainValue ? contains(kValueTags, tag) : contains(kEvaluatedTags, tag))
                writeChild(node, child);
            else if (tag == "pLength")
                addElement(tag, "", boundedLength(node, textOf(child)));
            else if (tag == "IntSwissKnife" || tag == "StructEntry")
                writeInner(child);
        }
        const std::int32_t port = node.target(ReferenceKind::kPort);
        const std::int32_t slot = port >= 0 ? this->node(port).overlaySlot : -1;
        if (slot >= 0)
            addElement(
                "Address", "",
                std::to_string(kOverlayBase + (static_cast<std::uint64_t>(slot) << kOverlayShift)));
    }

    void writeInner(const xmlNode* child)
    {
        const auto found = indices_.find(child);
        if (found != indices_.end())
            writeNode(found->second);
    }

    void writeChild(const NodeDescription& node, const xmlNode* child)
    {
        const std::string_view tag = tagOf(child);
        std::string text = textOf(child);
        if (tag == "pVariable" && writeVariable(attributeOf(child, "Name"), text))
            return;
        if (tag == "Value" && node.kind == NodeKind::kBoolean)
            text = text == "true" || text == "1" ? "1" : "0";
        // A register of whole numbers gets the nearest one, not the one below.
        if (tag == "FormulaTo" && node.kind == NodeKind::kConverter && isWhole(node))
            text = "ROUND(" + text + ")";
        text_.append("<").append(tag);
        for (const char* name : kAttributes)
            addAttribute(child, name);
        text_.append(">").append(escaped(text)).append("</").append(tag).append(">");
    }

    bool isWhole(const NodeDescription& converter) const
    {
        const std::int32_t target = converter.target(ReferenceKind::kValue);
        return target >= 0 && !isFloatKind(node(target).kind);
    }

    std::string boundedLength(const NodeDescription& node, const std::string& source)
    {
        const bool isText = node.kind == NodeKind::kStringReg;
        const std::string limit = std::to_string(isText ? kMaxTextLength : kMaxNumberLength);
        std::string name = std::string(kAddedNodePrefix) + limit + source;
        if (lengths_.insert(name).second) {
            added_ += "<IntSwissKnife Name=\"" + escaped(name) + "\"><pVariable Name=\"L\">" +
                      escaped(source) + "</pVariable><Formula>(L&lt;0)?0:((L&gt;" + limit + ")?" +
                      limit + ":L)</Formula></IntSwissKnife>\n";
        }
        return name;
    }

    /// Variables that stand for a range or an entry; false for those that stand for a value.
    bool writeVariable(const std::string& variable, const std::string& source)
    {
        const auto found = description_.byName.find(source);
        if (found == description_.byName.end())
            return false;
        const auto endsWith = [&variable](std::string_view suffix) {
            return variable.size() > suffix.size() &&
                   variable.compare(variable.size() - suffix.size(), suffix.size(), suffix) == 0;
        };
        if (endsWith(".Min"))
            return writeBound(variable, found->second, ReferenceKind::kMin);
        if (endsWith(".Max"))
            return writeBound(variable, found->second, ReferenceKind::kMax);
        if (endsWith(".Inc"))
            return writeBound(variable, found->second, ReferenceKind::kIncrement);
        for (const EntryDescription& entry : node(found->second).entries) {
            if (endsWith(".Entry." + entry.symbol) || endsWith(".Enum." + entry.symbol)) {
                addElement("Constant", variable, std::to_string(entry.value));
                return true;
            }
        }
        return false;
    }

    bool writeBound(const std::string& variable, std::int32_t index, ReferenceKind kind)
    {
        for (;;) {
            const NodeDescription& current = node(index);
            if (current.target(kind) >= 0) {
                addElement("pVariable", variable, node(current.target(kind)).name);
                return true;
            }
            const auto& constant = kind == ReferenceKind::kMin   ? current.min
                                   : kind == ReferenceKind::kMax ? current.max
                                                                 : current.increment;
            const std::int32_t next = current.target(ReferenceKind::kValue);
            if (constant) {
                addElement("Constant", variable, std::to_string(constant->integer));
                return true;
            }
            if (next < 0) {
                const IntegerLimits limits = integerLimits(current);
                addElement("Constant", variable,
                           std::to_string(kind == ReferenceKind::kMin   ? limits.min
                                          : kind == ReferenceKind::kMax ? limits.max
                                                                        : 1));
                return true;
            }
            index = next;
        }
    }

    const Description& description_;
    const std::vector<const xmlNode*>& elements_;
    std::unordered_map<const xmlNode*, std::size_t> indices_;
    std::string text_;
    std::string added_; ///< Nodes that bound lengths.
    std::unordered_set<std::string> lengths_;
};

} // namespace

std::string writeEvaluated(const Description& description, const xmlNode* root,
                           const std::vector<const xmlNode*>& elements)
{
    return Writer(description, elements).write(root);
}

} // namespace genapi
