// Turns the elements of a description into nodes and links.
#pragma once

#include "genapi/description.h"
#include "genapi/element_table.h"

#include <pugixml.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace genapi
{

/// Used once. Texts of the document are referred to, not copied: keepTexts() of `description` ends
/// that. A node that makes no sense by itself (a reference to nothing, a number that is none) is
/// marked as broken, which the log tells, and does not keep the others from being used.
class NodeReader
{
public:
    explicit NodeReader(Description* description) : description_(*description) {}

    /// False with a reason and a place when the elements make no description.
    bool read(const pugi::xml_node& root);

    const std::string& why() const { return why_; }
    /// Where in the document the trouble is; -1: nowhere in particular.
    std::ptrdiff_t place() const { return place_; }

private:
    bool refuse(const std::string& why);
    bool collect(const pugi::xml_node& parent, int depth);
    bool addNode(const pugi::xml_node& element, const Element* known, std::int32_t owner);
    bool addChildren(const pugi::xml_node& element, std::int32_t index);
    bool readNode(std::int32_t index);
    bool takeStructure(Node* node);
    bool readChildren(std::int32_t index);
    bool readLink(Node* node, const Element& element, const pugi::xml_node& child);
    bool add(Node* node, const Link& link);
    std::int32_t keep(std::string_view text);
    std::string_view textOf(const pugi::xml_node& element);

    // What single elements say; false where it makes no sense. See node_values.cpp.
    bool readValue(const Node& node, Link* link, std::string_view text);
    bool readIndexed(Link* link, const pugi::xml_node& child);
    bool readReference(Link* link, const pugi::xml_node& child);
    bool readVariable(Link* link, std::string_view name);
    std::int32_t entryOf(std::int32_t enumeration, std::string_view name);
    bool readProperty(Node* node, Property property, std::string_view text);
    /// Properties of values, ports and registers.
    bool readShape(Node* node, Property property, std::string_view text);
    bool readPortId(Node* node, bool isEvent, std::string_view text);
    bool readValidValues(Node* node, std::string_view text);
    bool findNode(std::string_view name, std::int32_t* index) const;
    const char* faultOf(const Node& node) const;

    Description& description_;
    std::vector<pugi::xml_node> elements_;    ///< By node.
    std::array<std::int64_t, 3> inherited_{}; ///< Conditions that an entry has of its StructReg.
    /// Entries by their enumeration and name, once asked for.
    std::map<std::pair<std::int32_t, std::string_view>, std::int32_t> entries_;
    std::string why_;
    std::ptrdiff_t place_ = -1;
    pugi::xml_node current_;
};

/// An attribute of an element, trimmed; empty without it.
std::string_view attributeOf(const pugi::xml_node& element, const char* name);

} // namespace genapi
