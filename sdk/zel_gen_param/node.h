// ZelGenParam::Node and ZelGenParam::NodeMap: the node behind a parameter, the map behind an array.
#pragma once

#include "../zel_export.h"

namespace ZelGenParam
{

/// The node behind a parameter. Lives as long as the parameter.
class ZEL_API Node
{
public:
    virtual void reserved0() {}
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}
    virtual void reserved4() {}
    virtual void reserved5() {}
    virtual void reserved6() {}
    virtual void reserved7() {}
    virtual void reserved8() {}
    virtual void reserved9() {}
    virtual void reserved10() {}
    virtual void reserved11() {}
    virtual void reserved12() {}
    virtual void reserved13() {}
    virtual void reserved14() {}
    virtual void reserved15() {}
    virtual void reserved16() {}
    virtual void reserved17() {}
    virtual void reserved18() {}
    virtual void reserved19() {}
    virtual void reserved20() {}
    virtual void reserved21() {}
    virtual void reserved22() {}
    virtual void reserved23() {}
    virtual void reserved24() {}
    virtual void reserved25() {}
    virtual void reserved26() {}
    virtual void reserved27() {}
    virtual void reserved28() {}
    virtual void reserved29() {}
    virtual void reserved30() {}
    /// Slot 31. True when the node is a feature, that is reachable from the root category.
    virtual bool IsFeature() = 0;

protected:
    ~Node() = default;
};

/// Opaque handle of the node map behind an array. Lives as long as the array.
class ZEL_API NodeMap
{
public:
    virtual void reserved0() {}

protected:
    ~NodeMap() = default;
};

} // namespace ZelGenParam
