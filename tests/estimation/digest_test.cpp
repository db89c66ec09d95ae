// SPDX-License-Identifier: Apache-2.0
// One digest of the bits of every member whose arithmetic is fixed, over
// lengths that cross the vector widths and both alignments. The SSE4.1, the
// portable and the 32-bit builds must all reproduce it; the one member left
// out, zelsBhatDist_32f, uses the processor's reciprocal estimates.
#include <vector>

#include "common.hpp"
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

struct Digest {
    uint64_t h = 1469598103934665603ull;
    template <class T>
    void add(const T* p, size_t n) {
        const unsigned char* b = reinterpret_cast<const unsigned char*>(p);
        for (size_t i = 0; i < n * sizeof(T); ++i) h = (h ^ b[i]) * 1099511628211ull;
    }
    template <class T>
    void add(T v) {
        add(&v, 1);
    }
};

template <class T>
void fill(Lcg& g, T* p, int n, double lo, double hi) {
    for (int i = 0; i < n; ++i) p[i] = T(g.next(lo, hi));
}

template <class F>
void each(Lcg& g, Digest& dg, F body) {
    for (int len : {1, 3, 4, 5, 8, 12, 13, 17, 39})
        for (int off : {0, 1}) body(g, dg, len, off);
}

uint64_t digestOfAllMembers() {
    Lcg g;
    Digest dg;
    auto floats = [](Lcg& g, Digest& dg, int len, int off, auto zero) {
        using T = decltype(zero);
        zt::Buf<T> a(len, off), b(len, off), c(len, off), d(len, off), e(len, off), f(len, off);
        fill(g, a.data(), len, -3, 3), fill(g, b.data(), len, 0.1, 4), fill(g, c.data(), len, -3, 3);
        fill(g, d.data(), len, 0.1, 4), e.fill(T(0.5)), f.fill(T(0.25));
        T s;
        if constexpr (sizeof(T) == 4) {
            dg.add(zelsMeanVarAcc_32f(a.data(), c.data(), e.data(), f.data(), len, 0.3f));
            dg.add(e.data(), len), dg.add(f.data(), len);
            dg.add(zelsUpdateVar_32f(e.data(), f.data(), d.data(), b.data(), len, 0.7f, 0.9f)), dg.add(b.data(), len);
            dg.add(zelsUpdateMean_32f(e.data(), a.data(), len, 0.7f)), dg.add(a.data(), len);
            dg.add(zelsUpdateWeight_32f(d.data(), f.data(), len, &s, 3.0f, 0.3f)), dg.add(f.data(), len), dg.add(s);
            dg.add(zelsUpdateGConst_32f(b.data(), len, &s)), dg.add(s);
            dg.add(zelsUpdateGConst_DirectVar_32f(d.data(), len, &s)), dg.add(s);
            dg.add(zelsWeightedSum_32f(a.data(), c.data(), e.data(), len, 0.3f, 0.9f)), dg.add(e.data(), len);
            dg.add(zelsWeightedSumHalf_32f(a.data(), c.data(), e.data(), len, 0.3f, 0.9f)), dg.add(e.data(), len);
            dg.add(zelsNewVar_32f(a.data(), d.data(), e.data(), len, 0.8f, 1.1f)), dg.add(e.data(), len);
            dg.add(zelsNewVar_32f_I(a.data(), d.data(), len, 0.8f, 1.1f)), dg.add(d.data(), len);
            dg.add(zelsScaleLM_32f(a.data(), e.data(), len, -1.0f, 3.3f, 0.7f)), dg.add(e.data(), len);
            dg.add(zelsDcsClustLAccumulate_32f(a.data(), b.data(), e.data(), f.data(), len, 7.0f));
            dg.add(e.data(), len), dg.add(f.data(), len);
            double r;
            dg.add(zelsDcsClustLCompute_32f64f(e.data(), f.data(), len, &r, 7.0f)), dg.add(r);
            dg.add(zelsDcsClustLAccumulate_DirectVar_32f(a.data(), b.data(), e.data(), f.data(), len, 7.0f));
            dg.add(e.data(), len), dg.add(f.data(), len);
            fill(g, a.data(), len, 0.5, 3), fill(g, c.data(), len, 0.5, 3);
            dg.add(zelsGaussianMerge_32f(a.data(), b.data(), c.data(), d.data(), e.data(), f.data(), len, &s, 2.0f, 5.0f));
            dg.add(e.data(), len), dg.add(f.data(), len), dg.add(s);
            dg.add(zelsGaussianDist_32f(a.data(), b.data(), c.data(), d.data(), len, &s, 2.0f, -3.0f, 5.0f, 4.0f)), dg.add(s);
            dg.add(zelsBhatDist_32f64f(a.data(), b.data(), c.data(), d.data(), len, &r)), dg.add(r);
            dg.add(zelsBhatDistSLog_32f64f(a.data(), b.data(), c.data(), d.data(), len, &r, 1.5f, -2.5f)), dg.add(r);
            dg.add(zelsBhatDistSLog_32f(a.data(), b.data(), c.data(), d.data(), len, &s, 1.5f, -2.5f)), dg.add(s);
            dg.add(zelsGaussianSplit_32f(a.data(), b.data(), c.data(), d.data(), len, 0.2f));
            dg.add(a.data(), len), dg.add(c.data(), len), dg.add(d.data(), len);
        } else {
            dg.add(zelsMeanVarAcc_64f(a.data(), c.data(), e.data(), f.data(), len, 0.3));
            dg.add(e.data(), len), dg.add(f.data(), len);
            dg.add(zelsUpdateVar_64f(e.data(), f.data(), d.data(), b.data(), len, 0.7, 0.9)), dg.add(b.data(), len);
            dg.add(zelsUpdateMean_64f(e.data(), a.data(), len, 0.7)), dg.add(a.data(), len);
            dg.add(zelsUpdateWeight_64f(d.data(), f.data(), len, &s, 3.0, 0.3)), dg.add(f.data(), len), dg.add(s);
            dg.add(zelsUpdateGConst_64f(b.data(), len, &s)), dg.add(s);
            dg.add(zelsUpdateGConst_DirectVar_64f(d.data(), len, &s)), dg.add(s);
            dg.add(zelsWeightedSum_64f(a.data(), c.data(), e.data(), len, 0.3, 0.9)), dg.add(e.data(), len);
            dg.add(zelsWeightedSumHalf_64f(a.data(), c.data(), e.data(), len, 0.3, 0.9)), dg.add(e.data(), len);
            dg.add(zelsDcsClustLAccumulate_64f(a.data(), b.data(), e.data(), f.data(), len, 7.0));
            dg.add(zelsDcsClustLCompute_64f(e.data(), f.data(), len, &s, 7.0)), dg.add(s);
            dg.add(zelsDcsClustLAccumulate_DirectVar_64f(a.data(), b.data(), e.data(), f.data(), len, 7.0));
            dg.add(e.data(), len), dg.add(f.data(), len);
            dg.add(zelsGaussianMerge_64f(a.data(), b.data(), c.data(), d.data(), e.data(), f.data(), len, &s, 2.0, 5.0));
            dg.add(e.data(), len), dg.add(f.data(), len), dg.add(s);
            dg.add(zelsGaussianDist_64f(a.data(), b.data(), c.data(), d.data(), len, &s, 2.0, -3.0, 5.0, 4.0)), dg.add(s);
            dg.add(zelsGaussianSplit_64f(a.data(), b.data(), c.data(), d.data(), len, 0.2));
            dg.add(a.data(), len), dg.add(c.data(), len), dg.add(d.data(), len);
        }
    };
    each(g, dg, [&](Lcg& g, Digest& dg, int len, int off) { floats(g, dg, len, off, 0.0f); });
    each(g, dg, [&](Lcg& g, Digest& dg, int len, int off) { floats(g, dg, len, off, 0.0); });
    // Integer and matrix members.
    each(g, dg, [](Lcg& g, Digest& dg, int len, int off) {
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
