// SPDX-License-Identifier: Apache-2.0
// One digest of the bits of every member whose arithmetic is fixed, over
// lengths that cross the vector widths and both alignments. The SSE4.1, the
// portable and the 32-bit builds must all reproduce it; the one member left
// out, zelsBhatDist_32f, uses the processor's reciprocal estimates.
#include <vector>

#include "digest.hpp"
#include "frame/dispatch.hpp"

namespace {

// Data from a fixed generator, so that every build sees the same numbers.
struct Lcg {
    uint64_t s = 0x2545F4914F6CDD1Dull;
    double next(double lo, double hi) {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        return lo + (hi - lo) * double(s >> 11) * (1.0 / 9007199254740992.0);
    }
};

template <class T>
void fill(Lcg& g, T* p, int n, double lo, double hi) {
    for (int i = 0; i < n; ++i) p[i] = T(g.next(lo, hi));
}

template <class F>
void each(Lcg& g, zt::Digest& dg, F body) {
    for (int len : {1, 3, 4, 5, 8, 12, 13, 17, 39})
        for (int off : {0, 1}) body(g, dg, len, off);
}

uint64_t digestOfAllMembers() {
    Lcg g;
    zt::Digest dg;
    auto floats = [](Lcg& g, zt::Digest& dg, int len, int off, auto zero) {
        using T = decltype(zero);
        constexpr bool single = sizeof(T) == 4;
        zt::Buf<T> A(len, off), B(len, off), C(len, off), D(len, off), E(len, off), F(len, off);
        T *a = A.data(), *b = B.data(), *c = C.data(), *d = D.data(), *e = E.data(), *f = F.data();
        fill(g, a, len, -3, 3), fill(g, b, len, 0.1, 4), fill(g, c, len, -3, 3), fill(g, d, len, 0.1, 4);
        E.fill(T(0.5)), F.fill(T(0.25));
        T s;
        double r;
        dg.add(ZT_MEMBER(T, MeanVarAcc)(a, c, e, f, len, T(0.3))), dg.add(e, len), dg.add(f, len);
        dg.add(ZT_MEMBER(T, UpdateVar)(e, f, d, b, len, T(0.7), T(0.9))), dg.add(b, len);
        dg.add(ZT_MEMBER(T, UpdateMean)(e, a, len, T(0.7))), dg.add(a, len);
        dg.add(ZT_MEMBER(T, UpdateWeight)(d, f, len, &s, T(3), T(0.3))), dg.add(f, len), dg.add(&s, 1);
        dg.add(ZT_MEMBER(T, UpdateGConst)(b, len, &s)), dg.add(&s, 1);
        dg.add(ZT_MEMBER(T, UpdateGConst_DirectVar)(d, len, &s)), dg.add(&s, 1);
        dg.add(ZT_MEMBER(T, WeightedSum)(a, c, e, len, T(0.3), T(0.9))), dg.add(e, len);
        dg.add(ZT_MEMBER(T, WeightedSumHalf)(a, c, e, len, T(0.3), T(0.9))), dg.add(e, len);
        if constexpr (single) {
            dg.add(zelsNewVar_32f(a, d, e, len, 0.8f, 1.1f)), dg.add(e, len);
            dg.add(zelsNewVar_32f_I(a, d, len, 0.8f, 1.1f)), dg.add(d, len);
            dg.add(zelsScaleLM_32f(a, e, len, -1.0f, 3.3f, 0.7f)), dg.add(e, len);
        }
        dg.add(ZT_MEMBER(T, DcsClustLAccumulate)(a, b, e, f, len, T(7)));
        if constexpr (single) {
            dg.add(e, len), dg.add(f, len);
            dg.add(zelsDcsClustLCompute_32f64f(e, f, len, &r, 7.0f)), dg.add(&r, 1);
        } else {
            dg.add(zelsDcsClustLCompute_64f(e, f, len, &s, 7.0)), dg.add(&s, 1);
        }
        dg.add(ZT_MEMBER(T, DcsClustLAccumulate_DirectVar)(a, b, e, f, len, T(7))), dg.add(e, len), dg.add(f, len);
        if constexpr (single) fill(g, a, len, 0.5, 3), fill(g, c, len, 0.5, 3);
        dg.add(ZT_MEMBER(T, GaussianMerge)(a, b, c, d, e, f, len, &s, T(2), T(5)));
        dg.add(e, len), dg.add(f, len), dg.add(&s, 1);
        dg.add(ZT_MEMBER(T, GaussianDist)(a, b, c, d, len, &s, T(2), T(-3), T(5), T(4))), dg.add(&s, 1);
        if constexpr (single) {
            dg.add(zelsBhatDist_32f64f(a, b, c, d, len, &r)), dg.add(&r, 1);
            dg.add(zelsBhatDistSLog_32f64f(a, b, c, d, len, &r, 1.5f, -2.5f)), dg.add(&r, 1);
            dg.add(zelsBhatDistSLog_32f(a, b, c, d, len, &s, 1.5f, -2.5f)), dg.add(&s, 1);
        }
        dg.add(ZT_MEMBER(T, GaussianSplit)(a, b, c, d, len, T(0.2))), dg.add(a, len), dg.add(c, len), dg.add(d, len);
    };
    each(g, dg, [&](Lcg& g, zt::Digest& dg, int len, int off) { floats(g, dg, len, off, 0.0f); });
    each(g, dg, [&](Lcg& g, zt::Digest& dg, int len, int off) { floats(g, dg, len, off, 0.0); });
    // Integer and matrix members.
    each(g, dg, [](Lcg& g, zt::Digest& dg, int len, int off) {
        zt::Buf<Zel16s> a(len, off), b(len, off), c(len, off);
        zt::Buf<Zel32s> m(len, off), v(len, off), o(len, off);
        fill(g, a.data(), len, -20000, 20000), fill(g, b.data(), len, -20000, 20000);
        fill(g, m.data(), len, -300, 300), fill(g, v.data(), len, 0, 90000);
        dg.add(zelsWeightedSum_16s(a.data(), b.data(), c.data(), len, 0.3f, 0.9f)), dg.add(c.data(), len);
        dg.add(zelsWeightedSumHalf_16s(a.data(), b.data(), c.data(), len, 0.3f, 0.9f)), dg.add(c.data(), len);
        dg.add(zelsScaleLM_16s32s(a.data(), o.data(), len, -7000, 300, 12345)), dg.add(o.data(), len);
        dg.add(zelsNewVar_32s_Sfs(m.data(), v.data(), o.data(), len, 0.75f, 1.3f, 1)), dg.add(o.data(), len);
        dg.add(zelsNewVar_32s_ISfs(m.data(), v.data(), len, 0.75f, 1.3f, -2)), dg.add(v.data(), len);
        const int height = 7, step = len + off;
        zt::Buf<float> x(size_t(height) * step), s(len), q(len), mean(len);
        zt::Buf<Zel16s> x16(size_t(height) * step);
        zt::Buf<double> cov(size_t(len) * len);
        fill(g, x.data(), height * step, -5, 5), fill(g, x16.data(), height * step, -3000, 3000);
        fill(g, mean.data(), len, -1, 1), cov.fill(0.5);
        dg.add(zelsSumMeanVar_32f(x.data(), step, height, s.data(), q.data(), len));
        dg.add(zelsSumMeanVar_32f_I(x.data(), step, height, s.data(), q.data(), len));
        dg.add(zelsSumMeanVar_16s32f_I(x16.data(), step, height, s.data(), q.data(), len));
        dg.add(s.data(), len), dg.add(q.data(), len);
        dg.add(zelsSumMeanVar_16s32s_Sfs(x16.data(), step, height, o.data(), m.data(), len, 3));
        dg.add(zelsSumMeanVar_16s32s_ISfs(x16.data(), step, height, o.data(), m.data(), len, 2));
        dg.add(o.data(), len), dg.add(m.data(), len);
        dg.add(zelsAccCovarianceMatrix_32f64f_D2(x.data(), step, height, mean.data(), cov.data(), len, len, 0.3));
        dg.add(zelsAccCovarianceMatrix_16s64f_D2(x16.data(), step, height, a.data(), cov.data(), len, len, 0.7));
        dg.add(cov.data(), size_t(len) * len);
    });
    return dg.h;
}

TEST(EstimationDigest, SameBitsOnEveryBuildAndInstructionSet) {
    for (zel::Isa isa : {zel::Isa::kBaseline, zel::Isa::kAvx2}) {
        const zel::Isa previous = zel::setMaxIsaForTesting(isa);
        const uint64_t h = digestOfAllMembers();
        EXPECT_EQ(h, 16999885019728292298ull) << std::hex << h << " at instruction set " << int(isa);
        zel::setMaxIsaForTesting(previous);
    }
}

}  // namespace
