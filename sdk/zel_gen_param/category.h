// ZelGenParam::Category: a folder of parameters.
#pragma once

#include "param.h"

namespace ZelGenParam
{

/// A folder of parameters. Reached from a Param whose type is kTypeCategory by dynamic_cast.
class ZEL_API Category : public Param
{
public:
    /// Slot 23. Number of children.
    virtual std::int32_t GetCount() = 0;
    /// Slot 24. Child by index; null with -40005 in `err` (may be null) past the last.
    virtual Param* GetParamByIndex(std::int64_t index, ZelCamErr* err) = 0;

protected:
    ~Category() = default;
};

} // namespace ZelGenParam
