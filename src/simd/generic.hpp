// SPDX-License-Identifier: Apache-2.0
// Portable implementation of the vector vocabulary on the compiler's generic
// vector types, so that one source becomes NEON on AArch64 and SSE2 on x86.
// Every operation keeps the lane order and the per-lane result of the SSE4.1
// header: the same bits, not merely close ones. Where an instruction set
// differs from x86 at the edges (min and max with NaN, float to integer out
// of range, saturation) the operation spells out the x86 behaviour in lane
// arithmetic rather than trusting the target's instruction.
#pragma once

#include <math.h>
#include <stdint.h>
#include <string.h>

// Three 16-bit operations have no generic spelling that GCC turns into the
// one instruction SSE2 has for them (saturating subtract, high product, pair
// multiply-add; on AArch64 the generic forms already become smull and
// friends), and the reciprocal estimates are the processor's own by
// definition. On x86, where SSE2 is part of the base instruction set, those
// five take SSE2's instructions, which give the lanes described below; every
// other target keeps the generic forms.
#if defined(__SSE2__) && (defined(__x86_64__) || defined(__i386__))
#include <emmintrin.h>
#define ZEL_GENERIC_X86 1
#else
#define ZEL_GENERIC_X86 0
#endif

#if !defined(__BYTE_ORDER__) || __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "the generic vocabulary reads 16-bit lanes out of 32-bit ones little-endian first"
#endif

namespace zel::simd {

constexpr bool kVectorISA = true;

namespace detail {
typedef float v4f __attribute__((vector_size(16)));
typedef double v2d __attribute__((vector_size(16)));
typedef int32_t v4i __attribute__((vector_size(16)));
typedef uint32_t v4u __attribute__((vector_size(16)));
typedef int64_t v2l __attribute__((vector_size(16)));
typedef uint64_t v2ul __attribute__((vector_size(16)));
typedef int16_t v8s __attribute__((vector_size(16)));
typedef uint16_t v8us __attribute__((vector_size(16)));
// Four doubles: widening and narrowing go through them, so that one
// conversion serves a whole vector (cvtps2pd, fcvtl2 and the like).
typedef double v4d __attribute__((vector_size(32)));
#if defined(__aarch64__)
typedef int32_t v8i __attribute__((vector_size(32)));
// The eight exact 32-bit products of 16-bit lanes, which this target forms
// in two widening multiplies.
inline v8i widenedProducts(v8s a, v8s b) { return __builtin_convertvector(a, v8i) * __builtin_convertvector(b, v8i); }
#endif
}  // namespace detail

struct F32x4 { detail::v4f v; };
struct F64x2 { detail::v2d v; };
struct I32x4 { detail::v4i v; };
struct I16x8 { detail::v8s v; };

// Two-source lane shuffles: GCC before 12 has only its own spelling.
#if defined(__clang__) || (defined(__GNUC__) && __GNUC__ >= 12)
#define ZEL_SHUFFLE(a, b, ...) __builtin_shufflevector(a, b, __VA_ARGS__)
#else
#define ZEL_SHUFFLE(a, b, ...) __builtin_shuffle(a, b, decltype(::zel::simd::detail::asMaskOf(a)){__VA_ARGS__})
#endif

namespace detail {
// Index vectors for the older spelling of shuffles.
inline v4i asMaskOf(v4f);
inline v4i asMaskOf(v4i);
inline v2l asMaskOf(v2d);
inline v8s asMaskOf(v8s);

// The low and the high 16 bits of the eight signed 32-bit products. The high
// halves are written lane by lane, in two shapes that compilers recognise as
// the instruction for them (pmulhw on x86, a widening multiply pair on NEON):
// a loop over the lanes, and one expression per lane. Both give the same
// bits; they differ in what GCC makes of them in context. The loop keeps a
// product of products (the pair sums of high halves) from being merged into
// 32-bit multiplies, which SSE2 lacks; the expressions keep a vector whose
// other lanes are known zeros (a row's last column) in registers.
inline v8s mulLow16(v8s a, v8s b) { return (v8s)((v8us)a * (v8us)b); }
#define ZEL_MULHI_LANE(i) static_cast<int16_t>((int32_t{a[i]} * b[i]) >> 16)
inline v8s mulHigh16Lanes(v8s a, v8s b) {
    return v8s{ZEL_MULHI_LANE(0), ZEL_MULHI_LANE(1), ZEL_MULHI_LANE(2), ZEL_MULHI_LANE(3),
               ZEL_MULHI_LANE(4), ZEL_MULHI_LANE(5), ZEL_MULHI_LANE(6), ZEL_MULHI_LANE(7)};
}
#undef ZEL_MULHI_LANE
inline v8s mulHigh16(v8s a, v8s b) {
    int16_t x[8], y[8], r[8];
    memcpy(x, &a, 16);
    memcpy(y, &b, 16);
    for (int i = 0; i < 8; ++i) r[i] = static_cast<int16_t>((int32_t{x[i]} * y[i]) >> 16);
    v8s v;
    memcpy(&v, r, 16);
    return v;
}
// Bitwise blend: lanes of `a` where the all-ones/all-zeros mask `m` is set.
inline v4i blend(v4i m, v4i a, v4i b) { return (a & m) | (b & ~m); }
inline v2l blend(v2l m, v2l a, v2l b) { return (a & m) | (b & ~m); }
inline v4f blend(v4i m, v4f a, v4f b) { return (v4f)blend(m, (v4i)a, (v4i)b); }
inline v2d blend(v2l m, v2d a, v2d b) { return (v2d)blend(m, (v2l)a, (v2l)b); }
inline v8s sat16Lanes(v4i lo, v4i hi) {
    const v4i top = {32767, 32767, 32767, 32767}, bottom = {-32768, -32768, -32768, -32768};
    lo = blend(lo > top, top, lo), lo = blend(lo < bottom, bottom, lo);
    hi = blend(hi > top, top, hi), hi = blend(hi < bottom, bottom, hi);
    // The low halves of the eight 32-bit lanes, in order.
    return ZEL_SHUFFLE((v8s)lo, (v8s)hi, 0, 2, 4, 6, 8, 10, 12, 14);
}
// The x86 conversion of already-integral values: lanes outside the 32-bit
// range, and NaN, give the most negative integer. On x86 the conversion
// instruction does exactly that. Elsewhere the test is |a| < 2^31 (so -2^31
// itself counts as outside; it gives that same integer either way), and the
// other lanes are converted as zero and take the integer's sign bit after.
inline v4i toInt32(v4f whole, [[maybe_unused]] v4f a) {
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_convertvector(whole, v4i);
#else
    const v4i signBit = {INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN};
    const v4f limit = {2147483648.0f, 2147483648.0f, 2147483648.0f, 2147483648.0f};
    const v4i inRange = (v4f)((v4i)a & ~signBit) < limit;
    return __builtin_convertvector((v4f)((v4i)whole & inRange), v4i) | (signBit & ~inRange);
#endif
}
// Lanes rounded to integral values by the current rounding mode: adding and
// removing 2^23 with the lane's sign leaves no fraction bits. Lanes at or
// beyond 2^23 (and NaN, Inf) have none to begin with; they add and remove 0.
inline v4f roundByMode(v4f a) {
    const v4i signBit = {INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN};
    const v4f big = {8388608.0f, 8388608.0f, 8388608.0f, 8388608.0f};
    const v4i small = (v4f)((v4i)a & ~signBit) < big;
    const v4f magic = (v4f)((((v4i)a & signBit) | (v4i)big) & small);
    return (a + magic) - magic;
}
}  // namespace detail

// ---- single precision, four lanes
inline F32x4 load4f(const float* p) { F32x4 r; memcpy(&r.v, p, 16); return r; }
inline F32x4 loadu4f(const float* p) { return load4f(p); }
inline void store(float* p, F32x4 a) { memcpy(p, &a.v, 16); }
inline void storeu(float* p, F32x4 a) { memcpy(p, &a.v, 16); }
inline F32x4 set1(float x) { return {detail::v4f{x, x, x, x}}; }
inline F32x4 set4f(float l0, float l1, float l2, float l3) { return {detail::v4f{l0, l1, l2, l3}}; }
inline F32x4 zero4f() { return {detail::v4f{}}; }
inline F32x4 add(F32x4 a, F32x4 b) { return {a.v + b.v}; }
inline F32x4 sub(F32x4 a, F32x4 b) { return {a.v - b.v}; }
inline F32x4 mul(F32x4 a, F32x4 b) { return {a.v * b.v}; }
inline F32x4 div(F32x4 a, F32x4 b) { return {a.v / b.v}; }
// Lane by lane: a build without errno from the math functions makes this
// one instruction (sqrtps, fsqrt); with errno each lane is tested first.
inline F32x4 sqrt(F32x4 a) {
    return {detail::v4f{__builtin_sqrtf(a.v[0]), __builtin_sqrtf(a.v[1]), __builtin_sqrtf(a.v[2]), __builtin_sqrtf(a.v[3])}};
}
// min and max return the second operand when either is NaN, as x86 does;
// written as the comparison and choice, which x86 has as one instruction.
inline F32x4 min(F32x4 a, F32x4 b) { return {a.v < b.v ? a.v : b.v}; }
inline F32x4 max(F32x4 a, F32x4 b) { return {a.v > b.v ? a.v : b.v}; }
inline F32x4 cmplt(F32x4 a, F32x4 b) { return {(detail::v4f)(a.v < b.v)}; }
inline F32x4 cmple(F32x4 a, F32x4 b) { return {(detail::v4f)(a.v <= b.v)}; }
inline F32x4 cmpgt(F32x4 a, F32x4 b) { return {(detail::v4f)(a.v > b.v)}; }
inline F32x4 cmpeq(F32x4 a, F32x4 b) { return {(detail::v4f)(a.v == b.v)}; }
// Only the sign bit of each mask lane decides, as in the blend instruction.
inline F32x4 select(F32x4 mask, F32x4 a, F32x4 b) { return {detail::blend((detail::v4i)mask.v >> 31, a.v, b.v)}; }
// The sign bits in two 64-bit halves: bits 0, 32 of one and 2, 34 of the
// other after a shift by 2, folded once.
inline int movemask(F32x4 m) {
    const detail::v2ul s = (detail::v2ul)((detail::v4u)m.v >> 31);
    const uint64_t t = s[0] | s[1] << 2;
    return int((t | t >> 31) & 15);
}
template <int i>
inline float lane(F32x4 a) { return a.v[i]; }
// The hardware estimates differ between processors. x86 has the same ones
// as the vector build; elsewhere this header computes them exactly.
#if ZEL_GENERIC_X86
inline F32x4 rcpEstimate(F32x4 a) { return {(detail::v4f)_mm_rcp_ps((__m128)a.v)}; }
inline F32x4 rsqrtEstimate(F32x4 a) { return {(detail::v4f)_mm_rsqrt_ps((__m128)a.v)}; }
#else
inline F32x4 rcpEstimate(F32x4 a) { return {detail::v4f{1.0f, 1.0f, 1.0f, 1.0f} / a.v}; }
inline F32x4 rsqrtEstimate(F32x4 a) { return {detail::v4f{1.0f, 1.0f, 1.0f, 1.0f} / sqrt(a).v}; }
#endif

// ---- double precision, two lanes
inline F64x2 load2d(const double* p) { F64x2 r; memcpy(&r.v, p, 16); return r; }
inline F64x2 loadu2d(const double* p) { return load2d(p); }
inline void store(double* p, F64x2 a) { memcpy(p, &a.v, 16); }
inline void storeu(double* p, F64x2 a) { memcpy(p, &a.v, 16); }
inline F64x2 set1(double x) { return {detail::v2d{x, x}}; }
inline F64x2 zero2d() { return {detail::v2d{}}; }
inline F64x2 add(F64x2 a, F64x2 b) { return {a.v + b.v}; }
inline F64x2 sub(F64x2 a, F64x2 b) { return {a.v - b.v}; }
inline F64x2 mul(F64x2 a, F64x2 b) { return {a.v * b.v}; }
inline F64x2 div(F64x2 a, F64x2 b) { return {a.v / b.v}; }
inline F64x2 sqrt(F64x2 a) { return {detail::v2d{__builtin_sqrt(a.v[0]), __builtin_sqrt(a.v[1])}}; }
inline F64x2 min(F64x2 a, F64x2 b) { return {a.v < b.v ? a.v : b.v}; }
inline F64x2 max(F64x2 a, F64x2 b) { return {a.v > b.v ? a.v : b.v}; }
inline F64x2 cmplt(F64x2 a, F64x2 b) { return {(detail::v2d)(a.v < b.v)}; }
inline F64x2 select(F64x2 mask, F64x2 a, F64x2 b) { return {detail::blend((detail::v2l)mask.v >> 63, a.v, b.v)}; }
inline int movemask(F64x2 m) {
    const detail::v2ul s = (detail::v2ul)m.v >> 63;
    return int(s[0] | s[1] << 1);
}
template <int i>
inline double lane(F64x2 a) { return a.v[i]; }
// Two singles widened to doubles: lanes 0 and 1, or 2 and 3, of `a`.
inline F64x2 cvtLo2d(F32x4 a) {
    const detail::v4d w = __builtin_convertvector(a.v, detail::v4d);
    return {detail::v2d{w[0], w[1]}};
}
inline F64x2 cvtHi2d(F32x4 a) {
    const detail::v4d w = __builtin_convertvector(a.v, detail::v4d);
    return {detail::v2d{w[2], w[3]}};
}

// ---- 32-bit integers; arithmetic wraps, so it runs on unsigned lanes
inline I32x4 load4i(const int32_t* p) { I32x4 r; memcpy(&r.v, p, 16); return r; }
inline I32x4 loadu4i(const int32_t* p) { return load4i(p); }
inline void store(int32_t* p, I32x4 a) { memcpy(p, &a.v, 16); }
inline void storeu(int32_t* p, I32x4 a) { memcpy(p, &a.v, 16); }
inline I32x4 set1(int32_t x) { return {detail::v4i{x, x, x, x}}; }
inline I32x4 zero4i() { return {detail::v4i{}}; }
inline I32x4 add(I32x4 a, I32x4 b) { return {(detail::v4i)((detail::v4u)a.v + (detail::v4u)b.v)}; }
inline I32x4 sub(I32x4 a, I32x4 b) { return {(detail::v4i)((detail::v4u)a.v - (detail::v4u)b.v)}; }
inline I32x4 mullo(I32x4 a, I32x4 b) { return {(detail::v4i)((detail::v4u)a.v * (detail::v4u)b.v)}; }
inline I32x4 min(I32x4 a, I32x4 b) { return {a.v < b.v ? a.v : b.v}; }
inline I32x4 max(I32x4 a, I32x4 b) { return {a.v > b.v ? a.v : b.v}; }
// Counts above 31 fill with the sign (sra) or clear the lanes (sll), as x86 does.
inline I32x4 sra(I32x4 a, int n) { return {a.v >> (n > 31 ? 31 : n)}; }
inline I32x4 sll(I32x4 a, int n) {
    if (n > 31) return zero4i();
    return {(detail::v4i)((detail::v4u)a.v << n)};
}
template <int i>
inline int32_t lane(I32x4 a) { return a.v[i]; }
// Rounds by the current rounding mode (the conversions force nearest). A
// build without errno from the math functions lets x86 round and convert
// each lane with the instruction that rounds by the mode.
inline I32x4 cvtRound(F32x4 a) {
#if (defined(__x86_64__) || defined(__i386__)) && defined(__NO_MATH_ERRNO__)
    return {detail::v4i{__builtin_irintf(a.v[0]), __builtin_irintf(a.v[1]), __builtin_irintf(a.v[2]),
                        __builtin_irintf(a.v[3])}};
#else
    return {detail::toInt32(detail::roundByMode(a.v), a.v)};
#endif
}
inline I32x4 cvtTrunc(F32x4 a) {
    // Truncation of in-range lanes is what the language's conversion does.
    return {detail::toInt32(a.v, a.v)};
}
inline F32x4 cvt4f(I32x4 a) { return {__builtin_convertvector(a.v, detail::v4f)}; }
inline F32x4 asFloat(I32x4 a) { return {(detail::v4f)a.v}; }
inline I32x4 asInt(F32x4 a) { return {(detail::v4i)a.v}; }

// ---- 16-bit integers
inline I16x8 load8s(const int16_t* p) { I16x8 r; memcpy(&r.v, p, 16); return r; }
inline I16x8 loadu8s(const int16_t* p) { return load8s(p); }
inline void store(int16_t* p, I16x8 a) { memcpy(p, &a.v, 16); }
inline void storeu(int16_t* p, I16x8 a) { memcpy(p, &a.v, 16); }
inline I16x8 set1(int16_t x) { return {detail::v8s{x, x, x, x, x, x, x, x}}; }
// Saturating add and subtract: where the wrapped result's sign disagrees with
// what the operands allow, the lane takes the limit on the first operand's side.
inline I16x8 addSat(I16x8 a, I16x8 b) {
    const detail::v8s r = (detail::v8s)((detail::v8us)a.v + (detail::v8us)b.v);
    const detail::v8s over = ((a.v ^ r) & (b.v ^ r)) >> 15;
    return {(r & ~over) | (((a.v >> 15) ^ 0x7fff) & over)};
}
inline I16x8 subSat(I16x8 a, I16x8 b) {
#if ZEL_GENERIC_X86
    return {(detail::v8s)_mm_subs_epi16((__m128i)a.v, (__m128i)b.v)};
#else
    const detail::v8s r = (detail::v8s)((detail::v8us)a.v - (detail::v8us)b.v);
    const detail::v8s over = ((a.v ^ b.v) & (a.v ^ r)) >> 15;
    return {(r & ~over) | (((a.v >> 15) ^ 0x7fff) & over)};
#endif
}
// Pairwise a0*b0 + a1*b1 ... into four 32-bit lanes (wraps only for -32768^2 twice).
// Even 16-bit lanes are the low halves of the 32-bit ones, odd lanes the high halves.
inline I32x4 madd(I16x8 a, I16x8 b) {
#if ZEL_GENERIC_X86
    return {(detail::v4i)_mm_madd_epi16((__m128i)a.v, (__m128i)b.v)};
#else
#if defined(__aarch64__)
    const detail::v8i p = detail::widenedProducts(a.v, b.v);
    const detail::v4u even = (detail::v4u)ZEL_SHUFFLE(p, p, 0, 2, 4, 6), odd = (detail::v4u)ZEL_SHUFFLE(p, p, 1, 3, 5, 7);
#else
    // The low and high halves of the eight products interleaved give the
    // products themselves; then the even ones plus the odd ones.
    const detail::v8s lo = detail::mulLow16(a.v, b.v), hi = detail::mulHigh16Lanes(a.v, b.v);
    const detail::v4i p0 = (detail::v4i)ZEL_SHUFFLE(lo, hi, 0, 8, 1, 9, 2, 10, 3, 11);
    const detail::v4i p1 = (detail::v4i)ZEL_SHUFFLE(lo, hi, 4, 12, 5, 13, 6, 14, 7, 15);
    const detail::v4u even = (detail::v4u)ZEL_SHUFFLE(p0, p1, 0, 2, 4, 6);
    const detail::v4u odd = (detail::v4u)ZEL_SHUFFLE(p0, p1, 1, 3, 5, 7);
#endif
    return {(detail::v4i)(even + odd)};
#endif
}
// Sign-extends the low and high four lanes to 32 bits: each lane doubled
// into both halves of a 32-bit lane, which an arithmetic shift then extends.
inline I32x4 widenLo(I16x8 a) { return {(detail::v4i)ZEL_SHUFFLE(a.v, a.v, 0, 0, 1, 1, 2, 2, 3, 3) >> 16}; }
inline I32x4 widenHi(I16x8 a) { return {(detail::v4i)ZEL_SHUFFLE(a.v, a.v, 4, 4, 5, 5, 6, 6, 7, 7) >> 16}; }
// Saturating narrow of two 32-bit vectors into eight 16-bit lanes.
inline I16x8 packSat(I32x4 lo, I32x4 hi) { return {detail::sat16Lanes(lo.v, hi.v)}; }

}  // namespace zel::simd

// ---- lane rearrangements of single-precision vectors (real FFT)
namespace zel::simd {

inline F32x4 interleaveLo(F32x4 a, F32x4 b) { return {ZEL_SHUFFLE(a.v, b.v, 0, 4, 1, 5)}; }
inline F32x4 interleaveHi(F32x4 a, F32x4 b) { return {ZEL_SHUFFLE(a.v, b.v, 2, 6, 3, 7)}; }
inline F32x4 evenLanes(F32x4 a, F32x4 b) { return {ZEL_SHUFFLE(a.v, b.v, 0, 2, 4, 6)}; }
inline F32x4 oddLanes(F32x4 a, F32x4 b) { return {ZEL_SHUFFLE(a.v, b.v, 1, 3, 5, 7)}; }
inline F32x4 reverse(F32x4 a) { return {ZEL_SHUFFLE(a.v, a.v, 3, 2, 1, 0)}; }
inline void transpose4(F32x4& a, F32x4& b, F32x4& c, F32x4& d) {
    const detail::v4f t0 = ZEL_SHUFFLE(a.v, b.v, 0, 4, 1, 5), t1 = ZEL_SHUFFLE(c.v, d.v, 0, 4, 1, 5);
    const detail::v4f t2 = ZEL_SHUFFLE(a.v, b.v, 2, 6, 3, 7), t3 = ZEL_SHUFFLE(c.v, d.v, 2, 6, 3, 7);
    a.v = ZEL_SHUFFLE(t0, t1, 0, 1, 4, 5);
    b.v = ZEL_SHUFFLE(t0, t1, 2, 3, 6, 7);
    c.v = ZEL_SHUFFLE(t2, t3, 0, 1, 4, 5);
    d.v = ZEL_SHUFFLE(t2, t3, 2, 3, 6, 7);
}

}  // namespace zel::simd

// ---- 16-bit products and partial loads (Gaussian frame scoring)
namespace zel::simd {

inline I16x8 zero8s() { return {detail::v8s{}}; }
// Low and high 16 bits of the signed 32-bit products, lane by lane.
inline I16x8 mullo(I16x8 a, I16x8 b) { return {detail::mulLow16(a.v, b.v)}; }
inline I16x8 mulhi(I16x8 a, I16x8 b) {
#if ZEL_GENERIC_X86
    return {(detail::v8s)_mm_mulhi_epi16((__m128i)a.v, (__m128i)b.v)};
#else
    return {detail::mulHigh16(a.v, b.v)};
#endif
}
// Logical right shift of the 16-bit lanes; a count above 15 clears them.
inline I16x8 srl(I16x8 a, int n) {
    if (n > 15) return zero8s();
    return {(detail::v8s)((detail::v8us)a.v >> n)};
}
// The first 4, 2 or 1 elements into the low lanes, the others zero. They
// read no further than those elements, so a row's end can lie on a page end.
// Each reads an integer of that width and places it in lane 0 of a vector
// of such integers: one narrow load into a register. (Copying the bytes into
// part of a zeroed vector makes the compiler store and reload it, and the
// wide reload of a narrow store stalls.)
inline I16x8 loadLo4s(const int16_t* p) {
    uint64_t w;
    memcpy(&w, p, 8);
    return {(detail::v8s)detail::v2ul{w, 0}};
}
inline I16x8 loadLo2s(const int16_t* p) {
    uint32_t w;
    memcpy(&w, p, 4);
    return {(detail::v8s)detail::v4u{w, 0, 0, 0}};
}
inline I16x8 loadLo1s(const int16_t* p) { return {detail::v8s{*p, 0, 0, 0, 0, 0, 0, 0}}; }

}  // namespace zel::simd

// ---- double comparisons, narrowing and lane moves (log-domain arithmetic)
namespace zel::simd {

inline F64x2 cmple(F64x2 a, F64x2 b) { return {(detail::v2d)(a.v <= b.v)}; }
inline F64x2 cmpeq(F64x2 a, F64x2 b) { return {(detail::v2d)(a.v == b.v)}; }
// lo0 lo1 hi0 hi1, each rounded to single by the current rounding mode.
inline F32x4 narrowPair(F64x2 lo, F64x2 hi) {
    return {__builtin_convertvector((detail::v4d{lo.v[0], lo.v[1], hi.v[0], hi.v[1]}), detail::v4f)};
}
// a2 a3 a2 a3: the upper pair moved onto the lower one.
inline F32x4 highPairToLow(F32x4 a) { return {ZEL_SHUFFLE(a.v, a.v, 2, 3, 2, 3)}; }
// a1 in every lane.
inline F32x4 lane1ToAll(F32x4 a) { return {ZEL_SHUFFLE(a.v, a.v, 1, 1, 1, 1)}; }
// a1 a1.
inline F64x2 highLaneToLow(F64x2 a) { return {ZEL_SHUFFLE(a.v, a.v, 1, 1)}; }

}  // namespace zel::simd

// ---- four 16-bit values in 32-bit lanes (DCT lifter, dynamic features)
namespace zel::simd {

// Four 16-bit values, sign-extended to 32 bits; reads those 8 bytes only.
inline I32x4 load4sTo32(const int16_t* p) { return widenLo(loadLo4s(p)); }
// The four lanes saturated to 16 bits and stored as 8 bytes.
inline void store4sSat(int16_t* p, I32x4 a) {
    const detail::v8s s = detail::sat16Lanes(a.v, a.v);
    memcpy(p, &s, 8);
}

}  // namespace zel::simd

// ---- one lane of a running sum (filter-bank evaluation)
namespace zel::simd {

// x added to lane 0 only; lanes 1 to 3 pass unchanged.
inline F32x4 addLane0(F32x4 a, float x) { a.v[0] = a.v[0] + x; return a; }

}  // namespace zel::simd

#undef ZEL_SHUFFLE
#undef ZEL_GENERIC_X86
