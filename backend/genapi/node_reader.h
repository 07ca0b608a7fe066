// Turns the elements of a description into nodes and links.
#pragma once

#include "genapi/description.h"

#include <pugixml.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace genapi
{

/// Used once. Texts of the document are referred to, not copied: `description` owns the document.
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
    bool addNode(const pugi::xml_node& element, std::int32_t owner);
    bool addChildren(const pugi::xml_node& element, std::int32_t index);
    bool readNode(std::int32_t index);
    bool takeStructure(Node* node);
    bool readChildren(std::int32_t index);
    bool readChild(Node* node, const pugi::xml_node& child);
    bool readValue(Node* node, Link* link, std::string_view text);
    bool readNumber(const Node& node, Link* link, std::string_view text) const;
    bool readReference(Link* link, const pugi::xml_node& child);
    bool readVariable(Link* link, std::string_view name);
    bool readProperty(Node* node, std::string_view tag, std::string_view text);
    bool readPortId(Node* node, std::string_view tag, std::string_view text);
    bool readValidValues(Node* node, std::string_view text);
    bool findNode(std::string_view name, std::int32_t* index);
    bool checkRegister(const Node& node);
    bool add(Node* node, const Link& link);
    std::int32_t keep(std::string_view text);
    std::string_view textOf(const pugi::xml_node& element);

    Description& description_;
    std::vector<pugi::xml_node> elements_; ///< By node.
    std::size_t ownLinks_ = 0; ///< Links of a StructEntry before this are its StructReg's.
    std::string why_;
    std::ptrdiff_t place_ = -1;
    pugi::xml_node current_;
};

} // namespace genapi
