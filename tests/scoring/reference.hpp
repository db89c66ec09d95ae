// SPDX-License-Identifier: Apache-2.0
// Plain references shared by the scoring tests: the fixed lane orders of the
// sums and the family's integer rules, one element at a time.
#pragma once

#include <stdint.h>

#include <algorithm>
#include <cmath>

namespace zt {

inline int32_t wrap(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }
inline int32_t satDiff(int a, int b) { return std::clamp(a - b, -32768, 32767); }

// -S on N lanes over the first len - len % G columns (lane j % N, each term
// subtracted from 0; w null: the identity), the lanes summed (0 + 2 and
// 1 + 3, then the two), then the rest subtracted in order.
template <class Acc, int N, int G, class T>
Acc negSum(const T* x, const T* m, const T* w, int len) {
    auto term = [&](int j) { Acc d = Acc(x[j]) - Acc(m[j]); return w ? d * d * Acc(w[j]) : d * d; };
    Acc lane[4] = {};
    const int n = len - len % G;
    for (int j = 0; j < n; ++j) lane[j % N] -= term(j);
    Acc s = N == 4 ? (lane[0] + lane[2]) + (lane[1] + lane[3]) : lane[0] + lane[1];
    for (int j = n; j < len; ++j) s -= term(j);
    return s;
}

// 16-bit data: differences saturated in groups of eight; weighted, lane j % 4
// subtracts d * d * w; unweighted, pair sums in 32 bits on lane (j / 2) % 4.
// The exact tail goes into lane 0. Returns -S weighted, S unweighted.
template <class W>
float wideSum(const int16_t* x, const int16_t* m, const W* w, int len) {
    float lane[4] = {};
    const int n = len - len % 8;
    for (int j = 0; j < n; j += 2) {
        const float d0 = float(satDiff(x[j], m[j])), d1 = float(satDiff(x[j + 1], m[j + 1]));
        if (w) lane[j % 4] -= d0 * d0 * float(w[j]), lane[j % 4 + 1] -= d1 * d1 * float(w[j + 1]);
        else lane[(j / 2) % 4] += float(wrap(int64_t(d0) * int64_t(d0) + int64_t(d1) * int64_t(d1)));
    }
    for (int j = n; j < len; ++j) {
        const float d = float(x[j] - m[j]);
        lane[0] += w ? -(d * d * float(w[j])) : d * d;
    }
    return (lane[0] + lane[2]) + (lane[1] + lane[3]);
}

// The scale rule: k = |s + 1|, p = 1 << (k mod 32) as a 32-bit integer; divide when s + 1 >= 0.
inline float rule(int s, float t) {
    const int32_t k1 = wrap(int64_t{s} + 1);
    const uint32_t k = k1 < 0 ? 0u - static_cast<uint32_t>(k1) : static_cast<uint32_t>(k1);
    const float p = static_cast<float>(static_cast<int32_t>(1u << (k % 32)));
    return k1 >= 0 ? t / p : t * p;
}

// The processor's truncating conversion: out of range gives the most negative integer.
inline int32_t cvtt(float r) { return r >= -2147483648.0f && r < 2147483648.0f ? static_cast<int32_t>(r) : INT32_MIN; }

}  // namespace zt
