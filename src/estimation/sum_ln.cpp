// SPDX-License-Identifier: Apache-2.0
// The chunked sum of logarithms; see sum_ln.hpp for the rules.
#include "estimation/sum_ln.hpp"

#include <math.h>
#include <stdint.h>
#include <string.h>

#include "frame/checks.hpp"
#include "frame/fixed.hpp"

namespace {

using namespace zel;

constexpr int kChunk = 512;
constexpr double kLn2 = 0.69314718055994530942;

// The bit layout of the two element types.
template <class T>
struct Bits;
template <>
struct Bits<Zel32f> {
    using U = uint32_t;
    static constexpr int kMantBits = 23;
    static constexpr U kExpMask = 0xff;
    static constexpr int kHalfExp = 126;  // biased exponent of [0.5, 1)
    static constexpr int kSubnormalLift = 32;
};
template <>
struct Bits<Zel64f> {
    using U = uint64_t;
    static constexpr int kMantBits = 52;
    static constexpr U kExpMask = 0x7ff;
    static constexpr int kHalfExp = 1022;
    static constexpr int kSubnormalLift = 64;
};

template <class T>
typename Bits<T>::U bitsOf(T x) {
    typename Bits<T>::U u;
    memcpy(&u, &x, sizeof u);
    return u;
}
template <class T>
T fromBitsOf(typename Bits<T>::U u) {
    T x;
    memcpy(&x, &u, sizeof x);
    return x;
}

enum class Walk { Sum, Zero, Negative, NaN };

// The whole walk in double; `out` holds the sum, or the value a bad element
// leaves, in double.
template <class T>
Walk sumLn(const T* p, int len, double& out) {
    using B = Bits<T>;
    using U = typename B::U;
    constexpr U kSign = U(1) << (sizeof(U) * 8 - 1);
    constexpr U kMantMask = (U(1) << B::kMantBits) - 1;
    double total = 0.0;
    bool infinite = false;
    for (int c0 = 0; c0 < len; c0 += kChunk) {
        const int end = len - c0 < kChunk ? len : c0 + kChunk;
        double product = 1.0;
        int64_t exponents = 0;
        for (int i = c0; i < end; ++i) {
            const T x = p[i];
            U u = bitsOf(x);
            if (x == T(0)) {
                out = INFINITY;
                return Walk::Zero;
            }
            if (u & kSign) {
                out = negativeQuietNaN64f();
                return Walk::Negative;
            }
            if (x != x) {
                out = negativeQuietNaN64f();
                return Walk::NaN;
            }
            int e = int((u >> B::kMantBits) & B::kExpMask);
            if (e == int(B::kExpMask)) {  // +inf: the sum is +inf, the walk goes on
                infinite = true;
                continue;
            }
            int lift = 0;
            if (e == 0) {  // subnormal: scale into the normal range first, exactly
                u = bitsOf(T(x * T(ldexp(1.0, B::kSubnormalLift))));
                e = int((u >> B::kMantBits) & B::kExpMask);
                lift = B::kSubnormalLift;
            }
            product *= double(fromBitsOf<T>((u & kMantMask) | (U(B::kHalfExp) << B::kMantBits)));
            exponents += e - B::kHalfExp - lift;
        }
        total += log(product) + double(exponents) * kLn2;
    }
    out = infinite ? double(INFINITY) : total;
    return Walk::Sum;
}

ZelStatus statusOf(Walk w) {
    switch (w) {
        case Walk::Zero: return zelStsLnZeroArg;
        case Walk::Negative: return zelStsLnNegArg;
        default: return zelStsNoErr;
    }
}

}  // namespace

ZelStatus ownSumLn_32f(const Zel32f* pSrc, int len, Zel32f* pSum) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSum), requirePositive(len))) return s;
    double sum;
    const Walk w = sumLn(pSrc, len, sum);
    *pSum = (w == Walk::Negative || w == Walk::NaN) ? negativeQuietNaN32f() : Zel32f(sum);
    return statusOf(w);
}

ZelStatus ownSumLn_64f(const Zel64f* pSrc, int len, Zel64f* pSum) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSum), requirePositive(len))) return s;
    double sum;
    const Walk w = sumLn(pSrc, len, sum);
    *pSum = sum;
    return statusOf(w);
}
