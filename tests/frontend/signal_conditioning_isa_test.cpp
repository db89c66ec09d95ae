// SPDX-License-Identifier: Apache-2.0
// The signal-conditioning members with wide paths, on every instruction set
// this processor has: each path must give the bits of the baseline path, for
// lengths on both sides of 4, 8, 16, 32 and 64 lanes, from unaligned starts,
// in place and out of place. Vectors end at or just before a page end, with
// an inaccessible page behind it, so a read past the last element faults.
#include <stdint.h>
#include <string.h>

#include <cmath>
#include <limits>
#include <vector>

#include "common.hpp"
#include "guarded.hpp"
#include "frame/dispatch.hpp"

namespace {

using Guarded = zt::Guarded<float>;

// Mostly ordinary values, with the ones that take other branches mixed in:
// zeros of both signs, values whose square leaves the normal range (and
// whose products underflow), infinities and NaN.
std::vector<float> mixed(int n, float spread) {
    const float special[] = {0.0f,      -0.0f, 1e-30f, -1e-30f, 9.5f, -12.0f, std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()};
    std::vector<float> v(static_cast<size_t>(n));
    for (float& x : v) x = zt::uniformi(0, 9) == 0 ? special[zt::uniformi(0, 8)] : zt::uniform(-spread, spread);
    return v;
}

const int kLengths[] = {1,  2,  3,  4,  5,  7,  8,  9,  15, 16, 17, 31,  32,  33,  47,
                        48, 49, 63, 64, 65, 79, 80, 81, 95, 96, 97, 127, 128, 129, 1000};

// What one call gives on the instruction set `isa`: the output bits and the status.
struct Outcome {
    std::vector<uint32_t> bits;
    int status;
    bool operator==(const Outcome& o) const { return bits == o.bits && status == o.status; }
};

template <class F>
Outcome run(zel::Isa isa, F f) {
    const zel::Isa saved = zel::setMaxIsaForTesting(isa);
    Outcome o = f();
    zel::setMaxIsaForTesting(saved);
    return o;
}

// Runs `f` on every instruction set there is and compares with the baseline.
template <class F>
void everyPathAgrees(const char* what, int len, int skew, F f) {
    const Outcome base = run(zel::Isa::kBaseline, f);
    for (zel::Isa isa : {zel::Isa::kAvx2, zel::Isa::kAvx512}) {
        if (zel::bestIsa() < isa) continue;
        EXPECT_TRUE(run(isa, f) == base) << what << " len " << len << " skew " << skew << " isa " << int(isa);
    }
}

Outcome outcome(const float* p, int n, ZelStatus st) {
    Outcome o{std::vector<uint32_t>(size_t(n)), st};
    for (int i = 0; i < n; ++i) o.bits[size_t(i)] = zt::bits(p[i]);
    return o;
}

TEST(SignalConditioningPaths, ElementwiseMembersGiveTheBaselineBits) {
    for (int len : kLengths)
        for (int skew = 0; skew < 4; ++skew) {
            const auto x = mixed(len, 4.0f);
            // The vector ends `skew` floats before the page end, so its start
            // takes every alignment.
            Guarded src(size_t(len) + skew), dst(size_t(len) + skew);
            float* s = src.data();
            float* d = dst.data();
            memcpy(s, x.data(), sizeof(float) * size_t(len));
            everyPathAgrees("ExpNegSqr", len, skew, [&] {
                return outcome(d, len, zelsExpNegSqr_32f(s, d, len));
            });
            everyPathAgrees("ExpNegSqr in place", len, skew, [&] {
                memcpy(d, x.data(), sizeof(float) * size_t(len));
                return outcome(d, len, zelsExpNegSqr_32f_I(d, len));
            });
            everyPathAgrees("UnitCurve", len, skew, [&] {
                for (int i = 0; i < len; ++i) d[i] = x[size_t(i)] * 0.75f + 1.0f;
                return outcome(d, len, zelsUnitCurve_32f_I(d, len));
            });
            // Positive values around val, some below it; zeros and NaN too.
            everyPathAgrees("RecSqrt", len, skew, [&] {
                for (int i = 0; i < len; ++i) d[i] = std::fabs(x[size_t(i)]);
                return outcome(d, len, zelsRecSqrt_32f(d, len, 0.5f));
            });
            everyPathAgrees("NormEnergy", len, skew, [&] {
                for (int i = 0; i < len; ++i) d[i] = x[size_t(i)] * 10.0f;
                return outcome(d, len, zelsNormEnergy_32f(d, 1, len, 30.0f, 0.25f));
            });
            everyPathAgrees("NormEnergy_RT", len, skew, [&] {
                memcpy(d, x.data(), sizeof(float) * size_t(len));
                return outcome(d, len, zelsNormEnergy_RT_32f(d, 1, len, 8.0f, 2.0f, 0.5f));
            });
        }
}

// The count is an integer, so each path must also give the plain loop's
// count: products that underflow to zero, zeros, infinities and NaN included.
TEST(SignalConditioningPaths, SignChangesCountAsThePlainLoopOnEveryPath) {
    for (int len : kLengths)
        for (int skew = 0; skew < 4; ++skew) {
            const auto x = mixed(len, 1.0f);
            Guarded src(size_t(len) + skew);
            float* s = src.data();
            memcpy(s, x.data(), sizeof(float) * size_t(len));
            int want = 0;
            for (int n = 1; n < len; ++n) want += x[size_t(n)] * x[size_t(n - 1)] < 0.0f;
            for (zel::Isa isa : {zel::Isa::kBaseline, zel::Isa::kAvx2, zel::Isa::kAvx512}) {
                if (zel::bestIsa() < isa) continue;
                float got = -1.0f;
                const Outcome o = run(isa, [&] {
                    return Outcome{{}, zelsSignChangeRate_32f(s, len, &got)};
                });
                EXPECT_EQ(o.status, zelStsNoErr);
                EXPECT_EQ(got, float(want)) << "len " << len << " skew " << skew << " isa " << int(isa);
            }
        }
}

}  // namespace
