// Table of the pixel formats.
#include "simulator/pixel_format.h"

#include <algorithm>
#include <array>

namespace simulator
{

namespace
{

constexpr std::array<PixelFormat, 61> kFormats = {{
    {"Mono8", 0x01080001, PixelKind::Mono, PixelPacking::Plain, PixelOrder::None, 8},
    {"Mono10", 0x01100003, PixelKind::Mono, PixelPacking::Plain, PixelOrder::None, 10},
    {"Mono10p", 0x010A0046, PixelKind::Mono, PixelPacking::Lsb, PixelOrder::None, 10},
    {"Mono10Packed", 0x010C0004, PixelKind::Mono, PixelPacking::Packed, PixelOrder::None, 10},
    {"Mono12", 0x01100005, PixelKind::Mono, PixelPacking::Plain, PixelOrder::None, 12},
    {"Mono12p", 0x010C0047, PixelKind::Mono, PixelPacking::Lsb, PixelOrder::None, 12},
    {"Mono12Packed", 0x010C0006, PixelKind::Mono, PixelPacking::Packed, PixelOrder::None, 12},
    {"Mono14", 0x01100025, PixelKind::Mono, PixelPacking::Plain, PixelOrder::None, 14},
    {"Mono16", 0x01100007, PixelKind::Mono, PixelPacking::Plain, PixelOrder::None, 16},
    {"BayerGR8", 0x01080008, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GR, 8},
    {"BayerRG8", 0x01080009, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::RG, 8},
    {"BayerGB8", 0x0108000A, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GB, 8},
    {"BayerBG8", 0x0108000B, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::BG, 8},
    {"BayerGR10", 0x0110000C, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GR, 10},
    {"BayerRG10", 0x0110000D, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::RG, 10},
    {"BayerGB10", 0x0110000E, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GB, 10},
    {"BayerBG10", 0x0110000F, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::BG, 10},
    {"BayerGR12", 0x01100010, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GR, 12},
    {"BayerRG12", 0x01100011, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::RG, 12},
    {"BayerGB12", 0x01100012, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GB, 12},
    {"BayerBG12", 0x01100013, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::BG, 12},
    {"BayerGR10p", 0x010A0056, PixelKind::Bayer, PixelPacking::Lsb, PixelOrder::GR, 10},
    {"BayerGR10Packed", 0x010C0026, PixelKind::Bayer, PixelPacking::Packed, PixelOrder::GR, 10},
    {"BayerRG10p", 0x010A0058, PixelKind::Bayer, PixelPacking::Lsb, PixelOrder::RG, 10},
    {"BayerRG10Packed", 0x010C0027, PixelKind::Bayer, PixelPacking::Packed, PixelOrder::RG, 10},
    {"BayerGB10p", 0x010A0054, PixelKind::Bayer, PixelPacking::Lsb, PixelOrder::GB, 10},
    {"BayerGB10Packed", 0x010C0028, PixelKind::Bayer, PixelPacking::Packed, PixelOrder::GB, 10},
    {"BayerBG10p", 0x010A0052, PixelKind::Bayer, PixelPacking::Lsb, PixelOrder::BG, 10},
    {"BayerBG10Packed", 0x010C0029, PixelKind::Bayer, PixelPacking::Packed, PixelOrder::BG, 10},
    {"BayerGR12p", 0x010C0057, PixelKind::Bayer, PixelPacking::Lsb, PixelOrder::GR, 12},
    {"BayerGR12Packed", 0x010C002A, PixelKind::Bayer, PixelPacking::Packed, PixelOrder::GR, 12},
    {"BayerRG12p", 0x010C0059, PixelKind::Bayer, PixelPacking::Lsb, PixelOrder::RG, 12},
    {"BayerRG12Packed", 0x010C002B, PixelKind::Bayer, PixelPacking::Packed, PixelOrder::RG, 12},
    {"BayerGB12p", 0x010C0055, PixelKind::Bayer, PixelPacking::Lsb, PixelOrder::GB, 12},
    {"BayerGB12Packed", 0x010C002C, PixelKind::Bayer, PixelPacking::Packed, PixelOrder::GB, 12},
    {"BayerBG12p", 0x010C0053, PixelKind::Bayer, PixelPacking::Lsb, PixelOrder::BG, 12},
    {"BayerBG12Packed", 0x010C002D, PixelKind::Bayer, PixelPacking::Packed, PixelOrder::BG, 12},
    {"BayerGR14", 0x01100109, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GR, 14},
    {"BayerRG14", 0x0110010A, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::RG, 14},
    {"BayerGB14", 0x0110010B, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GB, 14},
    {"BayerBG14", 0x0110010C, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::BG, 14},
    {"BayerGR16", 0x0110002E, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GR, 16},
    {"BayerRG16", 0x0110002F, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::RG, 16},
    {"BayerGB16", 0x01100030, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::GB, 16},
    {"BayerBG16", 0x01100031, PixelKind::Bayer, PixelPacking::Plain, PixelOrder::BG, 16},
    {"RGB8", 0x02180014, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Rgb, 8},
    {"BGR8", 0x02180015, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Bgr, 8},
    {"RGBa8", 0x02200016, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::RgbA, 8},
    {"BGRa8", 0x02200017, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::BgrA, 8},
    {"RGB10", 0x02300018, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Rgb, 10},
    {"BGR10", 0x02300019, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Bgr, 10},
    {"RGB12", 0x0230001A, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Rgb, 12},
    {"BGR12", 0x0230001B, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Bgr, 12},
    {"RGB14", 0x0230005E, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Rgb, 14},
    {"BGR14", 0x0230004A, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Bgr, 14},
    {"RGB16", 0x02300033, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Rgb, 16},
    {"BGR16", 0x0230004B, PixelKind::Rgb, PixelPacking::Plain, PixelOrder::Bgr, 16},
    {"YUV422_8_UYVY", 0x0210001F, PixelKind::Yuv, PixelPacking::Plain, PixelOrder::Uyvy, 8},
    {"YUV422_8", 0x02100032, PixelKind::Yuv, PixelPacking::Plain, PixelOrder::Yuyv, 8},
    {"YCbCr422_8", 0x0210003B, PixelKind::Yuv, PixelPacking::Plain, PixelOrder::Yuyv, 8},
    {"YUV8_UYV", 0x02180020, PixelKind::Yuv, PixelPacking::Plain, PixelOrder::Uyv, 8},
}};

} // namespace

const PixelFormat* findPixelFormat(const std::string& name)
{
    const auto* it = std::find_if(kFormats.begin(), kFormats.end(),
                                  [&](const PixelFormat& format) { return name == format.name; });
    return it == kFormats.end() ? nullptr : it;
}

const PixelFormat* findPixelFormat(std::uint32_t code)
{
    const auto* it = std::find_if(kFormats.begin(), kFormats.end(),
                                  [=](const PixelFormat& format) { return code == format.code; });
    return it == kFormats.end() ? nullptr : it;
}

} // namespace simulator
