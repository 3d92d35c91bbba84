// The rows of one low-pass level of the wavelet, of Q7 samples, for each vector target: WaveletSmooth_neon is their
// definition.
#if defined(EIS_WAVELET_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef EIS_WAVELET_ROWS_INL_H
#undef EIS_WAVELET_ROWS_INL_H
#else
#define EIS_WAVELET_ROWS_INL_H
#endif

#include <cstdint>

#include "libCore/core/source/frame/vector_ops-inl.h"
#include "libCore/core/source/neon/wavelet/wavelet_mirror.h"

EIS_BEFORE_TARGET();

// (a + b + 1) >> 1. The vector units halve unsigned lanes, which Q7 samples are as well.
template <class V>
HWY_INLINE V Halve(V a, V b) {
    const hn::DFromV<V> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    return hn::BitCast(d, hn::AverageRound(hn::BitCast(du, a), hn::BitCast(du, b)));
}

struct Paired {
    template <class V>
    HWY_INLINE V operator()(V a, V b, V c) const {
        return Halve(Halve(a, c), b);
    }
};

// (a + 2 * b + c + 2) >> 2: the bit that the truncated half of a + c loses never reaches the result.
struct Single {
    template <class V>
    HWY_INLINE V operator()(V a, V b, V c) const {
        return Halve(FloorHalf(a, c), b);
    }
};

// The last row at step 2, where both taps fall on one row.
struct Truncated {
    template <class V>
    HWY_INLINE V operator()(V a, V b, V /*c*/) const {
        return FloorHalf(a, b);
    }
};

template <class Form>
HWY_INLINE void FilterRow(const int16_t* a, const int16_t* b, const int16_t* c, int16_t* HWY_RESTRICT out, int count,
                          Form form) {
    const auto filter = [&](auto d, int x)
                            HWY_ATTR { return form(hn::LoadU(d, a + x), hn::LoadU(d, b + x), hn::LoadU(d, c + x)); };
    const hn::ScalableTag<int16_t> d;
    FillRow(
        d, count, out, [&](int x) HWY_ATTR { return filter(d, x); },
        [&](int x) HWY_ATTR { return hn::GetLane(filter(hn::CappedTag<int16_t, 1>(), x)); });
}

HWY_INLINE int16_t SingleSample(int32_t a, int32_t b, int32_t c) {
    return static_cast<int16_t>((a + 2 * b + c + 2) >> 2);
}

// The definition rounds the last row once at steps 1 and 2. Samples come from bytes: at these steps the two outer ones
// are multiples of eight, and both forms are equal.
inline void HorizontalRow(const int16_t* HWY_RESTRICT in, int16_t* HWY_RESTRICT out, int width, int step) {
    const int inner = width - 2 * step;
    if (inner <= 0) {
        for (int x = 0; x < width; ++x) {
            out[x] = SingleSample(in[mirrorIndex(x - step, width)], in[x], in[mirrorIndex(x + step, width)]);
        }
    } else {
        for (int x = 0; x < step; ++x) out[x] = SingleSample(in[step - x], in[x], in[step + x]);
        FilterRow(in, in + step, in + 2 * step, out + step, inner, Paired());
        const int last = width - 1;
        for (int x = 0; x < step; ++x) {
            out[last - x] = SingleSample(in[last - step - x], in[last - x], in[last - step + x]);
        }
    }
    if (step == 4 && width >= 8) out[width - 3] = static_cast<int16_t>((in[width - 7] + in[width - 3] + 1) >> 1);
}

// Row y of `height`, from what rows(i) gives as row i after the horizontal pass.
template <class Rows>
HWY_INLINE void VerticalRow(Rows rows, int16_t* out, int width, int y, int height, int step) {
    const int16_t* above = rows(mirrorIndex(y - step, height));
    const int16_t* here = rows(y);
    const int16_t* below = rows(mirrorIndex(y + step, height));
    if (step == 2 && y == height - 1) {
        FilterRow(above, here, below, out, width, Truncated());
    } else if (y >= step && y < height - step) {
        FilterRow(above, here, below, out, width, Paired());
    } else {
        FilterRow(above, here, below, out, width, Single());
    }
}

EIS_AFTER_TARGET();

#endif
