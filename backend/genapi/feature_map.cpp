#include "genapi/feature_map.h"

#include "genapi/description_parser.h"

#include <utility>

namespace genapi
{

FeatureMap::FeatureMap(FeatureSource& source, Description description)
    : evaluator_(source, std::move(description)), features_(this->description().nodes.size())
{
}

ZelCamErr FeatureMap::create(FeatureSource& source, std::unique_ptr<FeatureMap>* map,
                             std::string* why)
{
    std::string document;
    const ZelCamErr loaded = source.description(&document);
    if (loaded != ZelErr::kOk) {
        *why = "there is no description";
        return loaded;
    }
    Description description;
    std::ptrdiff_t place = -1;
    const ZelCamErr parsed = parseDescription(std::move(document), &description, why, &place);
    if (parsed == ZelErr::kOk)
        map->reset(new FeatureMap(source, std::move(description)));
    else if (std::string again; place >= 0 && source.description(&again) == ZelErr::kOk)
        *why = lineAt(std::move(again), place) + *why;
    return parsed;
}

CheckedNode& FeatureMap::feature(std::int32_t index)
{
    auto& slot = features_[static_cast<std::size_t>(index)];
    if (slot == nullptr)
        slot = std::make_unique<CheckedNode>(evaluator_, index);
    return *slot;
}

void FeatureMap::setData(bool isEvent, std::uint64_t id, const void* data, std::size_t size)
{
    evaluator_.router().setData(isEvent, id, data, size);
    for (const Overlay& overlay : description().overlays) {
        std::int64_t number = 0;
        if (isEvent || overlay.idNode < 0)
            continue;
        evaluator_.begin();
        if (evaluator_.read(overlay.idNode, &number) == ZelErr::kOk &&
            static_cast<std::uint64_t>(number) == id)
            evaluator_.router().setData(
                static_cast<std::int32_t>(&overlay - description().overlays.data()), data, size);
    }
}

} // namespace genapi
