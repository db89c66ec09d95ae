// SPDX-License-Identifier: Apache-2.0
// Shared test vocabulary: aligned and deliberately misaligned buffers,
// seeded random data and bit-exact comparison.
#pragma once

#include <gtest/gtest.h>
#include <stdint.h>
#include <string.h>

#include <cmath>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

#include "zelcore.h"
#include "zelsr.h"

namespace zt {

// A buffer from zelMalloc whose data starts `offset` elements past a 64-byte
// boundary, so that a test can pick aligned or unaligned kernels.
template <class T>
class Buf {
public:
    explicit Buf(size_t n, size_t offset = 0) : n_(n) {
        raw_ = static_cast<T*>(zelMalloc((n + offset + 16) * sizeof(T)));
        p_ = raw_ + offset;
    }
    ~Buf() { zelFree(raw_); }
    Buf(const Buf&) = delete;
    Buf& operator=(const Buf&) = delete;
    T* data() { return p_; }
    const T* data() const { return p_; }
    T& operator[](size_t i) { return p_[i]; }
    const T& operator[](size_t i) const { return p_[i]; }
    size_t size() const { return n_; }
    void fill(T v) { for (size_t i = 0; i < n_; ++i) p_[i] = v; }

private:
    T* raw_;
    T* p_;
    size_t n_;
};

inline std::mt19937& rng() {
    static std::mt19937 g(12345);
    return g;
}
inline float uniform(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(rng()); }
inline double uniformd(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(rng()); }
inline int uniformi(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng()); }

template <class T>
void fillUniform(T* p, size_t n, double lo, double hi) {
    for (size_t i = 0; i < n; ++i) {
        if constexpr (std::is_floating_point_v<T>)
            p[i] = static_cast<T>(uniformd(lo, hi));
        else
            p[i] = static_cast<T>(uniformi(static_cast<int>(lo), static_cast<int>(hi)));
    }
}

inline uint32_t bits(float f) { uint32_t u; memcpy(&u, &f, 4); return u; }
inline uint64_t bits(double d) { uint64_t u; memcpy(&u, &d, 8); return u; }
inline float fromBits(uint32_t u) { float f; memcpy(&f, &u, 4); return f; }

// Same bits, so that NaN payloads and signed zeros count.
#define EXPECT_SAME_BITS(a, b) EXPECT_EQ(::zt::bits(a), ::zt::bits(b)) << #a " = " << (a) << ", " #b " = " << (b)

// The member of a family for element type T, where the family has single and
// double precision forms: ZT_MEMBER(T, UpdateMean) is zelsUpdateMean_32f for
// a 4-byte T and zelsUpdateMean_64f otherwise (T must be a template parameter).
#define ZT_MEMBER(T, name) \
    [] {                                  \
        if constexpr (sizeof(T) == 4)     \
            return zels##name##_32f;      \
        else                              \
            return zels##name##_64f;      \
    }()

// One call of a table of bad arguments: the status it returned and the one
// the family's order of checks should give first.
struct Sts {
    ZelStatus got, want;
};
// Checks a table of calls in order, naming a failure by its row.
inline void expectStatuses(std::initializer_list<Sts> cases) {
    int row = 0;
    for (const Sts& c : cases) {
        EXPECT_EQ(c.got, c.want) << "row " << row;
        ++row;
    }
}

// Every element still holds the sentinel a failed call must leave alone.
template <class T, class V>
void expectUntouched(const T* p, size_t n, V sentinel) {
    for (size_t i = 0; i < n; ++i) {
        if constexpr (std::is_floating_point_v<T>)
            EXPECT_SAME_BITS(p[i], T(sentinel)) << "element " << i;
        else
            EXPECT_EQ(p[i], T(sentinel)) << "element " << i;
    }
}

}  // namespace zt
