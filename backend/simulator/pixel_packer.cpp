// Packed and unpacked layouts of mono and Bayer samples.
#include "simulator/pixel_packer.h"

#include <algorithm>

namespace simulator
{

namespace
{

void groupLsb10(const std::uint16_t* in, std::uint32_t shift, std::uint8_t* out)
{
    const std::uint32_t a = in[0] >> shift;
    const std::uint32_t b = in[1] >> shift;
    const std::uint32_t c = in[2] >> shift;
    const std::uint32_t d = in[3] >> shift;
    out[0] = static_cast<std::uint8_t>(a);
    out[1] = static_cast<std::uint8_t>(a >> 8 | b << 2);
    out[2] = static_cast<std::uint8_t>(b >> 6 | c << 4);
    out[3] = static_cast<std::uint8_t>(c >> 4 | d << 6);
    out[4] = static_cast<std::uint8_t>(d >> 2);
}

void groupLsb12(const std::uint16_t* in, std::uint32_t shift, std::uint8_t* out)
{
    const std::uint32_t a = in[0] >> shift;
    const std::uint32_t b = in[1] >> shift;
    out[0] = static_cast<std::uint8_t>(a);
    out[1] = static_cast<std::uint8_t>(a >> 8 | b << 4);
    out[2] = static_cast<std::uint8_t>(b >> 4);
}

void groupPacked10(const std::uint16_t* in, std::uint32_t shift, std::uint8_t* out)
{
    const std::uint32_t a = in[0] >> shift;
    const std::uint32_t b = in[1] >> shift;
    out[0] = static_cast<std::uint8_t>(a >> 2);
    out[1] = static_cast<std::uint8_t>((a & 3) | (b & 3) << 4);
    out[2] = static_cast<std::uint8_t>(b >> 2);
}

void groupPacked12(const std::uint16_t* in, std::uint32_t shift, std::uint8_t* out)
{
    const std::uint32_t a = in[0] >> shift;
    const std::uint32_t b = in[1] >> shift;
    out[0] = static_cast<std::uint8_t>(a >> 4);
    out[1] = static_cast<std::uint8_t>((a & 15) | (b & 15) << 4);
    out[2] = static_cast<std::uint8_t>(b >> 4);
}

template <typename Group>
std::uint8_t* packAll(Group group, const std::uint16_t* in, std::size_t groups, std::size_t samples,
                      std::size_t bytes, std::uint32_t shift, std::uint8_t* out)
{
    for (std::size_t i = 0; i < groups; ++i, in += samples, out += bytes) {
        group(in, shift, out);
    }
    return out;
}

} // namespace

PixelPacker::PixelPacker(const PixelFormat& format, std::uint8_t* memory)
    : format_(format), out_(memory), shift_(16 - format.bits), groupSize_(1)
{
    if (format.packing != PixelPacking::Plain) {
        groupSize_ = format.packing == PixelPacking::Lsb && format.bits == 10 ? 4 : 2;
    }
}

void PixelPacker::pushGroups(const std::uint16_t* samples, std::size_t groups)
{
    const bool ten = format_.bits == 10;
    if (format_.packing == PixelPacking::Lsb) {
        out_ = ten ? packAll(groupLsb10, samples, groups, 4, 5, shift_, out_)
                   : packAll(groupLsb12, samples, groups, 2, 3, shift_, out_);
    } else {
        out_ = ten ? packAll(groupPacked10, samples, groups, 2, 3, shift_, out_)
                   : packAll(groupPacked12, samples, groups, 2, 3, shift_, out_);
    }
}

std::size_t PixelPacker::pushPlain(const std::uint16_t* samples, std::size_t count)
{
    // Local copies: bytes may alias anything, also the members.
    std::uint8_t* out = out_;
    const std::uint32_t shift = shift_;
    if (format_.bits == 8) {
        for (std::size_t i = 0; i < count; ++i) {
            out[i] = static_cast<std::uint8_t>(samples[i] >> 8);
        }
        return count;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t value = samples[i] >> shift;
        out[2 * i] = static_cast<std::uint8_t>(value);
        out[2 * i + 1] = static_cast<std::uint8_t>(value >> 8);
    }
    return 2 * count;
}

void PixelPacker::push(const std::uint16_t* samples, std::size_t count)
{
    if (format_.packing == PixelPacking::Plain) {
        out_ += pushPlain(samples, count);
        return;
    }
    while (restCount_ != 0 && count != 0) {
        rest_[restCount_++] = *samples++;
        --count;
        if (restCount_ == groupSize_) {
            pushGroups(rest_.data(), 1);
            restCount_ = 0;
        }
    }
    const std::size_t groups = count / groupSize_;
    pushGroups(samples, groups);
    for (std::size_t i = groups * groupSize_; i < count; ++i) {
        rest_[restCount_++] = samples[i];
    }
}

void PixelPacker::finish()
{
    if (restCount_ == 0) {
        return;
    }
    const std::size_t bytes = static_cast<std::size_t>(format_.imageBytes(restCount_, 1));
    std::fill(rest_.begin() + static_cast<std::ptrdiff_t>(restCount_), rest_.end(),
              std::uint16_t{0});
    std::array<std::uint8_t, 8> last{};
    std::uint8_t* memory = out_;
    out_ = last.data();
    pushGroups(rest_.data(), 1);
    std::copy_n(last.begin(), bytes, memory);
    out_ = memory + bytes;
    restCount_ = 0;
}

} // namespace simulator
