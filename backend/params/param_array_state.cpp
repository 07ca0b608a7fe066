#include "params/param_array_state.h"

#include "params/param_object.h"
#include "params/params.h"
#include "params/value_texts.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace params
{

ParamArrayState::Entry::Entry(ParamArrayState& state, genapi::ChangeGate* gate)
    : state_((gate != nullptr ? gate->pass() : void(), state)), lock_(state.mutex_)
{
    ++state_.depth_;
}

ParamArrayState::Entry::~Entry()
{
    if (--state_.depth_ == 0 && !state_.retired_.empty())
        state_.retired_.clear();
}

ParamArrayState::ParamArrayState() : reason_(ZelErr::kInvalidState) {}

ParamArrayState::~ParamArrayState() { forgetValueTexts(this); }

ZelCamErr ParamArrayState::attach(const std::vector<genapi::FeatureSource*>& sources)
{
    const Entry entry = Entry::atOnce(*this);
    try {
        return build(sources);
    } catch (...) {
        drop(ZelErr::kGenTLOutOfMemory); // A part of the names would pass for all.
        throw;
    }
}

ZelCamErr ParamArrayState::build(const std::vector<genapi::FeatureSource*>& sources)
{
    drop(ZelErr::kInvalidState);
    ZelCamErr failure = ZelErr::kOk;
    for (genapi::FeatureSource* const source : sources) {
        std::unique_ptr<genapi::FeatureMap> map;
        std::string why;
        const ZelCamErr result = source != nullptr ? genapi::FeatureMap::create(*source, &map, &why)
                                                   : ZelErr::kInvalidArgument;
        if (result == ZelErr::kOk) {
            maps_.push_back(std::move(map));
            continue;
        }
        const bool hasNone =
            result == ZelErr::kGenTLNoData || result == ZelErr::kGenTLNotImplemented;
        if (!hasNone)
            std::fprintf(stderr, "Parameter description refused: %d %s\n", result, why.c_str());
        if (source == sources.front()) {
            failure = result;
            break;
        }
    }
    // An array without features is attached all the same: names are unknown, not out of reach.
    reason_ = ZelErr::kOk;
    if (failure == ZelErr::kOk) {
        for (const auto& map : maps_)
            addSlots(*map);
        bindObjects();
        buildTree();
    }
    return failure;
}

void ParamArrayState::detach(ZelCamErr reason)
{
    const Entry entry = Entry::atOnce(*this);
    drop(reason != ZelErr::kOk ? reason : ZelErr::kInvalidState);
}

void ParamArrayState::drop(ZelCamErr reason)
{
    reason_ = reason;
    for (const auto& [key, object] : objects_)
        object->unbind();
    root_ = nullptr;
    // Alone in here, nothing is kept: a release has to work without memory, too.
    if (depth_ > 1 && !maps_.empty())
        retired_.push_back({std::move(maps_), std::move(slots_), std::move(flat_)});
    flat_.clear();
    slots_.clear();
    maps_.clear();
}

void ParamArrayState::addSlots(genapi::FeatureMap& map)
{
    std::vector<Slot>& slots = slots_.emplace_back(map.description().nodes.size());
    for (std::size_t node = 0; node < slots.size(); ++node) {
        slots[node].map = &map;
        slots[node].node = static_cast<std::int32_t>(node);
    }
}

ParamArrayState::Slot* ParamArrayState::named(std::string_view name)
{
    for (std::vector<Slot>& slots : slots_) {
        const std::int32_t node = slots.empty() ? -1 : slots.front().map->description().named(name);
        if (node >= 0)
            return &slots[static_cast<std::size_t>(node)];
    }
    return nullptr;
}

void ParamArrayState::bindObjects()
{
    for (const auto& [key, object] : objects_) {
        Slot* const found = named(object->name());
        if (found == nullptr || genapi::paramTypeOf(nodeOf(*found).kind) != object->type())
            continue;
        object->bind(found);
        found->object = object.get();
    }
}

void ParamArrayState::buildTree()
{
    Slot* const found = named("Root");
    if (found == nullptr)
        return;
    root_ = static_cast<CategoryParam*>(&objectOf(*found));
    found->isListed = true;
    std::vector<std::string_view> path = {"Root"};
    addChildren(*root_, "Root", &path);
}

void ParamArrayState::addChildren(CategoryParam& category, std::string_view name,
                                  std::vector<std::string_view>* path)
{
    auto& children = category.children();
    std::unordered_set<const Slot*> present;
    for (const auto& map : maps_) {
        const genapi::Description& description = map->description();
        const std::int32_t found = description.named(name);
        if (found < 0)
            continue;
        const genapi::Node& node = description.at(found);
        for (const genapi::Link& link : description.linksOf(node)) {
            if (link.kind != genapi::LinkKind::kFeature)
                continue;
            Slot* const slot = named(description.at(link.target).name);
            // Two maps together can make a circle that none has alone.
            if (slot == nullptr ||
                std::find(path->begin(), path->end(), nodeOf(*slot).name) != path->end() ||
                !present.insert(slot).second)
                continue;
            children.push_back(slot);
        }
    }
    for (Slot* const child : children) {
        if (std::exchange(child->isListed, true))
            continue;
        flat_.push_back(child);
        const genapi::Node& node = nodeOf(*child);
        if (node.kind != genapi::NodeKind::kCategory)
            continue;
        path->push_back(node.name);
        addChildren(static_cast<CategoryParam&>(objectOf(*child)), node.name, path);
        path->pop_back();
    }
}

ParamArrayState::Slot* ParamArrayState::find(const char* name, ZelCamErr* err)
{
    ZelCamErr result = reason_;
    Slot* slot = nullptr;
    if (name == nullptr) {
        result = ZelErr::kInvalidArgument;
    } else if (result == ZelErr::kOk) {
        slot = named(name);
        if (slot == nullptr)
            result = ZelErr::kParamUnknown;
    }
    if (err != nullptr)
        *err = result;
    return slot;
}

const genapi::Node& ParamArrayState::nodeOf(const Slot& slot)
{
    return slot.map->description().at(slot.node);
}

genapi::CheckedNode& ParamArrayState::featureOf(Slot& slot)
{
    if (slot.feature == nullptr)
        slot.feature = &slot.map->feature(slot.node);
    return *slot.feature;
}

ParamObject& ParamArrayState::objectOf(Slot& slot)
{
    if (slot.object != nullptr)
        return *slot.object;
    const genapi::Node& node = nodeOf(slot);
    const std::int32_t type = genapi::paramTypeOf(node.kind);
    std::string key(node.name);
    key += '\0';
    key += static_cast<char>('0' + type);
    auto owned = objects_.find(key);
    if (owned == objects_.end()) {
        auto made = makeParamObject(*this, std::string(node.name), type);
        owned = objects_.emplace(std::move(key), std::move(made)).first;
    }
    owned->second->bind(&slot);
    slot.object = owned->second.get();
    return *slot.object;
}

ZelCamErr ParamArrayState::paramAt(const std::vector<Slot*>& slots, std::int64_t index,
                                   ZelGenParam::Param** param)
{
    if (index < 0 || static_cast<std::uint64_t>(index) >= slots.size())
        return ZelErr::kInvalidIndex;
    *param = objectOf(*slots[static_cast<std::size_t>(index)]).param();
    return ZelErr::kOk;
}

const char* ParamArrayState::intern(std::string_view text)
{
    return texts_.emplace(text).first->c_str();
}

} // namespace params
