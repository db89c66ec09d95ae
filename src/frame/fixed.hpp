// SPDX-License-Identifier: Apache-2.0
// Fixed-point primitives in one place: powers of two for scale factors, the
// three conversion rules (near, truncate, shift), saturation and the shifts
// with a signed count. Each is decided here once.
#pragma once

#include <math.h>
#include <stdint.h>

#include "zelsr.h"

// 2^-s as a single; s is clamped to -128..150, so the ends give +inf and 0.
inline Zel32f ownScaleValue_32f(int s) {
    s = s < -128 ? -128 : (s > 150 ? 150 : s);
    return ldexpf(1.0f, -s);
}

// 2^-s as a double; s is clamped to -1024..1087, so the ends give +inf and 0.
inline Zel64f ownScaleValue_64f(int s) {
    s = s < -1024 ? -1024 : (s > 1087 ? 1087 : s);
    return ldexp(1.0, -s);
}

namespace zel {

constexpr int32_t kMax32 = 2147483647;
constexpr int32_t kMin32 = -2147483647 - 1;
// The largest single below 2^31: anything above it rounds to 2^31 or more.
constexpr float kMaxBelow2p31f = 2147483520.0f;

constexpr int16_t sat16(int64_t v) {
    return static_cast<int16_t>(v > 32767 ? 32767 : (v < -32768 ? -32768 : v));
}
constexpr int32_t sat32(int64_t v) {
    return static_cast<int32_t>(v > kMax32 ? kMax32 : (v < kMin32 ? kMin32 : v));
}

// Two's-complement wrap to 32 and 16 bits, where a family keeps the wrap.
constexpr int32_t wrap32(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }
constexpr int16_t wrap16(int64_t v) { return static_cast<int16_t>(static_cast<uint16_t>(static_cast<uint64_t>(v))); }

constexpr int16_t subSat16(int16_t a, int16_t b) { return sat16(int64_t(a) - int64_t(b)); }
constexpr int16_t addSat16(int16_t a, int16_t b) { return sat16(int64_t(a) + int64_t(b)); }

// Arithmetic shift with a signed count: s > 0 shifts right (toward minus
// infinity), s < 0 shifts left. Counts beyond the width saturate the shift.
constexpr int64_t shiftBy(int64_t v, int s) {
    if (s >= 0) return s > 63 ? (v < 0 ? -1 : 0) : (v >> s);
    int l = -s > 63 ? 63 : -s;
    return static_cast<int64_t>(static_cast<uint64_t>(v) << l);
}

// Round to nearest, ties to even, independent of the caller's rounding mode.
inline double roundHalfEven(double x) {
    double r = floor(x);
    double d = x - r;
    if (d > 0.5 || (d == 0.5 && fmod(r, 2.0) != 0.0)) r += 1.0;
    return r;
}
inline float roundHalfEven(float x) {
    // Singles of magnitude 2^23 and above are integers already.
    if (!(fabsf(x) < 8388608.0f)) return x;
    return static_cast<float>(roundHalfEven(static_cast<double>(x)));
}
// Halves away from zero: add 0.5 in magnitude (in the value's own precision), then truncate.
inline float roundHalfAway(float x) { return truncf(x + copysignf(0.5f, x)); }
inline double roundHalfAway(double x) { return trunc(x + copysign(0.5, x)); }

// Saturating stores of an already rounded single. NaN gives the most
// negative integer, as the processor's conversion does.
inline int32_t satRounded32(float r) {
    if (r > kMaxBelow2p31f) return kMax32;
    if (!(r >= -2147483648.0f)) return kMin32;
    return static_cast<int32_t>(r);
}
inline int32_t satRounded32(double r) {
    if (r > 2147483647.0) return kMax32;
    if (!(r >= -2147483648.0)) return kMin32;
    return static_cast<int32_t>(r);
}
inline int16_t satRounded16(float r) {
    if (r > 32767.0f) return 32767;
    if (!(r >= -32768.0f)) return -32768;
    return static_cast<int16_t>(r);
}
inline int16_t satRounded16(double r) {
    if (r > 32767.0) return 32767;
    if (!(r >= -32768.0)) return -32768;
    return static_cast<int16_t>(r);
}

// The near rule: v * 2^-s in single precision, ties to even, saturated.
inline int32_t nearSat32(float v, int s) { return satRounded32(roundHalfEven(v * ownScaleValue_32f(s))); }
inline int16_t nearSat16(float v, int s) { return satRounded16(roundHalfEven(v * ownScaleValue_32f(s))); }

// The truncate rule: v * 2^-s in double, toward zero, saturated.
inline int32_t truncSat32(double v, int s) { return satRounded32(trunc(v * ownScaleValue_64f(s))); }
inline int16_t truncSat16(double v, int s) { return satRounded16(trunc(v * ownScaleValue_64f(s))); }

// The shift rule: an exact 64-bit sum shifted by s (right for s > 0, with no
// rounding), then saturated.
constexpr int32_t shiftSat32(int64_t sum, int s) { return sat32(shiftBy(sum, s)); }
constexpr int16_t shiftSat16(int64_t sum, int s) { return sat16(shiftBy(sum, s)); }

// v / 2^s rounded to nearest with ties to even, for 1 <= s <= 62.
constexpr int64_t shiftRoundHalfEven(int64_t v, int s) {
    int64_t q = v >> s;
    int64_t rem = v - (q << s);
    int64_t half = int64_t(1) << (s - 1);
    if (rem > half || (rem == half && (q & 1))) ++q;
    return q;
}

}  // namespace zel

namespace zel {

// The quiet NaN with the sign bit set that the library writes for undefined
// logarithms (0xffc00000, and 0xfff8000000000000 in double precision).
inline float fromBits32(uint32_t u) {
    float f;
    __builtin_memcpy(&f, &u, 4);
    return f;
}
inline double fromBits64(uint64_t u) {
    double d;
    __builtin_memcpy(&d, &u, 8);
    return d;
}
inline float negativeQuietNaN32f() { return fromBits32(0xffc00000u); }
inline double negativeQuietNaN64f() { return fromBits64(0xfff8000000000000ull); }

}  // namespace zel
