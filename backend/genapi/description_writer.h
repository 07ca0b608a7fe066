// Writes the part of a description that ArvGc evaluates.
#pragma once

#include "genapi/description.h"

#include <libxml/tree.h>

#include <string>
#include <vector>

namespace genapi
{

/// The checked description as plain XML without padding, comments and texts. What ArvGc reads
/// wrongly is put in its own terms: booleans and enumerations become integers, ranges and entries
/// used in formulas become constants or further references, event and chunk ports become address
/// ranges of the device, lengths that a register gives are bounded.
/// `elements` holds the element of each node.
std::string writeEvaluated(const Description& description, const xmlNode* root,
                           const std::vector<const xmlNode*>& elements);

} // namespace genapi
