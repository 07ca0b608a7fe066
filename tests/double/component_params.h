// Parameter object of the image components of the double.
#pragma once

#include "core.h"
#include "zel_image/component_params.h"

namespace zel_double
{

/// "GetString" answers {"result", "text"}.
class ComponentParamsDouble final : public ZelComponentParams, public Scripted
{
public:
    using Scripted::Scripted;
    ZelCamErr SetInteger(const char* key, std::int32_t value) override
    {
        return call("SetInteger", key, value).code();
    }
    ZelCamErr SetString(const char* key, const char* value) override
    {
        return call("SetString", key, value).code();
    }
    ZelCamErr GetString(const char* key, char* buffer, std::uint32_t* length) override
    {
        const Answer answer = call("GetString", key, *length);
        const std::string text = bytesFromJson(answer.field<std::string>("text"));
        const std::size_t used = text.copy(buffer, *length);
        if (used < *length) {
            buffer[used] = '\0';
        }
        *length = static_cast<std::uint32_t>(used);
        return answer.code();
    }
};

} // namespace zel_double
