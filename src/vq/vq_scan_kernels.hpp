// SPDX-License-Identifier: Apache-2.0
// The linear scan of a full codebook for a block of query vectors at once.
//
// Lane q of every register belongs to query q of the block, so a scan over
// the rows in table order is, in each lane, exactly the one-vector scan:
// without weights a row replaces the best only when strictly nearer (the
// lowest row wins among equals), with weights only when nearer by more than
// one part in a million. Nothing is compared across lanes.
//
// The squared distance of a query and a row is formed as frame scoring forms
// it, so that these bits are those of the one-vector search, of the tree and
// of training: four partial sums, the one of lane l taking columns l, l + 4,
// l + 8, ... in turn, of (x - c)^2 (times the weight, after the square); the
// partial sums folded as (s0 + s2) + (s1 + s3); the last width modulo 4
// columns added one by one; and the result passed through the halving and
// doubling by which a score becomes a distance again. All terms are
// non-negative, so sums are formed positive: rounding to nearest is
// symmetric, so this is the negated sum of scoring, bit for bit.
//
// Register blocking: the queries of a block are laid out column by column
// (column j of kLanes queries is one register, Q registers per block), each
// column is loaded once for C rows, and each row element is broadcast once
// for the Q registers. Q * C pairs keep 4 * Q * C partial sums in registers.
// Where a broadcast costs a shuffle (the baseline vectors) Q is the larger;
// where it is a plain load (AVX2, AVX-512) C is.
//
// Every function here is a template over the lane vocabulary V, so that the
// instances for each instruction set are distinct functions (see
// vq_search_avx2.cpp); V provides F (lanes of singles), I (lanes of
// 32-bit integers), M (a lane mask), kLanes, and load, set1, zero, add, sub,
// mul, less, pick, pickIndex, index, store, storeIndex.
#pragma once

#include <float.h>
#include <stddef.h>
#include <stdint.h>

#include "vq/vq_search_wide.hpp"

namespace zel::vq::scan {

// Squared distances from the block's queries (xt: column j at xt + j *
// Q * kLanes, Q registers) to rows first to first + C - 1.
template <class V, int Q, int C, bool Weighted>
inline void distances(const ScanTable& t, const float* xt, int first, typename V::F (&out)[Q][C]) {
    using F = typename V::F;
    constexpr int N = Q * V::kLanes;
    const float* row[C];
    for (int k = 0; k < C; ++k) row[k] = t.table + static_cast<ptrdiff_t>(first + k) * t.stride;
    const int groups = t.width / 4;
    // The terms of column j of every query and row into sum(q, k, term).
    auto column = [&](int j, auto&& sum) {
        F xv[Q];
#pragma GCC unroll 4
        for (int q = 0; q < Q; ++q) xv[q] = V::load(xt + j * N + q * V::kLanes);
        F wv{};
        if constexpr (Weighted) wv = V::set1(t.weights[j]);
#pragma GCC unroll 8
        for (int k = 0; k < C; ++k) {
            const F c = V::set1(row[k][j]);
#pragma GCC unroll 4
            for (int q = 0; q < Q; ++q) {
                const F d = V::sub(xv[q], c);
                if constexpr (Weighted) sum(q, k, V::mul(V::mul(d, d), wv));
                else sum(q, k, V::mul(d, d));
            }
        }
    };
    F s[Q][C];
    if (groups > 0) {
        F acc[Q][C][4];
        for (int q = 0; q < Q; ++q)
            for (int k = 0; k < C; ++k)
                for (int l = 0; l < 4; ++l) acc[q][k][l] = V::zero();
        for (int g = 0; g < groups; ++g) {
#pragma GCC unroll 4
            for (int l = 0; l < 4; ++l)
                column(4 * g + l, [&](int q, int k, F term) { acc[q][k][l] = V::add(acc[q][k][l], term); });
        }
        for (int q = 0; q < Q; ++q)
            for (int k = 0; k < C; ++k)
                s[q][k] = V::add(V::add(acc[q][k][0], acc[q][k][2]), V::add(acc[q][k][1], acc[q][k][3]));
    } else {
        for (int q = 0; q < Q; ++q)
            for (int k = 0; k < C; ++k) s[q][k] = V::zero();
    }
    for (int j = 4 * groups; j < t.width; ++j) column(j, [&](int q, int k, F term) { s[q][k] = V::add(s[q][k], term); });
    for (int q = 0; q < Q; ++q)
        for (int k = 0; k < C; ++k) out[q][k] = V::mul(V::set1(2.0f), V::mul(s[q][k], V::set1(0.5f)));
}

// Without weights: rows first to first + C - 1 against the best so far.
template <class V, int Q, int C>
inline void strictStep(const ScanTable& t, const float* xt, int first, typename V::F (&best)[Q], typename V::I (&bi)[Q]) {
    typename V::F d[Q][C];
    distances<V, Q, C, false>(t, xt, first, d);
    for (int k = 0; k < C; ++k) {
        const typename V::I at = V::index(first + k);
        for (int q = 0; q < Q; ++q) {
            const typename V::M m = V::less(d[q][k], best[q]);
            best[q] = V::pick(m, d[q][k], best[q]);
            bi[q] = V::pickIndex(m, at, bi[q]);
        }
    }
}

// With weights: the tolerant test of the one-vector scan, lane by lane in
// 64-bit arithmetic.
template <class V, int Q, int C>
inline void tolerantStep(const ScanTable& t, const float* xt, int first, float* best, int32_t* bi) {
    typename V::F d[Q][C];
    distances<V, Q, C, true>(t, xt, first, d);
    alignas(64) float v[Q * V::kLanes];
    for (int k = 0; k < C; ++k) {
        for (int q = 0; q < Q; ++q) V::store(v + q * V::kLanes, d[q][k]);
        for (int q = 0; q < Q * V::kLanes; ++q)
            if (double(best[q]) > double(v[q]) * 1.000001) best[q] = v[q], bi[q] = first + k;
    }
}

// The nearest row of each query of one block: indices and squared
// distances of Q * kLanes queries. t.nEntries is at least 1.
template <class V, int Q, int C>
inline void nearestBlock(const ScanTable& t, const float* xt, int32_t* idx, float* sq) {
    const int n = t.nEntries;
    if (!t.weights) {
        // Row 0 is taken whatever its distance (even NaN), as the one-vector
        // scan starts from it.
        typename V::F d0[Q][1];
        distances<V, Q, 1, false>(t, xt, 0, d0);
        typename V::F best[Q];
        typename V::I bi[Q];
        for (int q = 0; q < Q; ++q) best[q] = d0[q][0], bi[q] = V::index(0);
        int i = 1;
        for (; i + C <= n; i += C) strictStep<V, Q, C>(t, xt, i, best, bi);
        for (; i < n; ++i) strictStep<V, Q, 1>(t, xt, i, best, bi);
        for (int q = 0; q < Q; ++q) {
            V::store(sq + q * V::kLanes, best[q]);
            V::storeIndex(idx + q * V::kLanes, bi[q]);
        }
        return;
    }
    for (int q = 0; q < Q * V::kLanes; ++q) sq[q] = FLT_MAX, idx[q] = -1;
    int i = 0;
    for (; i + C <= n; i += C) tolerantStep<V, Q, C>(t, xt, i, sq, idx);
    for (; i < n; ++i) tolerantStep<V, Q, 1>(t, xt, i, sq, idx);
}

}  // namespace zel::vq::scan
