#include "frame_kernels.h"

#include <cmath>
#include <cstring>

// Compiled once per instruction set: this file includes itself.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "serializer/movie/frame_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace movie
{
namespace HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

// The arithmetic of the vectors, one value at a time: `value` has 8 fractional bits.
inline unsigned weigh(unsigned value, unsigned weight) { return value * weight >> 16U; }

inline unsigned char luma(unsigned red, unsigned green, unsigned blue, const ColourWeights& w)
{
    return static_cast<unsigned char>((weigh(red << 8U, w.yFromRed) +
                                       weigh(green << 8U, w.yFromGreen) +
                                       weigh(blue << 8U, w.yFromBlue) + w.yBias) >>
                                      8U);
}

// The sums are of four pixels.
inline unsigned char difference(unsigned raising, unsigned falling, unsigned alsoFalling,
                                unsigned weight, unsigned alsoWeight, const ColourWeights& w)
{
    const unsigned sum = weigh(raising << 6U, w.chroma) + w.chromaBias -
                         weigh(falling << 6U, weight) - weigh(alsoFalling << 6U, alsoWeight);
    return static_cast<unsigned char>((sum > 0xFFFFU ? 0xFFFFU : sum) >> 8U);
}

struct Sums {
    unsigned red, green, blue;
};

inline void add(const unsigned char* pixel, unsigned red, Sums* sums)
{
    sums->red += pixel[red];
    sums->green += pixel[1];
    sums->blue += pixel[2U - red];
}

// From column `x`, which is even, to the end.
void convertTail(const RowPair& rows, std::size_t x, unsigned red, const ColourWeights& w)
{
    for (; x < rows.width; x += 2) {
        const std::size_t next = x + 1 < rows.width ? x + 1 : x;
        Sums sums = {};
        for (const std::size_t column : {x, next}) {
            const unsigned char* upper = rows.upper + 3 * column;
            const unsigned char* lower = rows.lower + 3 * column;
            add(upper, red, &sums);
            add(lower, red, &sums);
            rows.upperLuma[column] = luma(upper[red], upper[1], upper[2U - red], w);
            rows.lowerLuma[column] = luma(lower[red], lower[1], lower[2U - red], w);
        }
        rows.u[x / 2] = difference(sums.blue, sums.red, sums.green, w.uFromRed, w.uFromGreen, w);
        rows.v[x / 2] = difference(sums.red, sums.green, sums.blue, w.vFromGreen, w.vFromBlue, w);
    }
}

#if HWY_TARGET != HWY_SCALAR

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::Repartition<std::uint16_t, Bytes>;
using ByteVec = hn::Vec<Bytes>;
using WordVec = hn::Vec<Words>;

// Even and odd pixels of a byte vector as words with 8 fractional bits: one operation each, and
// the results go back into byte order as easily, without crossing lanes.
HWY_INLINE WordVec evenOf(ByteVec value) { return hn::ShiftLeft<8>(hn::BitCast(Words(), value)); }
HWY_INLINE WordVec oddOf(ByteVec value)
{
    return hn::And(hn::BitCast(Words(), value), hn::Set(Words(), 0xFF00));
}

HWY_INLINE WordVec weighted(WordVec value, std::uint16_t weight)
{
    return hn::MulHigh(value, hn::Set(Words(), weight));
}

HWY_INLINE WordVec lumaOf(WordVec red, WordVec green, WordVec blue, const ColourWeights& w)
{
    return hn::Add(hn::Add(weighted(red, w.yFromRed), weighted(green, w.yFromGreen)),
                   hn::Add(weighted(blue, w.yFromBlue), hn::Set(Words(), w.yBias)));
}

// Words with 8 fractional bits of even and odd pixels to bytes in order.
HWY_INLINE ByteVec together(WordVec even, WordVec odd)
{
    return hn::BitCast(Bytes(),
                       hn::Or(hn::ShiftRight<8>(even), hn::And(odd, hn::Set(Words(), 0xFF00))));
}

struct Colours {
    ByteVec red, green, blue;
};

HWY_INLINE Colours load(const unsigned char* from, bool redFirst)
{
    Colours c;
    ByteVec first, third;
    hn::LoadInterleaved3(Bytes(), from, first, c.green, third);
    c.red = redFirst ? first : third;
    c.blue = redFirst ? third : first;
    return c;
}

HWY_INLINE ByteVec lumaOf(const Colours& c, const ColourWeights& w)
{
    return together(lumaOf(evenOf(c.red), evenOf(c.green), evenOf(c.blue), w),
                    lumaOf(oddOf(c.red), oddOf(c.green), oddOf(c.blue), w));
}

// Sums over squares of four pixels, shifted to 8 fractional bits of their mean.
HWY_INLINE WordVec squares(ByteVec upper, ByteVec lower)
{
    const auto low = hn::Set(Words(), 0x00FF);
    const auto a = hn::BitCast(Words(), upper);
    const auto b = hn::BitCast(Words(), lower);
    const auto sum = hn::Add(hn::Add(hn::And(a, low), hn::ShiftRight<8>(a)),
                             hn::Add(hn::And(b, low), hn::ShiftRight<8>(b)));
    return hn::ShiftLeft<6>(sum);
}

HWY_INLINE void storeDifference(WordVec raising, WordVec falling, WordVec alsoFalling,
                                std::uint16_t weight, std::uint16_t alsoWeight,
                                const ColourWeights& w, unsigned char* to)
{
    // The falling part first: then the bias keeps the difference above zero, and only the final
    // sum can pass the top, where it saturates.
    const auto base = hn::Sub(hn::Sub(hn::Set(Words(), w.chromaBias), weighted(falling, weight)),
                              weighted(alsoFalling, alsoWeight));
    const auto sum = hn::SaturatedAdd(base, weighted(raising, w.chroma));
    const hn::RebindToSigned<Words> signedWords;
    const hn::Rebind<std::uint8_t, Words> halfBytes;
    hn::StoreU(hn::DemoteTo(halfBytes, hn::BitCast(signedWords, hn::ShiftRight<8>(sum))), halfBytes,
               to);
}

#endif

template <bool kRedFirst> void convertRows(const RowPair& rows, const ColourWeights& w)
{
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    for (const std::size_t step = hn::Lanes(Bytes()); x + step <= rows.width; x += step) {
        const Colours upper = load(rows.upper + 3 * x, kRedFirst);
        const Colours lower = load(rows.lower + 3 * x, kRedFirst);
        hn::StoreU(lumaOf(upper, w), Bytes(), rows.upperLuma + x);
        hn::StoreU(lumaOf(lower, w), Bytes(), rows.lowerLuma + x);
        const auto red = squares(upper.red, lower.red);
        const auto green = squares(upper.green, lower.green);
        const auto blue = squares(upper.blue, lower.blue);
        storeDifference(blue, red, green, w.uFromRed, w.uFromGreen, w, rows.u + x / 2);
        storeDifference(red, green, blue, w.vFromGreen, w.vFromBlue, w, rows.v + x / 2);
    }
#endif
    convertTail(rows, x, kRedFirst ? 0 : 2, w);
}

void convertRgbRows(const RowPair& rows, const ColourWeights& w) { convertRows<true>(rows, w); }
void convertBgrRows(const RowPair& rows, const ColourWeights& w) { convertRows<false>(rows, w); }

void scaleGrayRow(const unsigned char* from, unsigned char* to, std::size_t width,
                  const ColourWeights& w)
{
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const auto bias = hn::Set(Words(), w.yBias);
    for (const std::size_t step = hn::Lanes(Bytes()); x + step <= width; x += step) {
        const auto gray = hn::LoadU(Bytes(), from + x);
        hn::StoreU(together(hn::Add(weighted(evenOf(gray), w.gray), bias),
                            hn::Add(weighted(oddOf(gray), w.gray), bias)),
                   Bytes(), to + x);
    }
#endif
    for (; x < width; ++x) {
        to[x] =
            static_cast<unsigned char>((weigh(unsigned{from[x]} << 8U, w.gray) + w.yBias) >> 8U);
    }
}

template <bool kRedFirst>
void widenRow(const unsigned char* from, unsigned char* to, std::size_t width)
{
    std::size_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const auto opaque = hn::Set(Bytes(), 0xFF);
    for (const std::size_t step = hn::Lanes(Bytes()); x + step <= width; x += step) {
        const Colours c = load(from + 3 * x, kRedFirst);
        hn::StoreInterleaved4(c.blue, c.green, c.red, opaque, Bytes(), to + 4 * x);
    }
#endif
    for (; x < width; ++x) {
        to[4 * x] = from[3 * x + (kRedFirst ? 2 : 0)];
        to[4 * x + 1] = from[3 * x + 1];
        to[4 * x + 2] = from[3 * x + (kRedFirst ? 0 : 2)];
        to[4 * x + 3] = 0xFF;
    }
}

void widenRgbRow(const unsigned char* from, unsigned char* to, std::size_t width)
{
    widenRow<true>(from, to, width);
}
void widenBgrRow(const unsigned char* from, unsigned char* to, std::size_t width)
{
    widenRow<false>(from, to, width);
}

} // namespace HWY_NAMESPACE
} // namespace movie
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace movie
{

HWY_EXPORT(convertRgbRows);
HWY_EXPORT(convertBgrRows);
HWY_EXPORT(scaleGrayRow);
HWY_EXPORT(widenRgbRow);
HWY_EXPORT(widenBgrRow);

namespace
{

constexpr double kRed = 0.299;
constexpr double kGreen = 0.587;
constexpr double kBlue = 0.114;

std::uint16_t fraction(double value)
{
    return static_cast<std::uint16_t>(std::lround(value * 65536.0));
}

// `lumaScale` and `chromaScale`: output steps per input step over the whole range.
ColourWeights weightsFor(double lumaScale, double chromaScale, std::uint16_t black)
{
    constexpr std::uint16_t kHalf = 128;
    constexpr std::uint16_t kMiddle = 128 * 256 + kHalf;
    const double u = 0.5 * chromaScale / (1.0 - kBlue);
    const double v = 0.5 * chromaScale / (1.0 - kRed);
    return {fraction(kRed * lumaScale),
            fraction(kGreen * lumaScale),
            fraction(kBlue * lumaScale),
            fraction(0.5 * chromaScale),
            fraction(u * kRed),
            fraction(u * kGreen),
            fraction(v * kGreen),
            fraction(v * kBlue),
            static_cast<std::uint16_t>(black * 256 + kHalf),
            kMiddle,
            lumaScale < 1.0 ? fraction(lumaScale) : std::uint16_t{0}};
}

const ColourWeights kFull = weightsFor(1.0, 1.0, 0);
const ColourWeights kLimited = weightsFor(219.0 / 255.0, 224.0 / 255.0, 16);

} // namespace

const ColourWeights& fullRange() { return kFull; }
const ColourWeights& limitedRange() { return kLimited; }

void colourToPlanar(const RowPair& rows, ColourOrder order, const ColourWeights& weights)
{
    if (order == ColourOrder::kRgb) {
        HWY_DYNAMIC_DISPATCH(convertRgbRows)(rows, weights);
    } else {
        HWY_DYNAMIC_DISPATCH(convertBgrRows)(rows, weights);
    }
}

void grayToLuma(const unsigned char* from, unsigned char* to, std::size_t width,
                const ColourWeights& weights)
{
    if (weights.gray == 0) {
        std::memcpy(to, from, width);
    } else {
        HWY_DYNAMIC_DISPATCH(scaleGrayRow)(from, to, width, weights);
    }
}

void colourToBgrx(const unsigned char* from, unsigned char* to, std::size_t width,
                  ColourOrder order)
{
    if (order == ColourOrder::kRgb) {
        HWY_DYNAMIC_DISPATCH(widenRgbRow)(from, to, width);
    } else {
        HWY_DYNAMIC_DISPATCH(widenBgrRow)(from, to, width);
    }
}

} // namespace movie
#endif
