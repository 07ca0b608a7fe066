// Walking the lists that the SDK hands out.
#pragma once

#include "module/binding/convert.h"

#include <memory>

namespace ZelCamPy
{

/// A Python list with one new wrapper per element of an interface or device list. Releases the SDK
/// list, also when making a wrapper throws; the elements stay valid.
template <class Wrapper, class SdkList> Py::Object wrapAndRelease(SdkList* sdkList)
{
    struct Release {
        void operator()(SdkList* list) const { list->Release(); }
    };
    const std::unique_ptr<SdkList, Release> owner(sdkList);
    Py::List wrappers;
    for (auto* element = sdkList->GetFirst(); element != nullptr; element = sdkList->GetNext()) {
        wrappers.append(binding::make<Wrapper>(element));
    }
    return wrappers;
}

} // namespace ZelCamPy
