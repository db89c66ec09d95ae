// SPDX-License-Identifier: Apache-2.0
// Single-vector scoring under a block-diagonal inverse covariance at a
// recogniser's shape: 39 features in 3 blocks of 13 (statics, deltas,
// delta-deltas), 1000 vectors per iteration, zelsLogGaussSingle_BlockDVar_32f
// beside the straightforward loop on the same data. Counters: vectors/s,
// and for the member its speed over the loop measured just before it
// ("x_plain").
#include <benchmark/benchmark.h>

#include <random>

#include "baseline.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace {

constexpr int kBlocks = 3;
constexpr int kBlock = 13;
constexpr int kLen = kBlocks * kBlock;
constexpr int kVectors = 1000;

struct Data {
    float x[kVectors][kLen];
    float mean[kLen];
    float rows[kLen][kBlock];  // row r of block r / 13
    const float* table[kLen];
    int sizes[kBlocks] = {kBlock, kBlock, kBlock};
    ZelBlockDMatrix_32f* matrix = nullptr;
    float result[kVectors];

    Data() {
        std::mt19937 g(11);
        std::uniform_real_distribution<float> u(-2, 2), small(-0.1f, 0.1f);
        for (auto& v : x)
            for (float& e : v) e = u(g);
        for (float& e : mean) e = u(g);
        // Diagonally dominant blocks, as an inverse covariance would be.
        for (int r = 0; r < kLen; ++r) {
            for (int k = 0; k < kBlock; ++k) rows[r][k] = small(g);
            rows[r][r % kBlock] = 1.5f;
            table[r] = rows[r];
        }
        zelsBlockDMatrixInitAlloc_32f(&matrix, table, sizes, kBlocks);
    }
    ~Data() { zelsBlockDMatrixFree_32f(matrix); }
};
Data& data() {
    static Data d;
    return d;
}

// The straightforward loop: d = x - mean, then d' M d block by block.
float plainBlockScore(const float* x, const float* mean, const float (*rows)[kBlock], float val) {
    float d[kLen];
    for (int j = 0; j < kLen; ++j) d[j] = x[j] - mean[j];
    float s = 0;
    for (int r = 0; r < kLen; ++r) {
        const int base = r / kBlock * kBlock;
        float t = 0;
        for (int k = 0; k < kBlock; ++k) t += rows[r][k] * d[base + k];
        s += d[r] * t;
    }
    return val - 0.5f * s;
}

void BM_Plain_BlockDVar_32f(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "single/BlockDVar_32f", true, "vectors/s", kVectors, [&] {
        for (int v = 0; v < kVectors; ++v) d.result[v] = plainBlockScore(d.x[v], d.mean, d.rows, -20.0f);
    });
}
void BM_zelsLogGaussSingle_BlockDVar_32f(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "single/BlockDVar_32f", false, "vectors/s", kVectors, [&] {
        for (int v = 0; v < kVectors; ++v)
            zelsLogGaussSingle_BlockDVar_32f(d.x[v], d.mean, d.matrix, kLen, &d.result[v], -20.0f);
    });
}

BENCHMARK(BM_Plain_BlockDVar_32f);
BENCHMARK(BM_zelsLogGaussSingle_BlockDVar_32f);

}  // namespace
