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

/// The constants of one class, in the order in which they are searched.
struct ConstantList {
    const Constant* first = nullptr;
    std::size_t size = 0;

    const Constant* begin() const { return first; }
    const Constant* end() const { return first + size; }
};

template <std::size_t Size>
constexpr ConstantList listOf(const std::array<Constant, Size>& constants)
{
    return {constants.data(), Size};
}

/// The constant with this name; null when there is none.
inline const Constant* findConstant(const ConstantList& constants, const char* name)
{
    for (const Constant& constant : constants) {
        // Methods are looked up here first, and few begin like a constant.
        if (constant.name[0] == name[0] && std::strcmp(constant.name, name) == 0) {
            return &constant;
        }
    }
    return nullptr;
}

} // namespace binding
