// Fills the model of a description from its parsed document.
#pragma once

#include "genapi/description.h"

#include <libxml/tree.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace genapi
{

/// Reads one document; used once.
class NodeReader
{
public:
    /// `description` is borrowed and must be empty.
    explicit NodeReader(Description* description) : description_(description) {}

    /// False when the document is refused; why() then says it in one line.
    bool read(const xmlNode* root);
    const std::string& why() const { return why_; }

    /// The element of each node, in the order of Description::nodes.
    const std::vector<const xmlNode*>& elements() const { return elements_; }

private:
    bool indexNames();
    bool collect(const xmlNode* parent, int depth);
    bool addNode(const xmlNode* element, std::int32_t parent);
    bool readNode(std::size_t index);
    bool readChild(NodeDescription* node, const xmlNode* child);
    bool readEntry(NodeDescription* node, const xmlNode* element);
    bool readReference(std::vector<Reference>* references, const xmlNode* element);
    bool addReference(std::vector<Reference>* references, ReferenceKind kind,
                      const std::string& name);
    bool checkRegister(const NodeDescription& node);
    bool refuse(const std::string& why);

    Description* description_;
    std::vector<const xmlNode*> elements_;
    std::unordered_map<const xmlNode*, std::int32_t> inlineFormulas_;
    std::string why_;
};

} // namespace genapi
