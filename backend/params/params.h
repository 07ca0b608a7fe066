// The parameter objects that users hold: scalars, commands, categories.
#pragma once

#include "params/param_object.h"
#include "zel_gen_param_api.h"

#include <functional>
#include <vector>

namespace params
{

/// The part that all classes of the parameter API have in common.
template <class Interface> class ParamOf : public Interface, public ParamObject
{
public:
    ParamOf(ParamArrayState& state, const std::string& name, std::int32_t type)
        : ParamObject(state, name, type), node_(*this)
    {
    }

    ZelGenParam::Param* param() override { return this; }

    std::int32_t GetType() override { return type(); }
    const char* GetName() override { return name().c_str(); }
    const char* GetToolTip() override { return toolTip(); }
    const char* GetDescription() override { return description(); }
    const char* GetDisplayName() override { return displayName(); }
    std::int32_t GetVisibility() override { return visibility(); }
    bool IsStreamable() override { return isStreamable(); }
    bool IsVisible(std::int64_t level) override { return isVisible(level); }
    bool IsValueCached() override { return ask(&genapi::CheckedNode::isValueCached); }
    bool IsAvailable() override { return ask(&genapi::CheckedNode::isAvailable); }
    bool IsWritable() override { return ask(&genapi::CheckedNode::isWritable); }
    bool IsReadable() override { return ask(&genapi::CheckedNode::isReadable); }
    ZelGenParam::Node* GetNode() override { return &node_; }

protected:
    /// Calls `question` with the feature under the lock; false without one.
    template <class Question> bool ask(Question question)
    {
        return state().ask(false, [&] {
            genapi::CheckedNode* const bound = feature();
            return bound != nullptr && std::invoke(question, *bound);
        });
    }

    /// Calls `operation` with the feature under the lock; the reason without one.
    template <class Operation> ZelCamErr call(Operation operation)
    {
        return state().call([&] {
            genapi::CheckedNode* const bound = feature();
            return bound != nullptr ? std::invoke(operation, *bound) : reason();
        });
    }

    /// As call(), with the code in `err` and the value as the result; `failed` when it fails.
    template <class Value, class Operation>
    Value read(ZelCamErr* err, Value failed, Operation operation)
    {
        Value value = failed;
        const ZelCamErr result = call(
            [&](genapi::CheckedNode& feature) { return std::invoke(operation, feature, &value); });
        report(err, result);
        return result == ZelErr::kOk ? value : failed;
    }

private:
    class NodeHandle final : public ZelGenParam::Node
    {
    public:
        explicit NodeHandle(ParamObject& owner) : owner_(owner) {}
        bool IsFeature() override { return owner_.isFeature(); }

    private:
        ParamObject& owner_;
    };

    NodeHandle node_;
};

/// A node of a kind that has no value here.
class UnknownParam final : public ParamOf<ZelGenParam::Param>
{
public:
    using ParamOf::ParamOf;
};

class IntParam final : public ParamOf<ZelGenParam::Int>
{
public:
    using ParamOf::ParamOf;
    ZelCamErr SetValue(std::int64_t value) override;
    std::int64_t GetValue(ZelCamErr* err) override;
    std::int64_t GetMin(ZelCamErr* err) override;
    std::int64_t GetMax(ZelCamErr* err) override;
    std::int64_t GetIncrement(ZelCamErr* err) override;
};

class FloatParam final : public ParamOf<ZelGenParam::Float>
{
public:
    using ParamOf::ParamOf;
    ZelCamErr SetValue(double value) override;
    double GetValue(ZelCamErr* err) override;
    double GetMin(ZelCamErr* err) override;
    double GetMax(ZelCamErr* err) override;
    const char* GetUnit(ZelCamErr* err) override;
};

class BooleanParam final : public ParamOf<ZelGenParam::Boolean>
{
public:
    using ParamOf::ParamOf;
    ZelCamErr SetValue(bool value) override;
    bool GetValue(ZelCamErr* err) override;
};

class StringParam final : public ParamOf<ZelGenParam::String>
{
public:
    using ParamOf::ParamOf;
    std::int32_t GetMaxLength(ZelCamErr* err) override;
    const char* GetValue(ZelCamErr* err) override;
    ZelCamErr SetValue(const char* value) override;
};

class CommandParam final : public ParamOf<ZelGenParam::Command>
{
public:
    using ParamOf::ParamOf;
    ZelCamErr Execute() override;
    bool IsDone(ZelCamErr* err) override;
};

class CategoryParam final : public ParamOf<ZelGenParam::Category>
{
public:
    using ParamOf::ParamOf;
    void unbind() override;
    std::int32_t GetCount() override;
    ZelGenParam::Param* GetParamByIndex(std::int64_t index, ZelCamErr* err) override;

    /// Children in order, for the state that builds the tree.
    std::vector<ParamArrayState::Slot*>& children() { return children_; }

private:
    std::vector<ParamArrayState::Slot*> children_;
};

} // namespace params
