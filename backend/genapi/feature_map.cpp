#include "genapi/feature_map.h"

#include "genapi/description_parser.h"

#include <mutex>
#include <utility>

namespace genapi
{

namespace
{

// ArvGc's parser keeps its state in static variables.
std::mutex& parseMutex()
{
    static std::mutex mutex;
    return mutex;
}

} // namespace

FeatureMap::FeatureMap(FeatureSource& source, Description description)
    : description_(std::move(description)),
      router_(source, description_.overlays,
              description_.isOldSchema && source.hasNetworkByteOrder()),
      features_(description_.nodes.size())
{
}

ZelCamErr FeatureMap::create(FeatureSource& source, std::unique_ptr<FeatureMap>* map,
                             std::string* why)
{
    silenceAravis();
    std::string document;
    const ZelCamErr loaded = source.description(&document);
    if (loaded != ZelErr::kOk) {
        *why = "there is no description";
        return loaded;
    }
    Description description;
    const ZelCamErr parsed = parseDescription(document, &description, why);
    if (parsed != ZelErr::kOk)
        return parsed;
    std::unique_ptr<FeatureMap> made(new FeatureMap(source, std::move(description)));
    ArvDevice* const native = made->description_.isOldSchema ? source.arvDevice() : nullptr;
    if (native != nullptr) {
        made->gc_ = arv_device_get_genicam(native);
        made->usesDeviceMap_ = true;
    } else {
        made->device_ = makePortDevice(made->router_);
        const std::string& text = made->description_.evaluated;
        const std::lock_guard lock(parseMutex());
        made->ownGc_.reset(arv_gc_new(made->device_.get(), text.data(), text.size()));
        made->gc_ = made->ownGc_.get();
    }
    // ArvGc works on its own document from here on.
    std::string().swap(made->description_.evaluated);
    if (made->gc_ == nullptr) {
        *why = "the description cannot be evaluated";
        return ZelErr::kParamTree;
    }
    *map = std::move(made);
    return ZelErr::kOk;
}

Feature& FeatureMap::feature(std::int32_t index)
{
    auto& slot = features_[static_cast<std::size_t>(index)];
    if (slot == nullptr)
        slot = std::make_unique<Feature>(*this, index);
    return *slot;
}

EngineNode FeatureMap::engine(std::int32_t index) const
{
    const NodeDescription& node = description_.nodes[static_cast<std::size_t>(index)];
    // Of the device's own map a command is no value, but what it writes to is one.
    if (usesDeviceMap_ && node.kind == NodeKind::kCommand) {
        const std::int32_t target = node.target(ReferenceKind::kValue);
        return target >= 0 ? engine(target) : EngineNode();
    }
    if (node.name.empty())
        return EngineNode();
    return EngineNode(arv_gc_get_node(gc_, node.name.c_str()));
}

} // namespace genapi
