// SPDX-License-Identifier: Apache-2.0
// Polyphase resampler: the two state records and their layout in one block,
// the Kaiser-windowed sinc designs, and the per-output arithmetic of the
// fixed-ratio (one dot product per output) and general-ratio (a walk along a
// finely sampled half filter with linear interpolation) kinds.
#pragma once

#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "frame/dispatch.hpp"
#include "resample/polyphase_avx2.hpp"
#include "simd/simd.hpp"
#include "zelsr.h"

namespace zel::resample {

namespace sv = zel::simd;

// ---- Records -----------------------------------------------------------------
// The flags word comes first in both records, so that any state can be told
// by it: bits 0 and 1 the accuracy (bit 0 accurate, bit 1 otherwise), bit 2 a
// block from the library's allocator, bit 3 rows of 16-bit taps, bit 4 rows
// with room for the last tap of row 0, and the upper half the kind.
enum : uint32_t {
    kAccurate = 1u,
    kFast = 2u,
    kOwned = 4u,
    kShortRows = 8u,
    kWideRows = 16u,
    kKindMask = 0xffff0000u,
    kKindFixed32f = 0x52460000u,
    kKindFixed16s = 0x52480000u,
    kKindGeneral32f = 0x52500000u,
    kKindGeneral16s = 0x52520000u,
};

struct FixedRecord {
    uint32_t flags;
    int32_t inRate;   // reduced
    int32_t outRate;  // reduced: phases and rows
    float gain;       // 1, or 2^-14 for rows of 16-bit taps
    int32_t halfLen;
    int16_t* pStep;   // input advance after each phase
    void** pRows;     // outRate rows of Zel32f or Zel16s taps
};
// The 16-bit form keeps one reserved word behind the record.
struct FixedRecord16s : FixedRecord {
    int32_t reserved;
};

struct GeneralRecord {
    uint32_t flags;
    int32_t reserved;
    float invStep;
    int32_t nStep;      // filter points per input sample
    int32_t filterLen;  // n, the points of the half filter
    float gain;
    void* pFilter;      // n + 1 points: Zel32f, or Zel16s in the 16-bit form
};

inline uint32_t kindOf(const void* p) { return static_cast<const uint32_t*>(p)[0] & kKindMask; }

// ---- Rates and sizes -----------------------------------------------------------

// Both rates divided by their common factors, found by trial division.
inline void reduceRates(int& inRate, int& outRate) {
    int m = inRate < outRate ? inRate : outRate;
    for (bool found = true; found;) {
        found = false;
        for (int d = 2; d <= m; ++d)
            if (inRate % d == 0 && outRate % d == 0) {
                inRate /= d;
                outRate /= d;
                m /= d;
                found = true;
                break;
            }
    }
}

inline int filterTaps(int len) { return (len + 3) & ~3; }          // L, even
// A row's stride, in 64 bits: the size tests meet lengths up to INT_MAX.
inline int64_t rowElements(int len) { return (int64_t(len) + 4) & ~int64_t(3); }
inline int64_t stepEntries(int outRate) { return (int64_t(outRate) + 7) & ~int64_t(7); }
// Row-pointer slots, rounded up to a multiple of 4 with at least one spare.
inline int64_t pointerSlots(int outRate) { return ((int64_t(outRate) + 4) >> 2) << 2; }

// Bytes of a fixed state. The formulas count pointers as 4 bytes (the record
// holds two, the row table pointerSlots); a wider pointer adds its excess.
inline int64_t fixedSize(int outRate, int len, bool shortRows, bool record16s) {
    const int64_t excess = (2 + pointerSlots(outRate)) * int64_t(sizeof(void*) - 4);
    const int64_t steps = stepEntries(outRate) * 2, table = pointerSlots(outRate) * 4;
    const int64_t rows = int64_t(rowElements(len)) * outRate * (shortRows ? 2 : 4);
    return steps + (record16s ? 32 : 28) + table + rows + excess;
}

struct FixedLayout {
    size_t steps, table, rows, end;
};

// Record, step table, row pointers, rows. The rows keep the 4-element pitch
// of rowElements; the step table and the pointers keep their natural
// alignment from any pointer-aligned start, so the block never needs more
// than fixedSize.
inline FixedLayout fixedLayout(int outRate, int len, bool shortRows, bool record16s) {
    FixedLayout l;
    const size_t rec = record16s ? sizeof(FixedRecord16s) : sizeof(FixedRecord);
    l.steps = (rec + sizeof(void*) - 1) & ~(sizeof(void*) - 1);
    l.table = l.steps + size_t(stepEntries(outRate)) * 2;
    l.rows = l.table + size_t(outRate) * sizeof(void*);
    l.end = l.rows + size_t(rowElements(len)) * size_t(outRate) * (shortRows ? 2 : 4);
    return l;
}

// Lays out a fixed state in `mem`: record, step table and row pointers; the
// rows are cleared.
inline FixedRecord* layFixed(void* mem, int inRate, int outRate, int len, bool shortRows, bool record16s,
                             uint32_t flags) {
    const FixedLayout l = fixedLayout(outRate, len, shortRows, record16s);
    unsigned char* base = static_cast<unsigned char*>(mem);
    FixedRecord* r = static_cast<FixedRecord*>(mem);
    const int L = filterTaps(len);
    r->flags = flags | (shortRows ? kShortRows : 0u) | (rowElements(len) > L ? kWideRows : 0u);
    r->inRate = inRate;
    r->outRate = outRate;
    r->gain = shortRows ? 1.0f / 16384.0f : 1.0f;
    r->halfLen = L / 2;
    if (record16s) static_cast<FixedRecord16s*>(r)->reserved = 0;
    r->pStep = reinterpret_cast<int16_t*>(base + l.steps);
    r->pRows = reinterpret_cast<void**>(base + l.table);
    const size_t rowBytes = size_t(rowElements(len)) * (shortRows ? 2 : 4);
    for (int p = 0; p < outRate; ++p) r->pRows[p] = base + l.rows + size_t(p) * rowBytes;
    memset(base + l.rows, 0, rowBytes * size_t(outRate));

    // The input advance after each phase: the integer part of the output
    // position moves by floor((k+1)in/out) - floor(k in/out) from phase
    // (k in) mod out. Row 0 has one tap more and starts one sample earlier,
    // so the step into phase 0 is one shorter and the step out of it one
    // longer. The run derives the same read positions from the output
    // position; the table describes them in the state.
    int16_t* st = r->pStep;
    memset(st, 0, size_t(stepEntries(outRate)) * 2);
    for (int64_t k = 0; k < outRate; ++k) {
        const int64_t a = k * inRate, b = (k + 1) * inRate;
        st[a % outRate] = int16_t(b / outRate - a / outRate);
    }
    st[0] += 1;
    st[(int64_t(outRate - 1) * inRate) % outRate] -= 1;
    return r;
}

// ---- Design ----------------------------------------------------------------------

// The modified Bessel function of order 0 by its power series. The terms
// grow no more after about x/2 rounds; the cap only stops an argument so
// large that the sum is no longer finite.
inline double besselI0(double x) {
    double sum = 1.0, t = 1.0;
    const double h = x * 0.5;
    for (int k = 1; k < 100000; ++k) {
        const double q = h / k;
        t *= q * q;
        sum += t;
        if (t < sum * 1e-21 || !(sum < INFINITY)) break;
    }
    return sum;
}

// The Kaiser window at lag j of a window whose last lag is `last`, as the
// ratio I0(alpha sqrt(1 - (j/last)^2)) / I0(alpha). Where I0(alpha) is
// beyond double range the ratio takes its asymptotic form.
inline double kaiser(double j, double last, double alpha, double i0Alpha) {
    const double x = last > 0 ? j / last : 0.0;
    const double v = 1.0 - x * x;
    const double arg = v > 0 ? alpha * sqrt(v) : 0.0;
    if (i0Alpha < INFINITY) return besselI0(arg) / i0Alpha;
    if (arg <= 0) return 0.0;
    return exp(arg - alpha) * sqrt(alpha / arg);
}

// The prototype at lag j, in units of 1/P input samples, windowed; the sine
// argument is formed in single precision.
inline double prototype(int64_t j, int P, float rollf, double alpha, double i0Alpha, double last) {
    if (j == 0) return double(rollf);
    const float piOverP = float(3.14159265358979323846 / P);
    const float arg = float(j) * piOverP * rollf;
    const double h = sin(double(arg)) / (double(j) * double(piOverP));
    return h * kaiser(double(j), last, alpha, i0Alpha);
}

// Taps at lags 0 to count - 1, scaled so that the taps at multiples of P
// (both sides) sum to 1; n is the lag count of the window.
inline void designTaps(double* h, int64_t count, int64_t n, int P, float rollf, float alpha) {
    const double i0 = besselI0(double(alpha));
    for (int64_t j = 0; j < count; ++j) h[j] = prototype(j, P, rollf, double(alpha), i0, double(n - 1));
    double S = 0.0;
    for (int64_t j = P; j <= n - 1 && j < count; j += P) S += h[j];
    double scale = 1.0 / (S + h[0] + S);
    if (h[0] < 0) scale = -scale;
    for (int64_t j = 0; j < count; ++j) h[j] *= scale;
}

// The lag count of a fixed design and P, the rate its lags are counted in.
struct FixedDesign {
    int64_t n;
    int P;
};
inline FixedDesign fixedDesign(int inRate, int outRate, int len) {
    const int L = filterTaps(len);
    const float r = float(outRate) / float(inRate);
    FixedDesign d;
    float e;
    if (r >= 1.0f) {
        d.P = outRate;
        e = float(outRate) * (float(L) + 1e-05f) * 0.5f;
    } else {
        d.P = inRate;
        e = float(inRate) * (r * float(L) + 1e-05f) * 0.5f;
    }
    d.n = int64_t(e) + 1;
    return d;
}
// Lags the rows read: up to halfLen * outRate, which is n - 1 unless the
// single-precision product fell short of it.
inline int64_t fixedLagCount(int outRate, int len, int64_t n) {
    const int64_t need = int64_t(filterTaps(len) / 2) * outRate + 1;
    return need > n ? need : n;
}

// Spreads the taps over the rows. Row 0 is centred on tap halfLen and holds
// lags 0, ±outRate, ...; its ends hold the last lag of the window. Row p
// holds lags p, p + outRate, ... leftwards from tap halfLen - 1, and row
// outRate - p the same lags rightwards from tap halfLen.
template <class Tap, class Conv>
void fillRows(const FixedRecord& r, const double* h, int64_t n, Conv conv) {
    const int hl = r.halfLen, out = r.outRate, L = 2 * hl;
    Tap* row0 = static_cast<Tap*>(r.pRows[0]);
    row0[hl] = conv(h[0]);
    for (int d = 1; d < hl; ++d) row0[hl + d] = row0[hl - d] = conv(h[int64_t(d) * out]);
    row0[0] = conv(h[n - 1]);
    if (r.flags & kWideRows) row0[L] = row0[0];
    for (int p = 1; p < out; ++p) {
        Tap* left = static_cast<Tap*>(r.pRows[p]);
        Tap* right = static_cast<Tap*>(r.pRows[out - p]);
        for (int d = 0; d < hl; ++d) {
            const Tap v = conv(h[p + int64_t(d) * out]);
            left[hl - 1 - d] = v;
            right[hl + d] = v;
        }
    }
}

// ---- Stores --------------------------------------------------------------------

// Saturated, halves rounded away from zero.
inline Zel16s store16(double v) {
    if (v > 32767.0) return 32767;
    if (v < -32768.0) return -32768;
    if (v < 0) return Zel16s(int32_t(v - 0.5));
    if (v >= 0) return Zel16s(int32_t(v + 0.5));
    return 0;  // not a number
}
inline void put(Zel32f* p, double v) { *p = float(v); }
inline void put(Zel16s* p, double v) { *p = store16(v); }

// ---- Dot products of the fixed kind -------------------------------------------
// L is a multiple of 4. Four vector sums take the taps 16 at a time, so that
// the additions do not wait on each other; the remaining groups of 4 go to
// the first of them. They meet as (a + b) + (c + d), whose lanes meet in the
// order (0 + 1) + (2 + 3); the extra tap of row 0 comes last.

inline sv::F32x4 load4(const float* p) { return sv::loadu4f(p); }
inline sv::F32x4 load4(const int16_t* p) { return sv::cvt4f(sv::load4sTo32(p)); }

template <class S>
inline float dotSingle(const S* x, const float* h, int L) {
    sv::F32x4 a = sv::zero4f(), b = a, c = a, d = a;
    int k = 0;
    for (; k + 16 <= L; k += 16) {
        a = sv::add(a, sv::mul(load4(x + k), sv::loadu4f(h + k)));
        b = sv::add(b, sv::mul(load4(x + k + 4), sv::loadu4f(h + k + 4)));
        c = sv::add(c, sv::mul(load4(x + k + 8), sv::loadu4f(h + k + 8)));
        d = sv::add(d, sv::mul(load4(x + k + 12), sv::loadu4f(h + k + 12)));
    }
    for (; k < L; k += 4) a = sv::add(a, sv::mul(load4(x + k), sv::loadu4f(h + k)));
    const sv::F32x4 acc = sv::add(sv::add(a, b), sv::add(c, d));
    return (sv::lane<0>(acc) + sv::lane<1>(acc)) + (sv::lane<2>(acc) + sv::lane<3>(acc));
}

inline double dotDouble(const float* x, const float* h, int L) {
    sv::F64x2 lo = sv::zero2d(), hi = lo, lo2 = lo, hi2 = lo;
    int k = 0;
    for (; k + 8 <= L; k += 8) {
        const sv::F32x4 a = sv::loadu4f(x + k), b = sv::loadu4f(h + k);
        const sv::F32x4 a2 = sv::loadu4f(x + k + 4), b2 = sv::loadu4f(h + k + 4);
        lo = sv::add(lo, sv::mul(sv::cvtLo2d(a), sv::cvtLo2d(b)));
        hi = sv::add(hi, sv::mul(sv::cvtHi2d(a), sv::cvtHi2d(b)));
        lo2 = sv::add(lo2, sv::mul(sv::cvtLo2d(a2), sv::cvtLo2d(b2)));
        hi2 = sv::add(hi2, sv::mul(sv::cvtHi2d(a2), sv::cvtHi2d(b2)));
    }
    for (; k < L; k += 4) {
        const sv::F32x4 a = sv::loadu4f(x + k), b = sv::loadu4f(h + k);
        lo = sv::add(lo, sv::mul(sv::cvtLo2d(a), sv::cvtLo2d(b)));
        hi = sv::add(hi, sv::mul(sv::cvtHi2d(a), sv::cvtHi2d(b)));
    }
    lo = sv::add(lo, lo2);
    hi = sv::add(hi, hi2);
    return (sv::lane<0>(lo) + sv::lane<1>(lo)) + (sv::lane<0>(hi) + sv::lane<1>(hi));
}

// Exact, so the order does not matter.
inline int64_t dotExact(const int16_t* x, const int16_t* h, int L) {
    int64_t s = 0;
    for (int k = 0; k < L; ++k) s += int32_t(x[k]) * int32_t(h[k]);
    return s;
}

// The value of one output before c scales it: phase p's row against the
// samples at x; `wide` takes the AVX2 kernel for single-precision sums.
template <class S>
inline double fixedDot(const FixedRecord& r, int p, const S* x, bool wide) {
    const int L = 2 * r.halfLen;
    const bool extra = p == 0;
    if (r.flags & kShortRows) {
        if constexpr (sizeof(S) == 2) {
            const int16_t* h = static_cast<const int16_t*>(r.pRows[p]);
            int64_t s = dotExact(x, h, L);
            if (extra) s += int32_t(x[L]) * int32_t(h[(r.flags & kWideRows) ? L : 0]);
            return double(s);
        }
        return 0.0;
    }
    const float* h = static_cast<const float*>(r.pRows[p]);
    const float last = h[(r.flags & kWideRows) ? L : 0];
    if constexpr (sizeof(S) == 4) {
        if (r.flags & kAccurate) {
            double s = dotDouble(x, h, L);
            if (extra) s += double(x[L]) * double(last);
            return s;
        }
    }
    float s;
    if constexpr (sizeof(S) == 4 && kBuiltWithAvx2)
        s = wide ? avx2::dotSingle(x, h, L) : dotSingle(x, h, L);
    else
        s = dotSingle(x, h, L);
    if (extra) s += float(x[L]) * last;
    return double(s);
}

// Times outside the range of an int cannot address a buffer; such a call
// produces nothing rather than overflow its positions.
constexpr double kTimeLimit = 2147483648.0;

// One call of the fixed kind: outputs while the position is under i + len.
template <class S>
int fixedRun(const FixedRecord& r, const S* pSrc, int len, S* pDst, float norm, double* pTime) {
    const double t = *pTime;
    if (!(t > -kTimeLimit && t < kTimeLimit)) return 0;
    const int64_t out = r.outRate, in = r.inRate;
    const double g = double(r.outRate) / double(r.inRate) < 1.0 ? double(r.outRate) / double(r.inRate) : 1.0;
    const double c = g * double(r.gain) * double(norm);
    const int64_t i = int64_t(t);
    const double f = t - double(i);
    const int64_t ph0 = int64_t(double(out) * f + 0.5);
    int64_t pos = out * i + ph0;
    const int64_t end = (i + len) * out;
    // pos = q * out + p: the read position that the step table walks to is
    // kept as a quotient and a phase, so that an advance beyond 16 bits is
    // no limit.
    int64_t q = pos >= 0 ? pos / out : -((-pos + out - 1) / out);
    int64_t p = pos - q * out;
    const int64_t qStep = in / out, pStep = in % out;
    const bool wide = runsAvx2();
    int written = 0;
    for (; pos < end; pos += in) {
        const S* x = pSrc + 1 + q - r.halfLen - (p == 0 ? 1 : 0);
        put(pDst + written++, c * fixedDot(r, int(p), x, wide));
        q += qStep;
        p += pStep;
        if (p >= out) {
            p -= out;
            ++q;
        }
    }
    *pTime = f + double(pos - ph0) / double(out);
    return written;
}

// ---- General kind ------------------------------------------------------------

inline double point(const float* h, int64_t a) { return double(h[a]); }
inline double point(const int16_t* h, int64_t a) { return double(h[a]); }

// One call of the general kind: an output at every t under trunc(t) + len,
// t growing by 1 / factor. Below a factor of 1 the filter is stretched by
// it (a lower cutoff) and the wings are walked in double; at 1 or more they
// are walked in whole point steps, in single precision unless `accurate`.
template <class S, class H>
int generalRun(const GeneralRecord& r, const S* pSrc, int len, S* pDst, double factor, float norm,
               double* pTime) {
    const H* h = static_cast<const H*>(r.pFilter);
    const int64_t n = r.filterLen;
    const int nStep = r.nStep;
    const bool accurate = (r.flags & kAccurate) && sizeof(S) == 2;
    double t = *pTime;
    if (!(t > -kTimeLimit && t < kTimeLimit)) return 0;
    const double limit = double(int64_t(t)) + len;
    const double dt = 1.0 / factor;
    int written = 0;
    while (t < limit) {
        const int64_t i = int64_t(t);
        const double f = t - double(i);
        double y;
        if (factor < 1.0) {
            const double u = double(nStep) * factor, top = double(n) - 1e-05;
            double acc = 0.0;
            int64_t idx = i;
            // A stretch too small to move s along the filter ends the wing.
            for (double s = u * f; s < top && s + u > s; s += u, --idx) {
                const int64_t a = int64_t(s);
                const double d = s - double(a);
                acc += double(pSrc[idx]) * (d * point(h, a + 1) + (1.0 - d) * point(h, a));
            }
            idx = i + 1;
            for (double s = u * (1.0 - f); s < top && s + u > s; s += u, ++idx) {
                const int64_t a = int64_t(s);
                const double d = s - double(a);
                acc += double(pSrc[idx]) * (d * point(h, a + 1) + (1.0 - d) * point(h, a));
            }
            y = double(r.gain) * double(norm) * factor * acc;
        } else {
            auto wing = [&](double pos, int64_t idx, int64_t dir, auto acc) {
                const int64_t a0 = int64_t(pos + 1e-05);
                const auto d = decltype(acc)(pos - double(a0));
                const auto one = decltype(acc)(1);
                for (int64_t a = a0; a < n; a += nStep, idx += dir)
                    acc += decltype(acc)(pSrc[idx]) *
                           (d * decltype(acc)(point(h, a + 1)) + (one - d) * decltype(acc)(point(h, a)));
                return acc;
            };
            const double left = double(nStep) * f, right = double(nStep) * (1.0 - f);
            if (accurate) {
                const double acc = wing(right, i + 1, 1, wing(left, i, -1, 0.0));
                y = double(r.gain) * double(norm) * acc;
            } else {
                const float acc = wing(right, i + 1, 1, wing(left, i, -1, 0.0f));
                y = double(r.gain * norm * acc);
            }
        }
        put(pDst + written++, y);
        const double next = t + dt;
        if (!(next > t)) {
            // A step too small to move t would never end the call.
            t = limit;
            break;
        }
        t = next;
    }
    *pTime = t;
    return written;
}

}  // namespace zel::resample
