// SPDX-License-Identifier: Apache-2.0
// DCT lifter: the state record and its layout in one block, the builders of
// the multipliers and cosine rows, and the per-frame sums in their fixed lane
// order. Float and 16-bit states share the record; the 16-bit one also
// carries the float results that wait for conversion.
#pragma once

#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "frontend/dct_lifter_record.hpp"
#include "simd/simd.hpp"
#include "zelsr.h"

namespace zel::lifter {

namespace sv = zel::simd;

constexpr double kPi = 3.14159265358979323846;

// ---- Sizes ---------------------------------------------------------------
// The size formulas count pointers as 4 bytes. The record holds three
// pointers and the row table C + 1, so a wider pointer adds its excess for
// each of them, and a query never reports less than Init writes.

inline int64_t paddedWidth(int lenDCT) { return (int64_t(lenDCT) + 7) & ~int64_t(7); }
inline int64_t pointerExcess(int lenCepstrum) { return (3 + int64_t(lenCepstrum) + 1) * int64_t(sizeof(void*) - 4); }

inline int64_t sizeFloat(int lenDCT, int lenCepstrum) {
    const int64_t u = paddedWidth(lenDCT), c = lenCepstrum;
    return (c * u + u) * 4 + c * 8 + 124 + pointerExcess(lenCepstrum);
}
inline int64_t sizeFixed(int lenDCT, int lenCepstrum) {
    const int64_t u = paddedWidth(lenDCT), c = lenCepstrum;
    return (c * u + u) * 4 + c * 12 + 164 + pointerExcess(lenCepstrum);
}
// Rows of lenDCT re-aligned to 32 bytes: each may carry up to 28 bytes of padding.
inline int64_t sizeFixedNarrow(int lenDCT, int lenCepstrum) {
    const int64_t n = lenDCT, c = lenCepstrum;
    return (n * 4 + 36) * (c + 1) + c * 8 + 132 + pointerExcess(lenCepstrum);
}

// ---- Layout in one block --------------------------------------------------
// Record, row table, multipliers, (16-bit) results, then the rows. A row of
// lenDCT singles padded to a multiple of eight is also lenDCT singles
// re-aligned to 32 bytes, so one layout serves every builder, and it fits
// every formula above from any pointer-aligned start.

struct Layout {
    size_t table, lifter, out, rows, end;
    int64_t rowFloats;
};

inline Layout layoutAt(uintptr_t base, bool fixed, int lenDCT, int lenCepstrum) {
    const size_t rowsCount = size_t(lenCepstrum) + 1;
    Layout l;
    l.rowFloats = paddedWidth(lenDCT);
    l.table = sizeof(Record);
    l.lifter = l.table + rowsCount * sizeof(float*);
    l.out = l.lifter + rowsCount * sizeof(float);
    size_t next = l.out + (fixed ? rowsCount * sizeof(float) : 0);
    l.rows = size_t(((base + next + 31) & ~uintptr_t(31)) - base);
    l.end = l.rows + rowsCount * size_t(l.rowFloats) * sizeof(float);
    return l;
}

// ---- Building -------------------------------------------------------------

enum class Flavour { Sine, SineC0, Mul, MulC0 };

struct Recipe {
    bool fixed;
    Flavour flavour;
    int lenDCT, lenCepstrum, nLifter;
    float val, val0;
    const float* table32f;  // Mul flavours, read as singles
    const int32_t* table32s;  // the one Mul flavour that reads 32-bit integers
};

inline void build(void* mem, const Recipe& s, bool ownsMemory) {
    const int n = s.lenDCT, c = s.lenCepstrum;
    const uintptr_t base = reinterpret_cast<uintptr_t>(mem);
    const Layout l = layoutAt(base, s.fixed, n, c);
    unsigned char* bytes = static_cast<unsigned char*>(mem);

    Record* r = static_cast<Record*>(mem);
    r->nLifter = (s.flavour == Flavour::Mul || s.flavour == Flavour::MulC0) ? -1 : s.nLifter;
    r->lenDCT = n;
    r->lenCepstrum = c;
    r->hasC0 = (s.flavour == Flavour::SineC0 || s.flavour == Flavour::MulC0) ? 1 : 0;
    r->ownsMemory = ownsMemory ? 1 : 0;
    r->ppCos = reinterpret_cast<float**>(bytes + l.table);
    r->pLifter = reinterpret_cast<float*>(bytes + l.lifter);
    r->pOut = s.fixed ? reinterpret_cast<float*>(bytes + l.out) : nullptr;

    float* w = r->pLifter;
    memset(w, 0, (size_t(c) + 1) * sizeof(float));
    if (r->pOut) memset(r->pOut, 0, (size_t(c) + 1) * sizeof(float));

    switch (s.flavour) {
        case Flavour::Sine:
        case Flavour::SineC0: {
            // The half length is a single, the sine and the sum doubles; the
            // multiplier is rounded to single before val scales it.
            const int lift = s.nLifter;
            const double half = double(float(double(lift) * 0.5));
            for (int i = 0; i <= c; ++i) {
                const double sine = sin(double(float(i)) * kPi / double(lift));
                w[i] = float(1.0 + half * sine) * s.val;
            }
            if (s.flavour == Flavour::SineC0) w[0] = s.val0;
            break;
        }
        case Flavour::Mul:
        case Flavour::MulC0:
            for (int i = 1; i <= c; ++i) w[i] = s.table32s ? float(s.table32s[i - 1]) : s.table32f[i - 1];
            // Coefficient 0 shares the multiplier of the last coefficient.
            if (s.flavour == Flavour::MulC0) w[0] = w[c];
            break;
    }

    // Row i, column j: cos(p * i * pi / N) with p = (j + 1) - 0.5 formed in
    // single precision; padding past column N - 1 stays zero.
    float** rows = r->ppCos;
    float* first = reinterpret_cast<float*>(bytes + l.rows);
    memset(first, 0, (size_t(c) + 1) * size_t(l.rowFloats) * sizeof(float));
    for (int i = 0; i <= c; ++i) {
        const int inGroup = isGrouped(i, c) ? (i - 1) % 4 : 0;
        float* row = first + size_t(i - inGroup) * size_t(l.rowFloats) + 4 * inGroup;
        rows[i] = row;
        const double angle = double(i) * kPi;
        for (int j = 0; j < n; ++j) {
            const float p = float(j + 1) - 0.5f;
            row[rowElement(i, c, j)] = float(cos(double(p) * angle / double(n)));
        }
    }
    // The tag goes last: a state is recognised only once it is complete.
    r->tag = s.fixed ? kTagFixed : kTagFloat;
}

// ---- Evaluation -------------------------------------------------------------
// Sources: four elements as singles from aligned or unaligned singles, or
// converted from 16-bit or 32-bit integers, and one element alone.

struct AlignedFloats {
    using T = float;
    static sv::F32x4 four(const float* p) { return sv::load4f(p); }
    static float one(const float* p) { return *p; }
};
struct UnalignedFloats {
    using T = float;
    static sv::F32x4 four(const float* p) { return sv::loadu4f(p); }
    static float one(const float* p) { return *p; }
};
struct Shorts {
    using T = int16_t;
    static sv::F32x4 four(const int16_t* p) { return sv::cvt4f(sv::load4sTo32(p)); }
    static float one(const int16_t* p) { return float(*p); }
};
struct Ints {
    using T = int32_t;
    static sv::F32x4 four(const int32_t* p) { return sv::cvt4f(sv::loadu4i(p)); }
    static float one(const int32_t* p) { return float(*p); }
};

// Coefficients 1..C, then coefficient 0 if the state has it. Four rows share
// each load of the source. In a group, element 4n + t of a row sums in lane t,
// the elements past the last full four go into lane 0, and the lanes are
// added 0, 1, 2, 3. A row left over sums in eight lanes; lane 4 joins lane 0
// before the tail, and the lanes are added 0, 2, 6, 1, 5, 3, 7. Coefficient 0
// is a plain running sum. Every source gives these same sums, and the wide
// kernels (dct_lifter_wide_kernels.hpp) form them in this order too.
template <class Src>
void cepstrum(const typename Src::T* src, float* dst, const Record& st) {
    const int n = st.lenDCT, c = st.lenCepstrum;
    const float* w = st.pLifter;
    const float* const* rows = st.ppCos;
    const int full4 = n & ~3, full8 = n & ~7;

    // The running sums are the longest chains of dependent additions; they
    // go first, so that the grouped rows below overlap with them.
    if (st.hasC0) {
        float sum = 0.0f;
        // Row 0 is cos 0 = 1 in every column, and x * 1 is x bit for bit (a
        // signalling NaN is quieted by the sum as by the product), so the sum
        // takes the elements as they are.
        for (int j = 0; j < n; ++j) sum += Src::one(src + j);
        dst[c] = w[0] * sum;
    }
    const int grouped = c & ~3;
    for (int i = grouped + 1; i <= c; ++i) {
        const float* row = rows[i];
        sv::F32x4 lo = sv::zero4f(), hi = sv::zero4f();
        for (int j = 0; j < full8; j += 8) {
            lo = sv::add(lo, sv::mul(Src::four(src + j), sv::load4f(row + j)));
            hi = sv::add(hi, sv::mul(Src::four(src + j + 4), sv::load4f(row + j + 4)));
        }
        alignas(16) float l[8];
        sv::store(l, lo);
        sv::store(l + 4, hi);
        float l0 = l[0] + l[4];
        for (int j = full8; j < n; ++j) l0 += Src::one(src + j) * row[j];
        const float sum = (((((l0 + l[2]) + l[6]) + l[1]) + l[5]) + l[3]) + l[7];
        dst[i - 1] = w[i] * sum;
    }

    // The source tail as a vector, zero past the last element. Rows are
    // padded to a multiple of eight, so their tail loads stay in the row.
    sv::F32x4 tail = sv::zero4f();
    if (const int rest = n - full4) {
        const typename Src::T* p = src + full4;
        tail = sv::set4f(Src::one(p), rest > 1 ? Src::one(p + 1) : 0.0f, rest > 2 ? Src::one(p + 2) : 0.0f, 0.0f);
    }
    for (int i = 1; i <= grouped; i += 4) {
        // The group's four rows, a column four of each at 16 * (j / 4).
        const float* r0 = rows[i];
        const float* r1 = r0 + 4;
        const float* r2 = r0 + 8;
        const float* r3 = r0 + 12;
        sv::F32x4 a0 = sv::zero4f(), a1 = sv::zero4f(), a2 = sv::zero4f(), a3 = sv::zero4f();
        for (int j = 0; j < full4; j += 4) {
            const sv::F32x4 x = Src::four(src + j);
            a0 = sv::add(a0, sv::mul(x, sv::load4f(r0 + 4 * j)));
            a1 = sv::add(a1, sv::mul(x, sv::load4f(r1 + 4 * j)));
            a2 = sv::add(a2, sv::mul(x, sv::load4f(r2 + 4 * j)));
            a3 = sv::add(a3, sv::mul(x, sv::load4f(r3 + 4 * j)));
        }
        // Lane t of the four rows side by side: lane 0 then takes the tail
        // products of all four rows at once, element by element.
        sv::transpose4(a0, a1, a2, a3);
        if (const int rest = n - full4) {
            const int at = 4 * full4;
            sv::F32x4 q0 = sv::mul(tail, sv::load4f(r0 + at)), q1 = sv::mul(tail, sv::load4f(r1 + at));
            sv::F32x4 q2 = sv::mul(tail, sv::load4f(r2 + at)), q3 = sv::mul(tail, sv::load4f(r3 + at));
            sv::transpose4(q0, q1, q2, q3);
            a0 = sv::add(a0, q0);
            if (rest > 1) a0 = sv::add(a0, q1);
            if (rest > 2) a0 = sv::add(a0, q2);
        }
        const sv::F32x4 sum = sv::add(sv::add(sv::add(a0, a1), a2), a3);
        sv::storeu(dst + i - 1, sv::mul(sv::loadu4f(w + i), sum));
    }
}

}  // namespace zel::lifter
