#include "imaging/component_loader.h"

namespace imaging
{

ComponentLoader::~ComponentLoader()
{
    if (serializer_ != nullptr) {
        ZelImageSerializer_DeleteComponent(serializer_);
    }
    if (bayer_ != nullptr) {
        ZelBayer_DeleteComponent(bayer_);
    }
    if (unpacker_ != nullptr) {
        ZelImageUnpacker_DeleteComponent(unpacker_);
    }
    if (converter_ != nullptr) {
        ZelImageConverter_DeleteComponent(converter_);
    }
}

ZelImageSerializer* ComponentLoader::serializer(std::int32_t mode)
{
    if (serializer_ == nullptr) {
        serializer_ = ZelImageSerializer_CreateComponent(mode);
    }
    return serializer_;
}

ZelBayer* ComponentLoader::bayer()
{
    if (bayer_ == nullptr) {
        bayer_ = ZelBayer_CreateComponent();
    }
    return bayer_;
}

ZelImageUnpacker* ComponentLoader::unpacker()
{
    if (unpacker_ == nullptr) {
        unpacker_ = ZelImageUnpacker_CreateComponent();
    }
    return unpacker_;
}

ZelImageConverter* ComponentLoader::converter()
{
    if (converter_ == nullptr) {
        converter_ = ZelImageConverter_CreateComponent();
    }
    return converter_;
}

OwnedImage createImage(ZelSize size, ZelPixelType pixelType)
{
    ZelImage* image = nullptr;
    ZelCreateImage(&image, size, pixelType);
    return OwnedImage(image);
}

} // namespace imaging
