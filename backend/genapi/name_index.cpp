#include "genapi/name_index.h"

#include "genapi/description.h"

#include <functional>

namespace genapi
{

namespace
{

constexpr std::size_t kFill = 4; // Places for each name.
constexpr std::size_t kFirst = 64;
// A row of neighbours in a quarter-full table of the most names that are taken has 20 by chance.
constexpr std::size_t kMaxAlike = 64;

} // namespace

std::size_t NameIndex::placeOf(std::string_view name) const
{
    return std::hash<std::string_view>{}(name) & (places_.size() - 1);
}

void NameIndex::reserve(std::size_t names)
{
    std::size_t places = kFirst;
    while (places < names * kFill)
        places *= 2;
    if (size_ == 0)
        places_.assign(places, -1);
}

void NameIndex::grow(std::size_t places, const std::vector<Node>& nodes)
{
    std::vector<std::int32_t> before(places, -1);
    before.swap(places_);
    for (const std::int32_t node : before) {
        if (node < 0)
            continue;
        std::size_t place = placeOf(nodes[static_cast<std::size_t>(node)].name);
        while (places_[place] >= 0)
            place = next(place);
        places_[place] = node;
    }
}

NameIndex::Added NameIndex::add(std::int32_t node, const std::vector<Node>& nodes)
{
    if ((size_ + 1) * kFill > places_.size())
        grow(places_.empty() ? kFirst : places_.size() * 2, nodes);
    const std::string_view name = nodes[static_cast<std::size_t>(node)].name;
    std::size_t place = placeOf(name);
    for (std::size_t met = 0; places_[place] >= 0; ++met) {
        if (nodes[static_cast<std::size_t>(places_[place])].name == name)
            return Added::kKnown;
        if (met >= kMaxAlike)
            return Added::kTooManyAlike;
        place = next(place);
    }
    places_[place] = node;
    ++size_;
    return Added::kYes;
}

std::int32_t NameIndex::find(std::string_view name, const std::vector<Node>& nodes) const
{
    if (places_.empty())
        return -1;
    std::size_t place = placeOf(name);
    while (places_[place] >= 0 && nodes[static_cast<std::size_t>(places_[place])].name != name)
        place = next(place);
    return places_[place];
}

} // namespace genapi
