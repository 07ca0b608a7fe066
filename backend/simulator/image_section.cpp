// Geometry, pixel format and test pattern of a simulated camera.
#include "simulator/image_section.h"

#include "base/text.h"
#include "gentl_abi/gentl_abi.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace simulator
{

namespace
{

constexpr std::int64_t kMaxReduction = 4;

std::int64_t stepFor(std::int64_t sensor, std::int64_t wish)
{
    return sensor % wish == 0 && sensor >= 8 * wish ? wish : 1;
}

/// Codes of PixelColorFilter.
std::int64_t colorFilter(const PixelFormat& format)
{
    switch (format.order) {
    case PixelOrder::RG:
        return 1;
    case PixelOrder::GB:
        return 2;
    case PixelOrder::GR:
        return 3;
    case PixelOrder::BG:
        return 4;
    default:
        return 0;
    }
}

} // namespace

std::int64_t ImageSection::Axis::full() const
{
    const std::int64_t pixels = sensor / (binning->integer() * decimation->integer());
    return std::max(pixels / step * step, std::min(step, pixels));
}

void ImageSection::Axis::fit()
{
    size->set(std::min(size->integer(), full()));
    const std::int64_t room = (full() - size->integer()) / offsetStep * offsetStep;
    offset->set(std::min(offset->integer(), room));
}

ImageSection::ImageSection(CameraContext& context, const std::function<bool()>& wideFormats)
    : context_(context)
{
    const CameraConfig& config = context.config;
    x_.sensor = config.sensorWidth;
    y_.sensor = config.sensorHeight;
    x_.step = stepFor(x_.sensor, 8);
    y_.step = stepFor(y_.sensor, 2);
    x_.offsetStep = stepFor(x_.sensor, 4) == 4 ? 4 : 2;
    y_.offsetStep = 2;
    context.table.category("ImageFormatControl", "Size and format of the image.");
    declareSensor();
    // Before the window: who writes all features in this order finds the picture in its size.
    declareReduction(x_, "Horizontal");
    declareReduction(y_, "Vertical");
    declareWindow(x_, "Width", "OffsetX", "horizontal");
    declareWindow(y_, "Height", "OffsetY", "vertical");
    declareReverse(x_, "X");
    declareReverse(y_, "Y");
    declareFormat(wideFormats);
    declareFormatInfo();
    declarePattern();
}

void ImageSection::declareSensor()
{
    FeatureTable& table = context_.table;
    table.integer("SensorWidth", "Effective width of the sensor in pixels.")
        .unit("px")
        .expert()
        .readOnly()
        .value(x_.sensor);
    table.integer("SensorHeight", "Effective height of the sensor in pixels.")
        .unit("px")
        .expert()
        .readOnly()
        .value(y_.sensor);
    table.integer("WidthMax", "Largest width of the image with the present binning.")
        .unit("px")
        .expert()
        .readOnly()
        .onRead([this](std::size_t) { return FeatureValue(x_.full()); });
    table.integer("HeightMax", "Largest height of the image with the present binning.")
        .unit("px")
        .expert()
        .readOnly()
        .onRead([this](std::size_t) { return FeatureValue(y_.full()); });
}

void ImageSection::declareWindow(Axis& axis, const char* size, const char* offset,
                                 const char* direction)
{
    const std::string way = direction;
    const auto changed = context_.changesPicture();
    axis.size = &context_.table.integer(size, base::intern("Size of the image, " + way + "."))
                     .describe("Pixels of the image, " + way +
                               ". The offset limits the size and the size the "
                               "offset: the window lies inside the picture.")
                     .unit("px")
                     .streamable()
                     .value(axis.sensor / axis.step * axis.step)
                     .limits([&axis](std::size_t) {
                         const std::int64_t room = axis.full() - axis.offset->integer();
                         return IntLimits{std::min(axis.step, axis.full()),
                                          room / axis.step * axis.step, axis.step};
                     })
                     .limitedBy({offset})
                     .lockedIf(context_.whileStreaming())
                     .onChange(changed);
    axis.offset =
        &context_.table.integer(offset, base::intern("Start of the image, " + way + "."))
             .describe("First pixel of the image in the picture, " + way + ".")
             .unit("px")
             .streamable()
             .limits([&axis](std::size_t) {
                 const std::int64_t room = axis.full() - axis.size->integer();
                 return IntLimits{0, room / axis.offsetStep * axis.offsetStep, axis.offsetStep};
             })
             .limitedBy({size})
             .lockedIf(context_.whileStreaming())
             .onChange(changed);
}

void ImageSection::declareReduction(Axis& axis, const char* suffix)
{
    const std::string name = suffix;
    const auto refit = [this](std::size_t) {
        fitWindow();
        context_.pictureChanged();
    };
    const std::int64_t most = std::min<std::int64_t>(kMaxReduction, axis.sensor);
    axis.binning =
        &context_.table.integer("Binning" + name, "Pixels that are combined into one.")
             .describe("Number of adjacent sensor pixels that are combined into one. The mode says "
                       "whether they are added or averaged.")
             .expert()
             .streamable()
             .range(std::int64_t{1}, most)
             .value(std::int64_t{1})
             .lockedIf(context_.whileStreaming())
             .changesOthers()
             .onChange(refit);
    axis.binningMode =
        &context_.table.enumeration("Binning" + name + "Mode", "How binned pixels are combined.")
             .expert()
             .streamable()
             .entry("Sum", 0, "Added: brighter.")
             .entry("Average", 1, "Averaged: less noise.")
             .onChange(context_.changesPicture());
    axis.decimation = &context_.table.integer("Decimation" + name, "Every n-th pixel is read.")
                           .describe("Of n pixels the first is read, the others are left out.")
                           .expert()
                           .streamable()
                           .range(std::int64_t{1}, most)
                           .value(std::int64_t{1})
                           .lockedIf(context_.whileStreaming())
                           .changesOthers()
                           .onChange(refit);
}

void ImageSection::declareReverse(Axis& axis, const char* suffix)
{
    axis.reverse = &context_.table.boolean(std::string("Reverse") + suffix, "Mirrors the picture.")
                        .describe("Mirrors the picture; a mosaic keeps its pattern.")
                        .expert()
                        .streamable()
                        .onChange(context_.changesPicture());
}

void ImageSection::declareFormat(const std::function<bool()>& wideFormats)
{
    format_ =
        &context_.table.enumeration("PixelFormat", "Format of the pixels.")
             .describe(
                 "Format of the pixels. Formats of more than 12 bits are available unless the "
                 "link throughput is limited to less than half of the link speed.")
             .streamable()
             .lockedIf(context_.whileStreaming())
             .onChange(context_.changesPicture());
    for (const std::string& name : context_.config.pixelFormats) {
        const PixelFormat* format = findPixelFormat(name);
        if (format == nullptr) {
            throw std::invalid_argument("unknown pixel format " + name);
        }
        const bool wide = format->bits > 12;
        format_->entry(name, format->code, base::intern(name + "."),
                       wide ? wideFormats : std::function<bool()>());
    }
}

void ImageSection::declareFormatInfo()
{
    FeatureTable& table = context_.table;
    Feature& size = table.enumeration("PixelSize", "Bits of one pixel in memory.")
                        .expert()
                        .readOnly()
                        .onRead([this](std::size_t) {
                            return FeatureValue(std::int64_t{format().bitsPerPixel()});
                        });
    for (const int bits : {8, 10, 12, 16, 24, 32, 48}) {
        size.entry("Bpp" + std::to_string(bits), bits,
                   base::intern(std::to_string(bits) + " bits per pixel."));
    }
    table.enumeration("PixelColorFilter", "Colour pattern of the pixels.")
        .expert()
        .readOnly()
        .entry("None", 0, "No mosaic.")
        .entry("BayerRG", 1, "Starts with red, green.")
        .entry("BayerGB", 2, "Starts with green, blue.")
        .entry("BayerGR", 3, "Starts with green, red.")
        .entry("BayerBG", 4, "Starts with blue, green.")
        .onRead([this](std::size_t) { return FeatureValue(colorFilter(format())); });
    table.integer("PixelDynamicRangeMin", "Smallest value of a pixel.")
        .expert()
        .readOnly()
        .value(std::int64_t{0});
    table.integer("PixelDynamicRangeMax", "Largest value of a pixel.")
        .expert()
        .readOnly()
        .onRead(
            [this](std::size_t) { return FeatureValue((std::int64_t{1} << format().bits) - 1); });
}

void ImageSection::declarePattern()
{
    pattern_ =
        &context_.table.enumeration("TestPattern", "What the camera shows.")
             .describe(
                 "What the camera shows instead of the scene. Patterns are digital: exposure, "
                 "gain and noise do not change them.")
             .streamable()
             .onChange(context_.changesPicture());
    const auto add = [this](const char* name, TestPattern pattern, const char* toolTip) {
        pattern_->entry(name, static_cast<std::int64_t>(pattern), toolTip);
    };
    add("Off", TestPattern::Off, "The scene in front of the camera.");
    add("Black", TestPattern::Black, "All pixels dark.");
    add("White", TestPattern::White, "All pixels saturated.");
    add("GreyHorizontalRamp", TestPattern::GreyHorizontalRamp, "Dark left to bright right.");
    add("GreyVerticalRamp", TestPattern::GreyVerticalRamp, "Dark top to bright bottom.");
    add("GreyHorizontalRampMoving", TestPattern::GreyHorizontalRampMoving,
        "Moves by one pixel per frame.");
    add("GreyVerticalRampMoving", TestPattern::GreyVerticalRampMoving,
        "Moves by one line per frame.");
    add("Checkerboard", TestPattern::Checkerboard, "Squares of 32 by 32 pixels.");
    add("ColorBar", TestPattern::ColorBar, "Eight vertical bars.");
}

const PixelFormat& ImageSection::format() const
{
    return *findPixelFormat(static_cast<std::uint32_t>(format_->integer()));
}

std::uint64_t ImageSection::imageBytes() const
{
    return format().imageBytes(static_cast<std::uint64_t>(x_.size->integer()),
                               static_cast<std::uint64_t>(y_.size->integer()));
}

std::uint64_t ImageSection::linesRead() const
{
    return static_cast<std::uint64_t>(y_.size->integer() * y_.binning->integer());
}

void ImageSection::fitWindow()
{
    x_.fit();
    y_.fit();
}

void ImageSection::fitFormat()
{
    if (format_->check(format_->integer(), 0) == gentl::err::kSuccess) {
        return;
    }
    for (const std::string& name : context_.config.pixelFormats) {
        const FeatureValue value(std::int64_t{findPixelFormat(name)->code});
        if (format_->check(value, 0) == gentl::err::kSuccess) {
            format_->set(value);
            context_.pictureChanged();
            return;
        }
    }
}

void ImageSection::fill(PictureSettings& settings) const
{
    const auto number = [](const Feature* feature) {
        return static_cast<std::uint32_t>(feature->integer());
    };
    settings.format = &format();
    settings.width = number(x_.size);
    settings.height = number(y_.size);
    settings.offsetX = number(x_.offset);
    settings.offsetY = number(y_.offset);
    settings.fullWidth = static_cast<std::uint32_t>(x_.full());
    settings.fullHeight = static_cast<std::uint32_t>(y_.full());
    settings.binningX = number(x_.binning);
    settings.binningY = number(y_.binning);
    settings.sumX = x_.binningMode->integer() == 0;
    settings.sumY = y_.binningMode->integer() == 0;
    settings.decimationX = number(x_.decimation);
    settings.decimationY = number(y_.decimation);
    settings.reverseX = x_.reverse->integer() != 0;
    settings.reverseY = y_.reverse->integer() != 0;
    settings.pattern = static_cast<TestPattern>(pattern_->integer());
}

} // namespace simulator
