// Which node has a name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace genapi
{

struct Node;

/// Numbers of nodes by their name, four bytes for each place of an open table that is a quarter
/// full at most. Names stay where the nodes have them: the same `nodes` belong to every call, in
/// which nothing but the place of the texts may change. Not thread safe while names are added.
class NameIndex
{
public:
    enum class Added { kYes, kKnown, kTooManyAlike };

    /// Room for so many names.
    void reserve(std::size_t names);
    /// Adds the node that stands at `node` in `nodes`. Names that meet too many others were chosen
    /// to do so: a table of these would take for ever.
    Added add(std::int32_t node, const std::vector<Node>& nodes);
    /// -1 without such a name.
    std::int32_t find(std::string_view name, const std::vector<Node>& nodes) const;

private:
    std::size_t placeOf(std::string_view name) const;
    std::size_t next(std::size_t place) const { return (place + 1) & (places_.size() - 1); }
    void grow(std::size_t places, const std::vector<Node>& nodes);

    std::vector<std::int32_t> places_; ///< A power of two of them; -1 is empty.
    std::size_t size_ = 0;
};

} // namespace genapi
