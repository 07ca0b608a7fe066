#include "genapi/engine_node.h"

#include "genapi/kept_value.h"
#include "genapi/port_device.h"

#include <cmath>
#include <limits>
#include <utility>

namespace genapi
{

namespace
{

/// Collects the error of one call of ArvGc.
class Failure
{
public:
    Failure() = default;
    ~Failure() { g_clear_error(&error_); }
    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;

    GError** out() { return &error_; }
    ZelCamErr code() const { return error_ != nullptr ? codeOf(*error_) : ZelErr::kOk; }

private:
    GError* error_ = nullptr;
};

/// A write counts when it is over, whether it was accepted or not: a refused one may have changed
/// something on its way.
class Write
{
public:
    Write() = default;
    ~Write() { ChangeCount::advance(); }
    Write(const Write&) = delete;
    Write& operator=(const Write&) = delete;
};

std::int64_t nearest(double value)
{
    constexpr double kLimit = 9223372036854775808.0;
    if (std::isnan(value))
        return 0;
    if (value >= kLimit)
        return std::numeric_limits<std::int64_t>::max();
    if (value < -kLimit)
        return std::numeric_limits<std::int64_t>::min();
    return std::llround(value);
}

} // namespace

EngineNode::EngineNode(ArvGcNode* node) : node_(node)
{
    if (ARV_IS_GC_INTEGER(node))
        form_ = Form::kInteger;
    else if (ARV_IS_GC_FLOAT(node))
        form_ = Form::kReal;
    else if (ARV_IS_GC_BOOLEAN(node))
        form_ = Form::kBoolean;
    else if (ARV_IS_GC_STRING(node))
        form_ = Form::kText;
}

ZelCamErr EngineNode::readInteger(std::int64_t* value) const
{
    Failure failure;
    switch (form_) {
    case Form::kInteger:
        *value = arv_gc_integer_get_value(reinterpret_cast<ArvGcInteger*>(node_), failure.out());
        return failure.code();
    case Form::kReal:
        *value =
            nearest(arv_gc_float_get_value(reinterpret_cast<ArvGcFloat*>(node_), failure.out()));
        return failure.code();
    case Form::kBoolean:
        *value = arv_gc_boolean_get_value(reinterpret_cast<ArvGcBoolean*>(node_), failure.out());
        return failure.code();
    default:
        return ZelErr::kParamTree;
    }
}

ZelCamErr EngineNode::writeInteger(std::int64_t value) const
{
    const Write write;
    Failure failure;
    switch (form_) {
    case Form::kInteger:
        arv_gc_integer_set_value(reinterpret_cast<ArvGcInteger*>(node_), value, failure.out());
        return failure.code();
    case Form::kReal:
        arv_gc_float_set_value(reinterpret_cast<ArvGcFloat*>(node_), static_cast<double>(value),
                               failure.out());
        return failure.code();
    case Form::kBoolean:
        arv_gc_boolean_set_value(reinterpret_cast<ArvGcBoolean*>(node_), value != 0 ? TRUE : FALSE,
                                 failure.out());
        return failure.code();
    default:
        return ZelErr::kParamTree;
    }
}

ZelCamErr EngineNode::readReal(double* value) const
{
    if (form_ == Form::kReal) {
        Failure failure;
        *value = arv_gc_float_get_value(reinterpret_cast<ArvGcFloat*>(node_), failure.out());
        return failure.code();
    }
    std::int64_t whole = 0;
    const ZelCamErr result = readInteger(&whole);
    *value = static_cast<double>(whole);
    return result;
}

ZelCamErr EngineNode::writeReal(double value) const
{
    if (form_ != Form::kReal)
        return writeInteger(nearest(value));
    const Write write;
    Failure failure;
    arv_gc_float_set_value(reinterpret_cast<ArvGcFloat*>(node_), value, failure.out());
    return failure.code();
}

ZelCamErr EngineNode::readText(std::string* value) const
{
    if (form_ != Form::kText)
        return ZelErr::kParamTree;
    Failure failure;
    const char* const text =
        arv_gc_string_get_value(reinterpret_cast<ArvGcString*>(node_), failure.out());
    // The bytes of a failed read have no end.
    const ZelCamErr result = failure.code();
    if (result == ZelErr::kOk)
        value->assign(text != nullptr ? text : "");
    return result;
}

ZelCamErr EngineNode::writeText(const char* value) const
{
    const Write write;
    if (form_ != Form::kText)
        return ZelErr::kParamTree;
    Failure failure;
    arv_gc_string_set_value(reinterpret_cast<ArvGcString*>(node_), value, failure.out());
    return failure.code();
}

ZelCamErr EngineNode::readIntegerRange(std::int64_t* min, std::int64_t* max) const
{
    if (form_ == Form::kReal) {
        double low = 0.0;
        double high = 0.0;
        const ZelCamErr result = readRealRange(&low, &high);
        *min = nearest(std::ceil(low));
        *max = nearest(std::floor(high));
        return result;
    }
    if (form_ != Form::kInteger)
        return ZelErr::kParamTree;
    Failure failure;
    auto* const node = reinterpret_cast<ArvGcInteger*>(node_);
    *min = arv_gc_integer_get_min(node, failure.out());
    if (failure.code() == ZelErr::kOk)
        *max = arv_gc_integer_get_max(node, failure.out());
    if (*min > *max)
        std::swap(*min, *max);
    return failure.code();
}

ZelCamErr EngineNode::readRealRange(double* min, double* max) const
{
    if (form_ != Form::kReal)
        return ZelErr::kParamTree;
    Failure failure;
    auto* const node = reinterpret_cast<ArvGcFloat*>(node_);
    *min = arv_gc_float_get_min(node, failure.out());
    if (failure.code() == ZelErr::kOk)
        *max = arv_gc_float_get_max(node, failure.out());
    if (*min > *max)
        std::swap(*min, *max);
    return failure.code();
}

} // namespace genapi
