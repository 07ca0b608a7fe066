// Class constants: names that an object answers before its methods.
#pragma once

#include "module/binding/pycxx.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace binding
{

struct Constant {
    const char* name;
    long value;
};

/// The constant with this name, searched in the given order; null when there is none.
template <std::size_t Size>
const Constant* findConstant(const std::array<Constant, Size>& constants, const char* name)
{
    for (const Constant& constant : constants) {
        if (std::strcmp(constant.name, name) == 0) {
            return &constant;
        }
    }
    return nullptr;
}

} // namespace binding
