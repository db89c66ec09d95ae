// SPDX-License-Identifier: Apache-2.0
// The digest tests' shared pieces: a 64-bit FNV-1a hash of a family's
// outputs and statuses, and data drawn from a generator's integers only, so
// that every build and architecture hashes the same inputs.
#pragma once

#include <stdint.h>

#include <random>
#include <vector>

#include "common.hpp"

namespace zt {

struct Digest {
    uint64_t h = 1469598103934665603ull;
    int calls = 0;
    template <class T>
    void add(const T* p, size_t n) {
        const auto* b = reinterpret_cast<const unsigned char*>(p);
        for (size_t i = 0; i < n * sizeof(T); ++i) h = (h ^ b[i]) * 1099511628211ull;
    }
    // A refused call would let a digest quietly cover less.
    void add(ZelStatus s) {
        EXPECT_GE(s, 0) << "call " << calls << " of the digest was refused";
        ++calls;
        add(&s, 1);
    }
};

struct DigestSource {
    std::mt19937 g;
    explicit DigestSource(uint32_t seed) : g(seed) {}
    int32_t i(int32_t lo, int32_t hi) { return int32_t(lo + int64_t(g() % uint64_t(int64_t(hi) - lo + 1))); }
    double f(double lo, double hi) { return lo + (hi - lo) * double(i(0, 1 << 20)) / double(1 << 20); }
    template <class T>
    std::vector<T> fill(size_t n, double lo, double hi) {
        std::vector<T> v(n);
        for (auto& e : v) e = T(f(lo, hi));
        return v;
    }
};

}  // namespace zt
