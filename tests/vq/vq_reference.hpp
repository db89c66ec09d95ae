// SPDX-License-Identifier: Apache-2.0
// Plain references for the codebook tests: an exhaustive search in double
// precision, codebooks built and released by RAII, and seeded data that every
// build (64-bit, 32-bit, portable) draws alike.
#pragma once

#include <stdint.h>

#include <vector>

#include "common.hpp"

namespace vqt {

// A small generator of our own, so that the data do not depend on the
// standard library's distributions.
struct Lcg {
    uint64_t s;
    explicit Lcg(uint64_t seed) : s(seed * 6364136223846793005ull + 1442695040888963407ull) {}
    uint32_t next() {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        return uint32_t(s >> 33);
    }
    // Uniform in [0, 1) with 24 bits.
    float unit() { return float(next() >> 7) * (1.0f / 16777216.0f); }
    float range(float lo, float hi) { return lo + (hi - lo) * unit(); }
    // Roughly normal: a sum of four uniforms, centred.
    float normal() { return (unit() + unit() + unit() + unit() - 2.0f) * 1.7320508f; }
};

struct Nearest {
    int index;
    double sq;
};

// The nearest row of `table` (n rows `step` apart) to x, lowest index on
// exact ties, in double precision.
template <class T, class Q>
Nearest exhaustive(const T* table, int step, int n, const Q* x, int width, const double* w = nullptr) {
    Nearest best{-1, 0};
    for (int i = 0; i < n; ++i) {
        double s = 0;
        for (int j = 0; j < width; ++j) {
            const double d = double(table[i * step + j]) - double(x[j]);
            s += d * d * (w ? w[j] : 1.0);
        }
        if (best.index < 0 || s < best.sq) best = {i, s};
    }
    return best;
}

// Gaussian clusters: `k` centres spread over [-spread, spread], `n` points
// of standard deviation `sigma` around them, `width` elements a row.
inline std::vector<float> clusters(Lcg& g, int n, int width, int k, float spread, float sigma) {
    std::vector<float> centres(size_t(k) * width), out(size_t(n) * width);
    for (auto& c : centres) c = g.range(-spread, spread);
    for (int i = 0; i < n; ++i) {
        const int c = int(g.next() % uint32_t(k));
        for (int j = 0; j < width; ++j) out[size_t(i) * width + j] = centres[size_t(c) * width + j] + sigma * g.normal();
    }
    return out;
}

// A codebook released at the end of the scope.
struct Cdbk32f {
    ZelCdbkState_32f* p = nullptr;
    ZelStatus status = 0;
    Cdbk32f(const float* src, int width, int step, int height, int size, int hint, const float* w = nullptr) {
        status = w ? zelsCdbkInitAlloc_WgtL2_32f(&p, src, w, width, step, height, size, hint)
                   : zelsCdbkInitAlloc_L2_32f(&p, src, width, step, height, size, hint);
    }
    ~Cdbk32f() {
        if (p) zelsCdbkFree_32f(p);
    }
    int entries() const {
        int n = -1;
        zelsGetCdbkSize_32f(p, &n);
        return n;
    }
    std::vector<float> rows(int width) const {
        std::vector<float> t(size_t(entries()) * width);
        zelsGetCodebook_32f(p, t.data(), width);
        return t;
    }
};

struct Cdbk16s {
    ZelCdbkState_16s* p = nullptr;
    ZelStatus status = 0;
    Cdbk16s(const Zel16s* src, int width, int step, int height, int size, int hint, const Zel16s* w = nullptr) {
        status = w ? zelsCdbkInitAlloc_WgtL2_16s(&p, src, w, width, step, height, size, hint)
                   : zelsCdbkInitAlloc_L2_16s(&p, src, width, step, height, size, hint);
    }
    ~Cdbk16s() {
        if (p) zelsCdbkFree_16s(p);
    }
    int entries() const {
        int n = -1;
        zelsGetCdbkSize_16s(p, &n);
        return n;
    }
    std::vector<Zel16s> rows(int width) const {
        std::vector<Zel16s> t(size_t(entries()) * width);
        zelsGetCodebook_16s(p, t.data(), width);
        return t;
    }
};

}  // namespace vqt
