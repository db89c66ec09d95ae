// SPDX-License-Identifier: Apache-2.0
// Suppression gains per bin: the Wiener gain x / (1 + x) of an a priori
// signal-to-noise ratio, in float and by table in Q31, and the gain of the
// Ephraim-Malah suppressor built on it, a tabulated and piecewise quadratic
// function of the product of ratio and Wiener gain.
#pragma once

#include <stdint.h>

#include <bit>

#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "zelsr.h"

namespace zel::gain {

constexpr int kMaxLen = 65535;

// ---- Wiener, float ---------------------------------------------------------

// The quotient goes through the toolkit's division a block at a time, so no
// scratch is allocated. Returns whether a negative ratio was met; those
// count as 0.
inline bool wienerFloat(const float* pSrc, float* pDst, int len) {
    constexpr int kBlock = 256;
    float minimum;
    ownMin_32f(pSrc, len, &minimum);
    const bool negative = minimum * 1.000001f < 0.0f;
    float x[kBlock], x1[kBlock];
    for (int start = 0; start < len; start += kBlock) {
        const int n = len - start < kBlock ? len - start : kBlock;
        for (int i = 0; i < n; ++i) {
            const float v = pSrc[start + i];
            x[i] = (negative && v < 0.0f) ? 0.0f : v;
            x1[i] = x[i] + 1.0f;
        }
        ownDiv_32f(x, x1, pDst + start, n);
    }
    return negative;
}

// ---- Wiener, Q15 ratio to Q31 gain ------------------------------------------
// The gain of x on a grid that widens with the ratio, truncated toward zero:
// sixteenths below 4, steps of 4 below 64, steps of 64 below 512.

constexpr int32_t wienerQ31(int64_t num, int64_t den) { return int32_t((int64_t(1) << 31) * num / (num + den)); }

struct WienerTables {
    int32_t fine[64];    // x = j / 16
    int32_t middle[16];  // x = 4j, j from 1
    int32_t coarse[8];   // x = 64j, j from 1
};

constexpr WienerTables makeWienerTables() {
    WienerTables t{};
    for (int j = 0; j < 64; ++j) t.fine[j] = wienerQ31(j, 16);
    for (int j = 1; j < 16; ++j) t.middle[j] = wienerQ31(4 * j, 1);
    for (int j = 1; j < 8; ++j) t.coarse[j] = wienerQ31(64 * j, 1);
    return t;
}
inline constexpr WienerTables kWiener = makeWienerTables();
static_assert(kWiener.fine[1] == 126322567 && kWiener.fine[3] == 339076365);
static_assert(kWiener.middle[1] == 1717986918 && kWiener.coarse[2] == 2130836487);

constexpr int32_t kWienerAt512 = wienerQ31(512, 1);
static_assert(kWienerAt512 == 2143297520);

constexpr int32_t wienerFixed1(int32_t v) {
    if (v < (1 << 17)) return kWiener.fine[v >> 11];
    if (v < (1 << 21)) return kWiener.middle[v >> 17];
    if (v < (1 << 24)) return kWiener.coarse[v >> 21];
    if (v < (1 << 25)) return kWienerAt512;
    return kMax32;
}

// Returns whether a negative ratio was met; its gain is 0.
inline bool wienerFixed(const int32_t* pSrc, int32_t* pDst, int len) {
    bool negative = false;
    for (int i = 0; i < len; ++i) {
        const int32_t v = pSrc[i];
        negative |= v < 0;
        pDst[i] = v < 0 ? 0 : wienerFixed1(v);
    }
    return negative;
}

// ---- Ephraim-Malah gain ------------------------------------------------------
// With u the product of ratio and Wiener gain in Q22, the gain factor is
// 0.5 sqrt(pi / u) below u = 129 (three entries stand one above that rule),
// and a quadratic per octave above, in Q22, falling to about 1.

inline constexpr int32_t kSmall[129] = {
    2147483647, 1815, 1283, 1048, 907, 812, 741, 686, 642, 605, 574, 547,
    524, 503, 485, 469, 454, 440, 428, 416, 406, 396, 387, 378,
    370, 363, 356, 349, 343, 337, 331, 326, 321, 316, 311, 307,
    303, 298, 294, 291, 287, 283, 280, 277, 274, 271, 268, 265,
    262, 259, 257, 254, 252, 249, 247, 245, 243, 240, 238, 236,
    234, 232, 231, 229, 227, 225, 223, 222, 220, 219, 217, 215,
    214, 212, 211, 210, 208, 207, 206, 204, 203, 202, 200, 199,
    198, 197, 196, 195, 193, 192, 191, 190, 189, 188, 187, 186,
    185, 184, 183, 182, 182, 181, 180, 179, 178, 177, 176, 175,
    175, 174, 173, 172, 172, 171, 170, 169, 169, 168, 167, 166,
    166, 165, 164, 164, 163, 162, 162, 161, 160,
};

struct Segment {
    int64_t a, b, c;
};
inline constexpr Segment kSegments[24] = {
    {1576642499, 72453962, 669498645}, {557423223, 51231813, 473414302}, {197075987, 36225125, 334764744},
    {69674844, 25613282, 236728959},   {24632335, 18108852, 167413213},  {8707825, 12801395, 118408092},
    {3077959, 9047010, 83768274},      {1087711, 6390220, 59291231},     {384201, 4508716, 42007360},
    {135577, 3174276, 29819668},       {47749, 2225121, 21249233},       {16748, 1546422, 15255427},
    {5823, 1056723, 11108711},         {1986, 698929, 8299601},          {648, 435261, 6470760},
    {193, 245271, 5361107},            {49, 121987, 4756698},            {11, 56781, 4463049},
    {2, 27183, 4325745},               {0, 13368, 4259445},              {0, 6635, 4226742},
    {0, 3306, 4210491},                {0, 1650, 4202389},               {0, 824, 4198345},
};

constexpr float kRatioMin = 3.1e-05f, kRatioMax = 100.0f;
constexpr int32_t kRatioMinQ15 = 1, kRatioMaxQ15 = 3276800;

// The gain factor in Q22 for u of 128 and above (u under 2^31).
constexpr int64_t quadraticQ22(int64_t u) {
    const int b = int(std::bit_width(uint64_t(u))) - 1;
    const int k = b - 7;
    const int64_t d = u - (int64_t(1) << b);
    const Segment& s = kSegments[k];
    const int64_t q = ((s.a * d) >> 13) - s.b;
    const int64_t r = (q * d) >> (k + 5);
    return r + s.c;
}
static_assert(quadraticQ22(128) == 669498645);

// Wiener gains in [0, 1] (NaN included) are checked before anything is written.
inline bool wienerGainsValid(const float* w, int len) {
    for (int i = 0; i < len; ++i)
        if (!(w[i] >= 0.0f && w[i] <= 1.0f)) return false;
    return true;
}
inline bool wienerGainsValid(const int32_t* w, int len) {
    for (int i = 0; i < len; ++i)
        if (w[i] < 0) return false;
    return true;
}

inline void emnsFloat(const float* pWiener, const float* pRatio, float* pDst, int len) {
    for (int i = 0; i < len; ++i) {
        const float w = pWiener[i];
        float g = pRatio[i];
        // A NaN ratio counts as the largest, which leaves about the Wiener gain.
        g = g < kRatioMin ? kRatioMin : (g > kRatioMax || g != g ? kRatioMax : g);
        const float p = g * w;
        const int64_t u = int64_t(double(p) * 4194304.0);
        if (u < 129)
            pDst[i] = w * float(kSmall[u]);
        else
            pDst[i] = float(double(w * float(quadraticQ22(u))) / 4194304.0);
    }
}

inline void emnsFixed(const int32_t* pWiener, const int32_t* pRatio, int32_t* pDst, int len) {
    for (int i = 0; i < len; ++i) {
        const int64_t w = pWiener[i];
        int32_t g = pRatio[i];
        g = g < kRatioMinQ15 ? kRatioMinQ15 : (g > kRatioMaxQ15 ? kRatioMaxQ15 : g);
        const int64_t u = (w * g) >> 24;
        if (u < 129)
            pDst[i] = sat32(w * kSmall[u]);
        else
            pDst[i] = sat32((w * quadraticQ22(u)) >> 22);
    }
}

}  // namespace zel::gain
