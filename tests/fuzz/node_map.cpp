// A camera's description: loaded, and every feature of what still loads read and written.
#include "input.h"
#include "params/param_array.h"

#include <cstring>

namespace
{

class Memory final : public genapi::FeatureSource
{
public:
    explicit Memory(std::string document) : document_(std::move(document)) {}
    ZelCamErr description(std::string* document) override
    {
        *document = document_;
        return ZelErr::kOk;
    }
    ZelCamErr read(std::uint64_t address, void* data, std::size_t size) override
    {
        if (address > sizeof bytes_ || sizeof bytes_ - address < size) {
            return ZelErr::kGenTLInvalidAddress;
        }
        std::memcpy(data, bytes_ + address, size);
        return ZelErr::kOk;
    }
    ZelCamErr write(std::uint64_t address, const void* data, std::size_t size) override
    {
        if (address > sizeof bytes_ || sizeof bytes_ - address < size) {
            return ZelErr::kGenTLInvalidAddress;
        }
        std::memcpy(bytes_ + address, data, size);
        return ZelErr::kOk;
    }
    bool hasNetworkByteOrder() override { return false; }

private:
    std::string document_;
    std::uint8_t bytes_[4096] = {1, 2, 3};
};

void use(params::ParamArray& array, ZelGenParam::Param& param)
{
    ZelCamErr err = 0;
    const char* const name = param.GetName();
    param.IsReadable();
    param.IsWritable();
    array.SetIntegerValue(name, array.GetIntegerValue(name, &err) + 1);
    array.SetFloatValue(name, array.GetFloatValue(name, &err) * 1.5);
    array.SetStringValue(name, array.GetStringValue(name, &err));
    array.SetEnumValueStr(name, array.GetEnumValueStr(name, &err));
    if (ZelGenParam::Int* const integer = array.GetInt(name, &err)) {
        integer->GetMin(&err);
        integer->GetMax(&err);
    }
    if (ZelGenParam::Float* const real = array.GetFloat(name, &err)) {
        real->GetMax(&err);
        real->GetUnit(&err);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Memory source(fuzz::Input(data, size).rest());
    params::ParamArray array;
    const bool isLoaded = array.attach({&source}) == ZelErr::kOk;
    fuzz::require(isLoaded || array.GetCount() == 0);
    ZelCamErr err = 0;
    for (std::int32_t i = 0; i < std::min(array.GetCount(), 64); ++i) {
        use(array, *array.GetParamByIndex(i, &err));
    }
    const char event[32] = {};
    array.setEventData(9, event, sizeof event);
    array.detach(ZelErr::kGenTLInvalidHandle);
    return 0;
}
