// What all parameter objects share: the bond to a feature that may come and go.
#pragma once

#include "genapi/checked_node.h"
#include "params/param_array_state.h"
#include "zel_gen_param_api.h"

#include <cstdint>
#include <memory>
#include <string>

namespace params
{

/// Owned by the state of its array, which it borrows. Bound while the array has a feature of its
/// name and type. Called inside an Entry, except where an operation says otherwise.
class ParamObject
{
public:
    ParamObject(ParamArrayState& state, std::string name, std::int32_t type);
    virtual ~ParamObject() = default;
    ParamObject(const ParamObject&) = delete;
    ParamObject& operator=(const ParamObject&) = delete;

    virtual void bind(ParamArrayState::Slot* slot);
    virtual void unbind();
    virtual ZelGenParam::Param* param() = 0;

    /// Never change: no Entry needed.
    const std::string& name() const { return name_; }
    std::int32_t type() const { return type_; }

    ParamArrayState& state() { return state_; }
    /// Null while unbound.
    genapi::CheckedNode* feature();
    /// 0 when bound, else why not.
    ZelCamErr reason() const;

    /// Locks by themselves.
    const char* toolTip();
    const char* description();
    const char* displayName();
    std::int32_t visibility();
    bool isFeature();
    bool isVisible(std::int64_t level);
    bool isStreamable();

protected:
    const genapi::Node* node() const;

private:
    ParamArrayState& state_;
    const std::string name_;
    const std::int32_t type_;
    ParamArrayState::Slot* slot_ = nullptr;
    const char* toolTip_ = "";
    const char* description_ = "";
    const char* displayName_;
};

/// An object for a feature of this type.
std::unique_ptr<ParamObject> makeParamObject(ParamArrayState& state, const std::string& name,
                                             std::int32_t type);

/// Stores a code where the caller wants one.
inline void report(ZelCamErr* err, ZelCamErr code)
{
    if (err != nullptr)
        *err = code;
}

} // namespace params
