// SPDX-License-Identifier: Apache-2.0
// A test matrix held three ways at once: plain values for the reference, a
// D2 block with a padded step, and a D2L table whose rows lie elsewhere in
// reverse order. Both library layouts start one element past an aligned
// boundary unless asked otherwise, and the padding holds a poison value
// (NaN, or a large integer) so that a read outside the width shows.
#pragma once

#include <memory>
#include <type_traits>
#include <vector>

#include "common.hpp"

namespace mt {

template <class T>
T poison() {
    if constexpr (std::is_floating_point_v<T>)
        return std::numeric_limits<T>::quiet_NaN();
    else
        return T(std::numeric_limits<T>::max() / 3);
}

template <class T>
struct Mat {
    int h, w, step, pitch;
    std::vector<T> v;
    zt::Buf<T> d2, rowsBuf;
    std::vector<T*> rows;

    Mat(int height, int width, int pad = 3, size_t offset = 1)
        : h(height), w(width), step(width + pad), pitch(width + 5), v(size_t(height) * width),
          d2(size_t(height) * step + 8, offset), rowsBuf(size_t(height) * pitch + 8, offset + 2), rows(height) {
        for (int y = 0; y < h; ++y) rows[y] = rowsBuf.data() + size_t(h - 1 - y) * pitch;
    }
    T& operator()(int y, int x) { return v[size_t(y) * w + x]; }
    T at(int y, int x) const { return v[size_t(y) * w + x]; }

    // Random values, written to both layouts.
    Mat& random(double lo, double hi) {
        zt::fillUniform(v.data(), v.size(), lo, hi);
        return sync();
    }
    Mat& sync() {
        d2.fill(poison<T>());
        rowsBuf.fill(poison<T>());
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) d2[size_t(y) * step + x] = rows[y][x] = at(y, x);
        return *this;
    }
    T* p() { return d2.data(); }
    const T* cp() { return d2.data(); }
    T** t() { return rows.data(); }
    const T** ct() { return const_cast<const T**>(rows.data()); }

    // Both layouts hold `want` (h by w values) and untouched padding.
    template <class Want>
    void expectBoth(const Want& want, const char* what) {
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x) {
                EXPECT_SAME(d2[size_t(y) * step + x], want[size_t(y) * w + x], what, y, x);
                EXPECT_SAME(rows[y][x], want[size_t(y) * w + x], what, y, x);
            }
        for (int y = 0; y < h; ++y)
            for (int x = w; x < step && y < h - 1; ++x) EXPECT_SAME(d2[size_t(y) * step + x], poison<T>(), what, y, x);
    }
    static void EXPECT_SAME(T got, T want, const char* what, int y, int x) {
        if constexpr (std::is_floating_point_v<T>)
            EXPECT_EQ(zt::bits(got), zt::bits(want)) << what << " at " << y << "," << x << ": " << got << " vs " << want;
        else
            EXPECT_EQ(got, want) << what << " at " << y << "," << x;
    }
};

// The near rule: v * 2^-s in single precision, ties to even, saturated to 32 bits.
inline Zel32s nearRef32(float v, int s) {
    const float r = std::nearbyint(v * std::ldexp(1.0f, -s));
    if (r >= 2147483648.0f) return INT32_MAX;
    if (!(r >= -2147483648.0f)) return INT32_MIN;
    return Zel32s(r);
}

// Bit-equal vectors (NaN payloads and signed zeros count).
template <class T>
void expectSame(const T* got, const T* want, size_t n, const char* what) {
    for (size_t i = 0; i < n; ++i) {
        if constexpr (std::is_floating_point_v<T>)
            EXPECT_EQ(zt::bits(got[i]), zt::bits(want[i])) << what << " [" << i << "]: " << got[i] << " vs " << want[i];
        else
            EXPECT_EQ(got[i], want[i]) << what << " [" << i << "]";
    }
}

}  // namespace mt
