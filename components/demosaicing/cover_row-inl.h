// Which columns the vectors of a row begin at. Included once for every instruction set, inside no
// namespace.
#include "common/vector_targets.h"

#include <hwy/highway.h>

#if defined(ZEL_COVER_ROW_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEL_COVER_ROW_INL_H
#undef ZEL_COVER_ROW_INL_H
#else
#define ZEL_COVER_ROW_INL_H
#endif

#include <cstddef>

HWY_BEFORE_NAMESPACE();
namespace ZelComponents::HWY_NAMESPACE
{
namespace
{

// Calls `work` with even columns, so that blocks of `step` (even) columns from there on cover the
// row. All but the first and the last of them begin at `aligned` (even) plus a multiple of `step`;
// those two overlap their neighbours. Returns the columns covered, which are all but the last of an
// odd width, and none of a width below `step`.
template <typename Work>
HWY_INLINE std::size_t coverRow(std::size_t width, std::size_t aligned, std::size_t step,
                                const Work& work)
{
    if (width < step) {
        return 0;
    }
    std::size_t column = aligned % step;
    if (column != 0) {
        work(0);
    }
    for (; column + step <= width; column += step) {
        work(column);
    }
    const std::size_t last = (width - step) / 2 * 2;
    if (column < last + step) {
        work(last);
    }
    return last + step;
}

} // namespace
} // namespace ZelComponents::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
