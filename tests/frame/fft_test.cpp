// SPDX-License-Identifier: Apache-2.0
// The private real FFT against a direct DFT in long double, in both layouts,
// with every scaling flag, its inverse and the 16-bit wrapper.
#include <stdio.h>

#include <algorithm>
#include <complex>

#include "common.hpp"
#include "frame/dispatch.hpp"
#include "frame/fft.hpp"
#include "frame/toolkit.h"

namespace {

using LC = std::complex<long double>;
constexpr int kFlags[] = {1, 2, 4, 8};

// Orders up to this compare every bin; above, the edges and a random sample.
constexpr int kAllBinsOrder = 11;
// Error relative to the largest magnitude of the spectrum. Single precision
// with log2(N) passes stays near 1e-7 here; a wrong twiddle or index gives
// errors of the order of the signal.
constexpr double kTolerance = 2e-6;

double gWorstForward = 0, gWorstInverse = 0;

struct Reference {
    int order;
    std::vector<float> x;
    std::vector<int> bins;  // bins 0..N/2 that are checked
    std::vector<LC> X;      // their exact values, unscaled
    long double peak = 0;
};

Reference makeReference(int order) {
    Reference r;
    r.order = order;
    const int n = 1 << order;
    r.x.resize(n);
    zt::fillUniform(r.x.data(), n, -1.0, 1.0);
    if (order <= kAllBinsOrder) {
        for (int k = 0; k <= n / 2; ++k) r.bins.push_back(k);
    } else {
        for (int k : {0, 1, 2, 3, n / 4, n / 2 - 2, n / 2 - 1, n / 2}) r.bins.push_back(k);
        for (int i = 0; i < 40; ++i) r.bins.push_back(zt::uniformi(0, n / 2));
    }
    const long double pi = 3.141592653589793238462643383279502884L;
    std::vector<LC> w(n);
    for (int j = 0; j < n; ++j) w[j] = LC(cosl(2 * pi * j / n), -sinl(2 * pi * j / n));
    for (int k : r.bins) {
        LC sum = 0;
        for (int j = 0; j < n; ++j) sum += (long double)r.x[j] * w[(int64_t(j) * k) & (n - 1)];
        r.X.push_back(sum);
        r.peak = std::max(r.peak, std::abs(sum));
    }
    if (r.peak == 0) r.peak = 1;
    return r;
}

double forwardScale(int flag, int n) { return flag == 1 ? 1.0 / n : flag == 4 ? 1.0 / sqrt(double(n)) : 1.0; }
double inverseScale(int flag, int n) { return flag == 2 ? 1.0 / n : flag == 4 ? 1.0 / sqrt(double(n)) : 1.0; }

// Largest error of the packed spectrum against the reference, relative to its peak.
double packedError(const Reference& r, const float* y, double scale) {
    const int n = 1 << r.order;
    double worst = 0;
    for (size_t i = 0; i < r.bins.size(); ++i) {
        const int k = r.bins[i];
        const LC want = r.X[i] * (long double)scale;
        LC got;
        if (k == 0)
            got = LC(y[0], 0);
        else if (k == n / 2)
            got = LC(n > 1 ? y[1] : y[0], 0);
        else
            got = LC(y[2 * k], y[2 * k + 1]);
        worst = std::max(worst, double(std::abs(got - want) / (r.peak * scale)));
    }
    return worst;
}

struct Plan {
    ZelFFTSpec_R_32f* state = nullptr;
    Plan(int order, int flag) { EXPECT_EQ(ownFFTInitAlloc_R_32f(&state, order, flag, 0), zelStsNoErr); }
    ~Plan() { EXPECT_EQ(ownFFTFree_R_32f(state), zelStsNoErr); }
};

// Both layouts and the round trip through the inverse, for every flag, and
// the same bits from the caller's scratch, from in-place calls and from
// state memory that the caller lays out at an odd address.
TEST(Fft, MatchesDirectDftForEveryOrderAndFlag) {
    for (int order = 0; order <= 16; ++order) {
        SCOPED_TRACE(order);
        const Reference r = makeReference(order);
        const int n = 1 << order;
        for (int flag : kFlags) {
            SCOPED_TRACE(flag);
            Plan plan(order, flag);
            std::vector<float> packed(n + 4, -7.0f), unfolded(n + 4, -7.0f), back(n, 0.0f);
            ASSERT_EQ(ownFFTFwd_R_32f(r.x.data(), packed.data(), plan.state, nullptr), zelStsNoErr);
            ASSERT_EQ(ownFFTFwd_RUnfolded_32f(r.x.data(), unfolded.data(), plan.state, nullptr), zelStsNoErr);
            const double err = packedError(r, packed.data(), forwardScale(flag, n));
            EXPECT_LT(err, kTolerance);
            gWorstForward = std::max(gWorstForward, err);
            // The unfolded layout is the packed one with bin N/2 moved to the
            // end; nothing past either layout is written.
            EXPECT_EQ(packed[n], -7.0f);
            std::vector<float> moved = packed;
            moved[1] = 0.0f, moved[n] = n > 1 ? packed[1] : 0.0f, moved[n + 1] = 0.0f;
            for (int i = 0; i < n + 4; ++i) EXPECT_SAME_BITS(unfolded[i], moved[i]) << i;

            ASSERT_EQ(ownFFTInv_R_32f(packed.data(), back.data(), plan.state, nullptr), zelStsNoErr);
            const double trip = n * forwardScale(flag, n) * inverseScale(flag, n);
            double peakX = 0, worst = 0;
            for (int i = 0; i < n; ++i) peakX = std::max(peakX, std::fabs(double(r.x[i])));
            for (int i = 0; i < n; ++i) worst = std::max(worst, std::fabs(back[i] - trip * r.x[i]) / (trip * peakX));
            EXPECT_LT(worst, kTolerance);
            gWorstInverse = std::max(gWorstInverse, worst);

            // The caller's scratch, off any alignment and of exactly the size reported.
            int specSize, initSize, workSize;
            ASSERT_EQ(ownFFTGetSize_R_32f(order, flag, 0, &specSize, &initSize, &workSize), zelStsNoErr);
            std::vector<Zel8u> work(workSize + 3), mem(specSize + 3);
            ZelFFTSpec_R_32f* own = nullptr;
            ASSERT_EQ(ownFFTInit_R_32f(&own, order, flag, 0, mem.data() + 3, nullptr), zelStsNoErr);
            std::vector<float> again(r.x.begin(), r.x.end());
            again.resize(n + 2);
            ASSERT_EQ(ownFFTFwd_R_32f(again.data(), again.data(), own, work.data() + 3), zelStsNoErr);
            for (int i = 0; i < n; ++i) EXPECT_SAME_BITS(again[i], packed[i]);
            ASSERT_EQ(ownFFTFwd_RUnfolded_32f(r.x.data(), again.data(), own, work.data() + 3), zelStsNoErr);
            for (int i = 0; i < n + 2; ++i) EXPECT_SAME_BITS(again[i], unfolded[i]);
            ASSERT_EQ(ownFFTInv_R_32f(packed.data(), packed.data(), own, work.data() + 3), zelStsNoErr);
            for (int i = 0; i < n; ++i) EXPECT_SAME_BITS(packed[i], back[i]);
            EXPECT_EQ(ownFFTFree_R_32f(own), zelStsNoErr);
        }
    }
    printf("largest relative error: forward %.3g, round trip %.3g\n", gWorstForward, gWorstInverse);
}

// The wrapper converts, transforms, rounds the packed spectrum to nearest
// after scaling by 2^-scaleFactor, and unfolds it.
TEST(Fft, SixteenBitWrapperRoundsTheFloatSpectrum) {
    for (int order = 0; order <= 12; ++order) {
        SCOPED_TRACE(order);
        const int n = 1 << order;
        std::vector<Zel16s> x(n);
        zt::fillUniform(x.data(), n, -32768, 32767);
        std::vector<float> xf(x.begin(), x.end()), packed(n);
        for (int flag : kFlags) {
            Plan plan(order, flag);
            ASSERT_EQ(ownFFTFwd_R_32f(xf.data(), packed.data(), plan.state, nullptr), zelStsNoErr);
            ZelFFTSpec_R_16s32s* state = nullptr;
            ASSERT_EQ(ownFFTInitAlloc_R_16s32s(&state, order, flag, 0), zelStsNoErr);
            int specSize, initSize, workSize;
            ASSERT_EQ(ownFFTGetSize_R_16s32s(order, flag, 0, &specSize, &initSize, &workSize), zelStsNoErr);
            std::vector<Zel8u> work(workSize + 5);
            for (int sf : {0, 4, -3}) {
                std::vector<Zel32s> got(n + 3, 12345), fromOwnWork(n + 3, 12345);
                ASSERT_EQ(ownFFTFwd_R_16s32s_Sfs(x.data(), got.data(), state, sf, nullptr), zelStsNoErr);
                ASSERT_EQ(ownFFTFwd_R_16s32s_Sfs(x.data(), fromOwnWork.data(), state, sf, work.data() + 5),
                          zelStsNoErr);
                std::vector<Zel32s> want(n + 3, 12345);
                for (int i = 0; i < n; ++i) {
                    const double v = nearbyint(double(packed[i] * ldexpf(1.0f, -sf)));
                    want[i] = v >= 2147483647.0 ? 2147483647 : v <= -2147483648.0 ? INT32_MIN : int32_t(v);
                }
                if (n > 1) want[n] = want[1];
                want[1] = want[n + 1] = 0;
                EXPECT_EQ(got, want) << "flag " << flag << " scale factor " << sf;
                EXPECT_EQ(fromOwnWork, want);
            }
            EXPECT_EQ(ownFFTFree_R_16s32s(state), zelStsNoErr);
        }
    }
}

// Orders and flags out of range, the largest order's sizes within an int,
// order tested before flag, and states of the other kind or released refused
// with every output left as it was.
TEST(Fft, BadArgumentsLeaveOutputsAlone) {
    int a = -1, b = -1, c = -1;
    for (auto query : {ownFFTGetSize_R_32f, ownFFTGetSize_R_16s32s}) {
        for (int order : {-1, 28, 31}) EXPECT_EQ(query(order, 8, 0, &a, &b, &c), zelStsFftOrderErr);
        for (int flag : {0, 3, 5, 16, -1}) EXPECT_EQ(query(4, flag, 0, &a, &b, &c), zelStsFftFlagErr);
        EXPECT_EQ(std::tuple(a, b, c), std::tuple(-1, -1, -1));
    }
    for (auto query : {ownFFTGetSize_R_32f, ownFFTGetSize_R_16s32s}) {
        ASSERT_EQ(query(27, 8, 0, &a, &b, &c), zelStsNoErr);
        EXPECT_TRUE(a > 0 && c > 0) << a << " " << c;
    }
    ZelFFTSpec_R_32f *state = nullptr, *out = nullptr;
    EXPECT_EQ(ownFFTInitAlloc_R_32f(&out, -1, 0, 0), zelStsFftOrderErr);
    EXPECT_EQ(out, nullptr);

    ASSERT_EQ(ownFFTInitAlloc_R_32f(&state, 6, 8, 0), zelStsNoErr);
    ZelFFTSpec_R_16s32s* spec16 = nullptr;
    ASSERT_EQ(ownFFTInitAlloc_R_16s32s(&spec16, 6, 8, 0), zelStsNoErr);
    float src[66] = {1.0f}, dst[66];
    std::fill(dst, dst + 66, 3.0f);
    EXPECT_EQ(ownFFTFwd_R_32f(src, dst, reinterpret_cast<ZelFFTSpec_R_32f*>(spec16), nullptr), zelStsContextMatchErr);
    EXPECT_EQ(ownFFTFree_R_16s32s(reinterpret_cast<ZelFFTSpec_R_16s32s*>(state)), zelStsContextMatchErr);
    // A released state in caller memory keeps its block but not its tag.
    int specSize, initSize, workSize;
    ASSERT_EQ(ownFFTGetSize_R_32f(6, 8, 0, &specSize, &initSize, &workSize), zelStsNoErr);
    std::vector<Zel8u> block(specSize);
    ZelFFTSpec_R_32f* released = nullptr;
    ASSERT_EQ(ownFFTInit_R_32f(&released, 6, 8, 0, block.data(), nullptr), zelStsNoErr);
    EXPECT_EQ(ownFFTFree_R_32f(released), zelStsNoErr);
    EXPECT_EQ(ownFFTFree_R_32f(released), zelStsContextMatchErr);
    for (auto fn : {ownFFTFwd_R_32f, ownFFTFwd_RUnfolded_32f, ownFFTInv_R_32f})
        EXPECT_EQ(fn(src, dst, released, nullptr), zelStsContextMatchErr);
    zt::expectUntouched(dst, 66, 3.0f);
    // The wrapper tests its state before the data pointers.
    Zel32s d32[66];
    std::fill(d32, d32 + 66, 5);
    EXPECT_EQ(ownFFTFwd_R_16s32s_Sfs(nullptr, d32, reinterpret_cast<ZelFFTSpec_R_16s32s*>(state), 0, nullptr),
              zelStsContextMatchErr);
    zt::expectUntouched(d32, 66, 5);
    EXPECT_EQ(ownFFTFree_R_16s32s(spec16), zelStsNoErr);
    EXPECT_EQ(ownFFTFree_R_32f(state), zelStsNoErr);
}

// One digest of the bits of transforms of every path and of the
// autocorrelation's two paths. The SSE4.1 and the portable builds, and the
// AVX2 and AVX-512 kernels where the processor has them, must all reproduce
// it: the kernels fix the order of every operation.
uint64_t digestOfEveryPath() {
    uint64_t digest = 1469598103934665603ull;
    auto mix = [&](const float* p, int len) {
        for (int i = 0; i < len; ++i) digest = (digest ^ zt::bits(p[i])) * 1099511628211ull;
    };
    uint32_t seed = 1;
    auto next = [&] {
        seed = seed * 1664525u + 1013904223u;
        return float(int(seed >> 16) - 32768) / 32768.0f;
    };
    for (int order = 0; order <= 15; ++order) {
        const int n = 1 << order;
        std::vector<float> x(n), y(n + 2), back(n);
        for (float& v : x) v = next();
        for (int flag : kFlags) {
            Plan plan(order, flag);
            EXPECT_EQ(ownFFTFwd_RUnfolded_32f(x.data(), y.data(), plan.state, nullptr), zelStsNoErr);
            mix(y.data(), n + 2);
            EXPECT_EQ(ownFFTFwd_R_32f(x.data(), y.data(), plan.state, nullptr), zelStsNoErr);
            EXPECT_EQ(ownFFTInv_R_32f(y.data(), back.data(), plan.state, nullptr), zelStsNoErr);
            mix(back.data(), n);
        }
    }
    for (int len : {300, 1000}) {
        std::vector<float> x(len), r(len);
        for (float& v : x) v = next();
        EXPECT_EQ(ownAutoCorr_32f(x.data(), len, r.data(), len), zelStsNoErr);
        mix(r.data(), len);
    }
    return digest;
}

TEST(Fft, EveryBuildAndInstructionSetGivesTheSameBits) {
    for (zel::Isa isa : {zel::Isa::kBaseline, zel::Isa::kAvx2, zel::Isa::kAvx512}) {
        const zel::Isa saved = zel::setMaxIsaForTesting(isa);
        const uint64_t digest = digestOfEveryPath();
        zel::setMaxIsaForTesting(saved);
        EXPECT_EQ(digest, 0x27fd5ded71c6be2ull) << "instruction set " << int(isa) << ": " << std::hex << digest;
    }
}

}  // namespace
