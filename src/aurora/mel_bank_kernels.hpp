// SPDX-License-Identifier: Apache-2.0
// The two Mel banks of the Aurora noise reduction: the Low bank that folds
// the 65 Wiener gains into 25 bands, and the High bank of three bands. Both
// are ordinary filter-bank records with bin weights, built for a 128-point
// spectrum, so that the filter-bank evaluation reads them as it reads any
// bank. The centres come from the mel scale in single precision (logarithm
// and power in double); the rows are triangles in bin number.
#pragma once

#include <math.h>
#include <stdint.h>

#include "frame/toolkit.h"
#include "frontend/fbank.hpp"

namespace zel::aurora {

namespace fb = zel::fbank;

// What tells the two banks apart.
struct MelBankShape {
    float lowEdge;      // Hz
    int nCentres;       // centres computed from the mel scale
    int nTable;         // entries of the centre table in the record
    int nFilter;        // filters the evaluation reads
    bool lowBank;       // normalised rows, a special first filter, the table moved up one place
    int binAllowance;   // bytes the size query counts for the centre table
    int workAllowance;  // bytes it counts for each temporary of the build
};

constexpr MelBankShape kLowBank{1.0f, 27, 28, 25, true, 144, 140};
constexpr MelBankShape kHighBank{80.0f, 5, 6, 3, false, 56, 52};

constexpr int kFftLen = 128;
constexpr int kHalf = kFftLen / 2;
constexpr float kSampleRate = 8000.0f;
constexpr float kUpperEdge = 4000.0f;

// Rows of each table: two more than the filters, as in every bank.
constexpr int rowsOf(const MelBankShape& s) { return s.nFilter + 2; }

inline float melOf(float f) { return float(2595.0 * log10(1.0 + double(f) / 700.0)); }

// Centre positions in bins for mel values evenly spaced from the lower edge;
// the Low bank runs past the upper edge on purpose and is held at the top bin.
inline void centrePositions(const MelBankShape& s, float* mel, float* pos) {
    const float low = melOf(s.lowEdge), span = melOf(kUpperEdge) - low;
    const float step = s.lowBank ? span / 24.0f : span * 0.25f;
    const float perHz = float(kFftLen) / kSampleRate;
    for (int i = 0; i < s.nCentres; ++i) {
        mel[i] = float(i) * step + low;
        const float hz = float(pow(10.0, double(mel[i]) / 2595.0) - 1.0);
        const float p = perHz * 700.0f * hz;
        pos[i] = p > float(kFftLen) * 0.5f ? float(kFftLen) * 0.5f : p;
    }
}

// Float rows hold the ratios; Q14 rows truncate 16384 * (k - c) / d.
template <class W>
struct Ramp;

template <>
struct Ramp<Zel32f> {
    static Zel32f up(int k, int d) { return float(k) / float(d); }
    static Zel32f down(int k, int d) { return 1.0f - float(k) / float(d); }
    using Sum = float;
    static Zel32f normalise(Zel32f w, Sum sum) { return w / sum; }
};

template <>
struct Ramp<Zel32s> {
    static Zel32s up(int k, int d) { return Zel32s((int64_t(k) << 14) / d); }
    static Zel32s down(int k, int d) { return 16384 - up(k, d); }
    using Sum = int64_t;
    static Zel32s normalise(Zel32s w, Sum sum) { return Zel32s((int64_t(w) * 16384) / sum); }
};

// Filter m rises from c[m-1] to c[m] and falls to c[m+1]; its rising entries
// stand at k - c[m-1], its falling ones at k - (c[m] + 1). The Low bank
// normalises each filter to area 1; a filter with no entries stays zero.
template <class W>
inline void triangle(W* rising, W* falling, const Zel32s* c, int m, bool normalise) {
    using R = Ramp<W>;
    const int lo = c[m - 1], mid = c[m], hi = c[m + 1];
    typename R::Sum sum = 0;
    for (int k = lo + 1; k <= mid; ++k) sum += rising[k - lo] = R::up(k - lo, mid - lo);
    for (int k = mid + 1; k < hi; ++k) sum += falling[k - mid - 1] = R::down(k - mid, hi - mid);
    if (!normalise || sum == 0) return;
    for (int k = lo + 1; k <= mid; ++k) rising[k - lo] = R::normalise(rising[k - lo], sum);
    for (int k = mid + 1; k < hi; ++k) falling[k - mid - 1] = R::normalise(falling[k - mid - 1], sum);
}

// The Low bank's first filter: a falling ramp from bin 0 over the first
// centre distance, normalised like the others.
template <class W>
inline void firstFilter(W* rising, W* falling, const Zel32s* c) {
    using R = Ramp<W>;
    const int d = c[1] - c[0];
    typename R::Sum sum = 0;
    for (int k = 0; k < d; ++k) sum += rising[k] = R::down(k, d);
    for (int k = c[0] + 1; k < d; ++k) sum += falling[k - (c[0] + 1)] = R::down(k, d);
    if (sum == 0) return;
    for (int k = 0; k < d; ++k) rising[k] = R::normalise(rising[k], sum);
    for (int k = c[0] + 1; k < d; ++k) falling[k - (c[0] + 1)] = R::normalise(falling[k - (c[0] + 1)], sum);
}

// Rows of a bank whose tables are laid out and cleared; c holds the
// nCentres computed centres. The Low bank keeps filter m in row m, the High
// bank in row m - 1.
template <class W>
inline void melBankRows(const MelBankShape& s, W* const* rising, W* const* falling, const Zel32s* c) {
    const int nTriangles = s.nCentres - 2;
    if (s.lowBank) firstFilter(rising[0], falling[0], c);
    for (int m = 1; m <= nTriangles; ++m) {
        const int row = s.lowBank ? m : m - 1;
        triangle(rising[row], falling[row], c, m, s.lowBank);
    }
}

}  // namespace zel::aurora
