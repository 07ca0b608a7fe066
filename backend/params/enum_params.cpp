#include "params/enum_params.h"

#include <algorithm>
#include <utility>

namespace params
{

EntryParam::EntryParam(EnumParam& owner, std::string symbol)
    : owner_(owner), symbol_(std::move(symbol)), displayName_(symbol_.c_str())
{
}

void EntryParam::bind(std::int32_t position)
{
    position_ = position;
    const genapi::Node* const entry = described();
    if (entry == nullptr)
        return;
    toolTip_ = owner_.state().intern(entry->toolTip);
    description_ = owner_.state().intern(entry->text);
    displayName_ =
        entry->displayName.empty() ? symbol_.c_str() : owner_.state().intern(entry->displayName);
}

const genapi::Node* EntryParam::described() const
{
    genapi::CheckedNode* const feature = owner_.feature();
    if (feature == nullptr || position_ < 0)
        return nullptr;
    return &feature->entry(static_cast<std::size_t>(position_));
}

template <class Body> ZelCamErr EntryParam::whenDescribed(Body&& body)
{
    return owner_.state().call([&] {
        if (described() == nullptr)
            return owner_.reason() != ZelErr::kOk ? owner_.reason() : ZelErr::kParamUnknown;
        body();
        return ZelErr::kOk;
    });
}

const char* EntryParam::GetToolTip()
{
    return owner_.state().ask("", [&] { return toolTip_; });
}

const char* EntryParam::GetDescription()
{
    return owner_.state().ask("", [&] { return description_; });
}

const char* EntryParam::GetDisplayName()
{
    return owner_.state().ask(symbol_.c_str(), [&] { return displayName_; });
}

std::int32_t EntryParam::GetVisibility()
{
    return owner_.state().ask(0,
                              [&] { return described() != nullptr ? described()->visibility : 0; });
}

bool EntryParam::IsValueCached()
{
    return owner_.state().ask(false, [&] { return described() != nullptr; });
}

bool EntryParam::IsAvailable()
{
    return owner_.state().ask(false, [&] {
        return described() != nullptr &&
               owner_.feature()->isEntryAvailable(static_cast<std::size_t>(position_));
    });
}

bool EntryParam::IsVisible(std::int64_t level)
{
    return owner_.state().ask(
        false, [&] { return described() != nullptr && described()->visibility <= level; });
}

std::int64_t EntryParam::GetValue(ZelCamErr* err)
{
    std::int64_t value = 0;
    report(err, whenDescribed([&] {
               value = owner_.feature()->entryValue(static_cast<std::size_t>(position_));
           }));
    return value;
}

const char* EntryParam::GetValueStr(ZelCamErr* err)
{
    const char* symbol = "";
    report(err, whenDescribed([&] { symbol = symbol_.c_str(); }));
    return symbol;
}

void EnumParam::bind(ParamArrayState::Slot* slot)
{
    ParamOf::bind(slot);
    const genapi::CheckedNode& described = *feature();
    for (std::size_t i = 0; i < described.entryCount(); ++i) {
        const auto from = entries_.begin() + static_cast<std::ptrdiff_t>(i);
        const auto same = std::find_if(from, entries_.end(), [&](const auto& entry) {
            return entry->symbol() == described.entry(i).name;
        });
        if (same != entries_.end())
            std::rotate(from, same, same + 1);
        else
            entries_.insert(
                from, std::make_unique<EntryParam>(*this, std::string(described.entry(i).name)));
        entries_[i]->bind(static_cast<std::int32_t>(i));
    }
}

void EnumParam::unbind()
{
    for (const auto& entry : entries_)
        entry->bind(-1);
    ParamOf::unbind();
}

std::int32_t EnumParam::GetCount(ZelCamErr* err)
{
    return read<std::int32_t>(err, 0, [](genapi::CheckedNode& feature, std::int32_t* count) {
        for (std::size_t i = 0; i < feature.entryCount(); ++i)
            *count += feature.isEntryImplemented(i) ? 1 : 0;
        return ZelErr::kOk;
    });
}

ZelGenParam::EnumEntry* EnumParam::GetEnumEntryByIndex(std::int64_t index)
{
    return state().ask<ZelGenParam::EnumEntry*>(nullptr, [&]() -> ZelGenParam::EnumEntry* {
        genapi::CheckedNode* const bound = feature();
        if (bound == nullptr || index < 0)
            return nullptr;
        for (std::size_t i = 0; i < bound->entryCount(); ++i) {
            if (bound->isEntryImplemented(i) && index-- == 0)
                return entries_[i].get();
        }
        return nullptr;
    });
}

std::int64_t EnumParam::GetValue(ZelCamErr* err)
{
    return read<std::int64_t>(err, 0, &genapi::CheckedNode::readEntryValue);
}

const char* EnumParam::GetValueStr(ZelCamErr* err)
{
    return read<const char*>(err, "", [this](genapi::CheckedNode& feature, const char** symbol) {
        std::size_t entry = 0;
        const ZelCamErr result = feature.readEntry(&entry);
        if (result == ZelErr::kOk)
            *symbol = entries_[entry]->symbol().c_str();
        return result;
    });
}

ZelCamErr EnumParam::SetValue(std::int64_t value)
{
    return call([value](genapi::CheckedNode& feature) { return feature.writeEntryValue(value); });
}

ZelCamErr EnumParam::SetValueStr(const char* symbol)
{
    if (symbol == nullptr)
        return ZelErr::kInvalidArgument;
    return call(
        [symbol](genapi::CheckedNode& feature) { return feature.writeEntrySymbol(symbol); });
}

} // namespace params
