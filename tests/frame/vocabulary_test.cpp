// SPDX-License-Identifier: Apache-2.0
// The vector vocabulary lane by lane: every implementation this compiler
// can build here (the vector-typed portable one, and SSE4.1 where the build
// has it) against the plain-lane one, bit for bit, on edge values (signed
// zeros, infinities, NaNs, the ends of the integer ranges, halves, the
// thresholds of the conversions) mixed with random lanes, in every rounding
// mode. The kernels trust these operations to agree exactly; a lane that
// differs only at an edge would show in few of the families' own tests.
#include <fenv.h>
#include <math.h>
#include <stdint.h>
#include <string.h>
#if defined(__SSE4_1__)
#include <smmintrin.h>
#endif

#include <random>

#include "common.hpp"

struct VocabInputs {
    float fa[4], fb[4], fm[4];
    double da[2], db[2], dm[2];
    int32_t ia[4], ib[4];
    int16_t sa[8], sb[8];
    int shift;
};
struct VocabOutputs {
    float f[32][4];
    double d[16][2];
    int32_t i[16][4];
    int16_t s[16][8];
    int masks[2];
};

namespace plain {
#include "simd/scalar.hpp"
using namespace zel::simd;
#include "vocabulary_ops.inc"
}  // namespace plain

#if defined(__GNUC__) || defined(__clang__)
#define HAVE_GENERIC 1
namespace generic {
#include "simd/generic.hpp"
using namespace zel::simd;
#include "vocabulary_ops.inc"
}  // namespace generic
#endif

#if defined(__SSE4_1__)
namespace sse41 {
#include "simd/sse41.hpp"
using namespace zel::simd;
#include "vocabulary_ops.inc"
}  // namespace sse41
#endif

namespace {

// One NaN only: which of two NaN operands an addition passes on is the
// compiler's choice (it may swap them), in every implementation alike.
const float kEdgeF[] = {0.0f, -0.0f, 1.0f, -1.0f, 0.5f, -0.5f, 1.5f, -2.5f, 0.49999997f, INFINITY, -INFINITY,
                        NAN, 1e-45f, -1e-40f, 8388607.5f, 8388608.0f, -8388609.0f, 16777217.0f,
                        2147483520.0f, -2147483520.0f, 2147483648.0f, -2147483648.0f, -2147483904.0f, 3e38f,
                        65535.5f, -32768.5f};
const double kEdgeD[] = {0.0, -0.0, 1.0, -1.0, INFINITY, -INFINITY, NAN, 4.9e-324, 3.4028235677973366e38,
                         1.0000000596046448, -2.5, 1e300};
const int32_t kEdgeI[] = {0, -1, 1, INT32_MIN, INT32_MAX, 32767, 32768, -32768, -32769, 65535, 0x7fff8000};
const int16_t kEdgeS[] = {0, -1, 1, -32768, 32767, 181, -182, 16384, -16384};

template <class T, size_t N>
T pick(std::mt19937& g, const T (&edges)[N], T random) {
    return g() % 3 == 0 ? edges[g() % N] : random;
}

VocabInputs inputs(std::mt19937& g) {
    std::uniform_real_distribution<float> uf(-40000.0f, 40000.0f);
    std::uniform_int_distribution<int> exponent(-30, 40);
    VocabInputs in;
    auto f = [&] { return pick(g, kEdgeF, ldexpf(uf(g), exponent(g) / 2)); };
    auto d = [&] { return pick(g, kEdgeD, ldexp(double(uf(g)), exponent(g))); };
    for (int l = 0; l < 4; ++l) {
        in.fa[l] = f(), in.fb[l] = f();
        in.ia[l] = pick(g, kEdgeI, int32_t(g())), in.ib[l] = pick(g, kEdgeI, int32_t(g() >> (g() % 32)));
        uint32_t bits = g() % 2 ? 0x80000000u : 0x7fffffffu;
        memcpy(&in.fm[l], &bits, 4);  // only the sign bit decides a selection
    }
    for (int l = 0; l < 2; ++l) {
        in.da[l] = d(), in.db[l] = d();
        uint64_t bits = g() % 2 ? 0x8000000000000000u : 0x7fffffffffffffffu;
        memcpy(&in.dm[l], &bits, 8);
    }
    for (int l = 0; l < 8; ++l) in.sa[l] = pick(g, kEdgeS, int16_t(g())), in.sb[l] = pick(g, kEdgeS, int16_t(g()));
    in.shift = int(g() % 40);
    return in;
}

void expectSame(const VocabOutputs& want, const VocabOutputs& got, const char* name, int round) {
    // Arrays compared section by section, so a failure names the operation's slot.
    for (int k = 0; k < 32; ++k) EXPECT_EQ(memcmp(want.f[k], got.f[k], 16), 0) << name << " single slot " << k << " round " << round;
    for (int k = 0; k < 16; ++k) EXPECT_EQ(memcmp(want.d[k], got.d[k], 16), 0) << name << " double slot " << k << " round " << round;
    for (int k = 0; k < 16; ++k) EXPECT_EQ(memcmp(want.i[k], got.i[k], 16), 0) << name << " int32 slot " << k << " round " << round;
    for (int k = 0; k < 16; ++k) EXPECT_EQ(memcmp(want.s[k], got.s[k], 16), 0) << name << " int16 slot " << k << " round " << round;
    EXPECT_EQ(want.masks[0], got.masks[0]) << name << " round " << round;
    EXPECT_EQ(want.masks[1], got.masks[1]) << name << " round " << round;
}

}  // namespace

TEST(Vocabulary, EveryImplementationGivesThePlainLanesBitsInEveryRoundingMode) {
    const int modes[] = {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO};
    std::mt19937 g(23);
    int compared = 0;
    for (int round = 0; round < 4000; ++round) {
        const VocabInputs in = inputs(g);
        ASSERT_EQ(fesetround(modes[round % 4]), 0);
        VocabOutputs want{}, got{};
        plain::runAll(in, want);
#if defined(HAVE_GENERIC)
        got = {};
        generic::runAll(in, got);
        expectSame(want, got, "generic", round);
        ++compared;
#endif
#if defined(__SSE4_1__)
        got = {};
        sse41::runAll(in, got);
        expectSame(want, got, "sse41", round);
        ++compared;
#endif
        fesetround(FE_TONEAREST);
        if (HasFailure()) break;
    }
    EXPECT_GT(compared, 0);
}
