// A typed answer of an INFO function and the rules for handing it out.
#pragma once

#include "gentl_abi/gentl_abi.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace simulator::producer
{

/// One answer: its data type and its bytes.
class InfoValue
{
public:
    static InfoValue text(std::string_view value); ///< Its closing NUL belongs to it.
    static InfoValue int32(std::int32_t value);
    static InfoValue uint32(std::uint32_t value);
    static InfoValue uint64(std::uint64_t value);
    static InfoValue size(std::size_t value);
    static InfoValue bool8(bool value);
    static InfoValue pointer(const void* value);
    static InfoValue bytes(const void* data, std::size_t size);
    /// Texts in `list`, each closed by NUL; the NUL behind the last one is added.
    static InfoValue textList(std::string_view list);

    /// Hands the answer out: `type` may be null; with `data` null only the size is told. Throws
    /// Failure -1009 for a null `size`, -1016 when `*size` is less than needed.
    void answer(std::int32_t* type, void* data, std::size_t* size) const;

private:
    InfoValue(gentl::InfoDataType type, const void* data, std::size_t size);

    gentl::InfoDataType type_;
    std::string bytes_;
};

} // namespace simulator::producer
