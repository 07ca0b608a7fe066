// The snapshots that enumeration hands out.
#pragma once

#include "zel_cam/lists.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace core
{

/// A list of borrowed elements that frees itself at Release.
template <class List, class Element> class ListImpl final : public List
{
public:
    explicit ListImpl(std::vector<Element*> elements) : elements_(std::move(elements)) {}

    void Release() override { delete this; }

    Element* GetFirst() override
    {
        next_ = 0;
        return GetNext();
    }

    Element* GetNext() override { return next_ < elements_.size() ? elements_[next_++] : nullptr; }

private:
    ~ListImpl() = default;

    std::vector<Element*> elements_;
    std::size_t next_ = 0;
};

using InterfaceListImpl = ListImpl<ZelCam::InterfaceList, ZelCam::Interface>;
using DeviceInfoListImpl = ListImpl<ZelCam::DeviceInfoList, ZelCam::DeviceInfo>;

} // namespace core
