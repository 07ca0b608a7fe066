// Enumerations and their entries as users hold them.
#pragma once

#include "params/params.h"

#include <memory>
#include <string>
#include <vector>

namespace params
{

class EnumParam;

/// One entry; belongs to its enumeration and is unbound with it.
class EntryParam final : public ZelGenParam::EnumEntry
{
public:
    EntryParam(EnumParam& owner, std::string symbol);

    /// Position in the description, -1: unbound. Inside an Entry.
    void bind(std::int32_t position);
    std::int32_t position() const { return position_; }
    const std::string& symbol() const { return symbol_; }

    std::int32_t GetType() override { return ZelGenParam::kTypeEnumEntry; }
    const char* GetName() override { return symbol_.c_str(); }
    const char* GetToolTip() override;
    const char* GetDescription() override;
    const char* GetDisplayName() override;
    std::int32_t GetVisibility() override;
    bool IsValueCached() override;
    bool IsAvailable() override;
    bool IsWritable() override { return false; }
    bool IsReadable() override { return IsAvailable(); }
    bool IsStreamable() override { return false; }
    bool IsVisible(std::int64_t level) override;
    ZelGenParam::Node* GetNode() override { return &node_; }
    std::int64_t GetValue(ZelCamErr* err) override;
    const char* GetValueStr(ZelCamErr* err) override;

private:
    /// An entry is no feature: no category lists it.
    class NodeHandle final : public ZelGenParam::Node
    {
    public:
        bool IsFeature() override { return false; }
    };

    const genapi::Node* described() const;
    /// Runs `body` inside an Entry while the entry is bound; else the reason.
    template <class Body> ZelCamErr whenDescribed(Body&& body);

    EnumParam& owner_;
    const std::string symbol_;
    std::int32_t position_ = -1;
    const char* toolTip_ = "";
    const char* description_ = "";
    const char* displayName_;
    NodeHandle node_;
};

class EnumParam final : public ParamOf<ZelGenParam::Enum>
{
public:
    using ParamOf::ParamOf;
    void bind(ParamArrayState::Slot* slot) override;
    void unbind() override;

    std::int32_t GetCount(ZelCamErr* err) override;
    ZelGenParam::EnumEntry* GetEnumEntryByIndex(std::int64_t index) override;
    std::int64_t GetValue(ZelCamErr* err) override;
    const char* GetValueStr(ZelCamErr* err) override;
    ZelCamErr SetValue(std::int64_t value) override;
    ZelCamErr SetValueStr(const char* symbol) override;

private:
    /// All entries ever seen; the first entryCount() ones are bound, in the description's order.
    std::vector<std::unique_ptr<EntryParam>> entries_;
};

} // namespace params
