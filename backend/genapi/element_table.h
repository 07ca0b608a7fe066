// The elements of descriptions, by name.
#pragma once

#include "genapi/description.h"

#include <string_view>

namespace genapi
{

/// What an element does to the node that it stands in, or that it is.
enum class ElementRole : std::uint8_t {
    kNode,
    kReference, ///< A link to the node that its text names.
    kNumber,    ///< A link that holds a number.
    kText,      ///< A link that holds a text.
    kProperty,
};

/// Elements that are neither nodes nor links.
enum class Property : std::uint8_t {
    kNone,
    kToolTip,
    kDescription,
    kDisplayName,
    kVisibility,
    kUnit,
    kAccessMode,
    kImposedAccessMode,
    kStreamable,
    kCachable,
    kPollingTime,
    kIsSelfClearing,
    kSign,
    kEndianess,
    kSlope,
    kSymbolic,
    kValidValues,
    kPortId,
    kLength,
    kLsb,
    kMsb,
    kBit,
};

struct Element {
    std::string_view tag;
    ElementRole role = ElementRole::kProperty;
    NodeKind node = NodeKind::kOther;
    LinkKind link = LinkKind::kOther;
    Property property = Property::kNone;
    bool isRegister = false;
};

/// The element of this name; null for all that mean nothing to us.
const Element* findElement(std::string_view tag);

} // namespace genapi
