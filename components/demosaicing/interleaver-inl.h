// Vectors of samples, and how the colours made of them become pixels. Included once for every
// instruction set, inside no namespace.
#include "common/vector_targets.h"

#include <hwy/highway.h>

#if defined(ZEL_INTERLEAVER_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_INTERLEAVER_INL_H
#undef ZEL_INTERLEAVER_INL_H
#else
#define ZEL_INTERLEAVER_INL_H
#endif

#include <cstddef>
#include <cstdint>

#if HWY_TARGET != HWY_SCALAR

HWY_BEFORE_NAMESPACE();
namespace ZelComponents::HWY_NAMESPACE
{
namespace
{

namespace hn = hwy::HWY_NAMESPACE;

// Bytes of a vector go to any place in it only with AVX3_DL. Without that, vectors of 512 bits gain
// nothing: putting three components together costs them more.
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL
#define ZEL_WHOLE_VECTOR_LOOKUP 1
#else
#define ZEL_WHOLE_VECTOR_LOOKUP 0
#endif

using Samples = hn::CappedTag<std::int16_t, ZEL_WHOLE_VECTOR_LOOKUP ? 32 : 16>;
using Bytes = hn::Repartition<std::uint8_t, Samples>;
using SampleVector = hn::Vec<Samples>;
using ByteVector = hn::Vec<Bytes>;

// Of the pixels of two columns.
struct Colours {
    SampleVector own; // The red or blue that this row has.
    SampleVector green;
    SampleVector other;
};

struct Interpolated {
    Colours even;
    Colours odd;
};

// Limits to 0..255. Within every 128-bit block: the bytes of `low`, then those of `high`.
HWY_INLINE ByteVector pack(SampleVector low, SampleVector high)
{
#if ZEL_WHOLE_VECTOR_LOOKUP
    return ByteVector{_mm512_packus_epi16(low.raw, high.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return ByteVector{_mm256_packus_epi16(low.raw, high.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_SSSE3
    return ByteVector{_mm_packus_epi16(low.raw, high.raw)};
#else
    const hn::Half<Bytes> half;
    return hn::Combine(Bytes(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
#endif
}

// Takes word i (of a whole vector, or of every 128-bit block) from `yes` where bit i of kWords is
// set, else from `no`.
template <unsigned kWords> HWY_INLINE ByteVector chooseWords(ByteVector yes, ByteVector no)
{
#if ZEL_WHOLE_VECTOR_LOOKUP
    return ByteVector{_mm512_mask_blend_epi16(kWords, no.raw, yes.raw)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
    return ByteVector{_mm256_blend_epi16(no.raw, yes.raw, kWords)};
#elif HWY_ARCH_X86 && HWY_TARGET <= HWY_SSE4
    return ByteVector{_mm_blend_epi16(no.raw, yes.raw, kWords)};
#else
    HWY_ALIGN static constexpr std::uint16_t kMask[8] = {
        kWords & 1U ? 0xFFFF : 0,      kWords >> 1 & 1U ? 0xFFFF : 0, kWords >> 2 & 1U ? 0xFFFF : 0,
        kWords >> 3 & 1U ? 0xFFFF : 0, kWords >> 4 & 1U ? 0xFFFF : 0, kWords >> 5 & 1U ? 0xFFFF : 0,
        kWords >> 6 & 1U ? 0xFFFF : 0, kWords >> 7 & 1U ? 0xFFFF : 0};
    const hn::Repartition<std::uint16_t, Bytes> words;
    return hn::IfVecThenElse(hn::BitCast(Bytes(), hn::LoadDup128(words, kMask)), yes, no);
#endif
}

// Merges the components of even and odd columns. The six bytes of two pixels are three words: the
// first two components of the even pixel; its third and the first of the odd pixel; the odd pixel's
// last two. Word w of the i-th pair of pixels in a block is word 3 i + w of the block's output. As
// 3 has no factor in common with the number of words in a block, one table for each w brings all
// its words to their places modulo that number, and every part of the output chooses between the
// three.
class Interleaver
{
public:
    HWY_INLINE Interleaver() : tables_{table(0), table(1), table(2)} {}

    // Writes three vectors of bytes. `kPastCaches` needs an aligned target.
    template <bool kOwnFirst, bool kPastCaches>
    HWY_INLINE void store(const Interpolated& pixels, std::uint8_t* target) const
    {
        const auto first = [](const Colours& c) HWY_ATTR { return kOwnFirst ? c.own : c.other; };
        const auto third = [](const Colours& c) HWY_ATTR { return kOwnFirst ? c.other : c.own; };
        const ByteVector words[3] = {
            place(0, first(pixels.even), pixels.even.green),
            place(1, third(pixels.even), first(pixels.odd)),
            place(2, pixels.odd.green, third(pixels.odd)),
        };
        storeParts<kPastCaches>(part<0>(words), part<1>(words), part<2>(words), target);
    }

private:
    static constexpr std::size_t kBlockWords = ZEL_WHOLE_VECTOR_LOOKUP ? 32 : 8;

    // `pack` leaves pairs of pixels in groups of eight.
    static HWY_INLINE ByteVector table(std::size_t w)
    {
        HWY_ALIGN std::uint8_t indices[2 * kBlockWords] = {};
        for (std::size_t i = 0; i < kBlockWords; ++i) {
            const std::size_t word = (3 * i + w) % kBlockWords;
            const std::size_t packed = i / 8 * 16 + i % 8;
            indices[2 * word] = static_cast<std::uint8_t>(packed);
            indices[2 * word + 1] = static_cast<std::uint8_t>(packed + 8);
        }
#if ZEL_WHOLE_VECTOR_LOOKUP
        return hn::Load(Bytes(), indices);
#else
        return hn::LoadDup128(Bytes(), indices);
#endif
    }

    HWY_INLINE ByteVector place(std::size_t w, SampleVector low, SampleVector high) const
    {
#if ZEL_WHOLE_VECTOR_LOOKUP
        return ByteVector{_mm512_permutexvar_epi8(tables_[w].raw, pack(low, high).raw)};
#else
        return hn::TableLookupBytes(pack(low, high), tables_[w]);
#endif
    }

    // Which words of a part of the output have number w modulo 3.
    static constexpr unsigned wordsOf(std::size_t part, std::size_t w)
    {
        unsigned words = 0;
        for (std::size_t i = 0; i < kBlockWords; ++i) {
            words |= (kBlockWords * part + i) % 3 == w ? 1U << i : 0U;
        }
        return words;
    }

    template <std::size_t kPart> static HWY_INLINE ByteVector part(const ByteVector* words)
    {
        return chooseWords<wordsOf(kPart, 0)>(words[0],
                                              chooseWords<wordsOf(kPart, 1)>(words[1], words[2]));
    }

    template <bool kPastCaches>
    static HWY_INLINE void storeVector(ByteVector vector, std::uint8_t* target)
    {
        if constexpr (kPastCaches) {
            hn::Stream(vector, Bytes(), target);
        } else {
            hn::StoreU(vector, Bytes(), target);
        }
    }

    // The three parts of every block follow each other.
    template <bool kPastCaches>
    static HWY_INLINE void storeParts(ByteVector a, ByteVector b, ByteVector c,
                                      std::uint8_t* target)
    {
#if HWY_MAX_BYTES >= 32 && !ZEL_WHOLE_VECTOR_LOOKUP
        const Bytes bytes;
        const ByteVector first = hn::ConcatLowerLower(bytes, b, a);
        const ByteVector second = hn::ConcatUpperLower(bytes, a, c);
        c = hn::ConcatUpperUpper(bytes, c, b);
        a = first;
        b = second;
#endif
        storeVector<kPastCaches>(a, target);
        storeVector<kPastCaches>(b, target + sizeof(ByteVector));
        storeVector<kPastCaches>(c, target + 2 * sizeof(ByteVector));
    }

    ByteVector tables_[3];
};

} // namespace
} // namespace ZelComponents::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif

#endif
