// The look-up table of a simulated camera.
#include "simulator/lut_section.h"

#include "base/endian.h"
#include "gentl_abi/gentl_abi.h"

namespace simulator
{

namespace
{

constexpr std::int64_t kLargest = kLookUpSize - 1;
constexpr std::size_t kValueSize = 2;

} // namespace

LutSection::LutSection(CameraContext& context) : context_(context)
{
    auto straight = std::make_shared<LookUpTable>();
    for (std::size_t i = 0; i < straight->size(); ++i) {
        (*straight)[i] = static_cast<std::uint16_t>(i);
    }
    table_ = std::move(straight);

    FeatureTable& table = context.table;
    table.category("LUTControl", "A table that gives each value of a pixel another one.");
    table.enumeration("LUTSelector", "Channel that the other features show.")
        .expert()
        .entry("Luminance", 0, "All pixels.");
    enable_ = &table.boolean("LUTEnable", "Applies the table.")
                   .expert()
                   .streamable()
                   .selectedBy("LUTSelector", 1)
                   .onChange(context.changesPicture());
    index_ = &table.integer("LUTIndex", "Place in the table: a value of 12 bits.")
                  .guru()
                  .shownBy({"LUTSelector"})
                  .range(std::int64_t{0}, kLargest);
    table.integer("LUTValue", "Value of 12 bits at LUTIndex.")
        .guru()
        .shownBy({"LUTSelector", "LUTIndex"})
        .range(std::int64_t{0}, kLargest)
        .onRead([this](std::size_t) { return FeatureValue(std::int64_t{(*table_)[index()]}); })
        .onWrite([this](std::size_t, const FeatureValue& value) {
            changing()[index()] = static_cast<std::uint16_t>(std::get<std::int64_t>(value));
            return gentl::err::kSuccess;
        });
    table
        .memory("LUTValueAll", "The whole table, 16 bits each, big-endian.", kLutBase,
                kLookUpSize * kValueSize)
        .guru()
        .shownBy({"LUTSelector"});
}

LookUpTable& LutSection::changing()
{
    auto copy = std::make_shared<LookUpTable>(*table_);
    LookUpTable& changed = *copy;
    table_ = std::move(copy);
    context_.pictureChanged();
    return changed;
}

void LutSection::fill(PictureSettings& settings) const
{
    settings.lookUp = enable_->integer() != 0 ? table_ : nullptr;
}

std::int32_t LutSection::read(std::uint64_t offset, void* data, std::size_t size) const
{
    auto* out = static_cast<unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i, ++offset) {
        const std::uint16_t value = table_->at(offset / kValueSize);
        out[i] = static_cast<unsigned char>(offset % kValueSize == 0 ? value >> 8 : value & 0xFF);
    }
    return gentl::err::kSuccess;
}

std::int32_t LutSection::write(std::uint64_t offset, const void* data, std::size_t size)
{
    if (offset % kValueSize != 0 || size % kValueSize != 0) {
        return gentl::err::kInvalidAddress;
    }
    const auto* in = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; i += kValueSize) {
        if (base::loadBig<std::uint16_t>(in + i) > kLargest) {
            return gentl::err::kInvalidValue;
        }
    }
    LookUpTable& table = changing();
    for (std::size_t i = 0; i < size; i += kValueSize) {
        table.at((offset + i) / kValueSize) = base::loadBig<std::uint16_t>(in + i);
    }
    return gentl::err::kSuccess;
}

} // namespace simulator
