// Parameter object of the image components.
#pragma once

#include "../zel_err.h"
#include "../zel_export.h"

#include <cstdint>

/// Named parameters of a component. Owned by the component, valid as long as it. One thread at a
/// time. Unknown keys give -40205, values out of range -40204, a null key or text -40007.
class ZEL_API ZelComponentParams
{
public:
    /// Slot 0.
    virtual ZelCamErr SetInteger(const char* key, std::int32_t value) = 0;
    /// Slot 1.
    virtual ZelCamErr SetString(const char* key, const char* value) = 0;
    /// Slot 2. Copies the text with its NUL into `buffer`. `*length` is the capacity in bytes on
    /// entry and the bytes used, NUL included, on return; too small a buffer gives -1016 and the
    /// length needed.
    virtual ZelCamErr GetString(const char* key, char* buffer, std::uint32_t* length) = 0;

protected:
    ~ZelComponentParams() = default;
};
