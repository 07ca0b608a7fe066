// Handles of the image components of the double.
#pragma once

#include "component_params.h"
#include "images.h"
#include "objects.h"

namespace zel_double
{

/// A component is named by what its creation answers and has nothing but its name.
struct Component {
    explicit Component(std::string text) : name(std::move(text)) {}
    std::string name;
};

inline Json describe(const Component* component)
{
    return component == nullptr ? Json() : Json(component->name);
}

} // namespace zel_double
