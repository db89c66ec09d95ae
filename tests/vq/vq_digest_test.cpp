// SPDX-License-Identifier: Apache-2.0
// One digest of training and search results that every build must
// reproduce bit for bit: the SSE4.1 and AVX2 paths of one build, the
// portable build and the 32-bit build.
#include "digest.hpp"
#include "frame/dispatch.hpp"
#include "vq_reference.hpp"

namespace {

// The shared hash, fed whole vectors.
struct Digest : zt::Digest {
    using zt::Digest::add;
    template <class T>
    void add(const std::vector<T>& v) { zt::Digest::add(v.data(), v.size()); }
};

uint64_t digest() {
    Digest d;
    vqt::Lcg g(77);
    const int width = 13, n = 600;
    auto data = vqt::clusters(g, n, width, 12, 5.0f, 1.0f);
    std::vector<float> w(width);
    for (auto& v : w) v = g.range(0.5f, 2.0f);
    std::vector<Zel16s> d16(data.size()), w16(width);
    for (size_t i = 0; i < data.size(); ++i) d16[i] = Zel16s(lrintf(data[i] * 50));
    for (auto& v : w16) v = Zel16s(1 + g.next() % 4);
    std::vector<Zel32s> idx(n);
    std::vector<float> dist(n);
    std::vector<Zel32s> di(n);
    for (int hint : {1, 2, 3}) {
        for (bool weighted : {false, true}) {
            vqt::Cdbk32f cb(data.data(), width, width, hint == 1 ? 259 : n, hint == 1 ? 259 : 24, hint,
                            weighted ? w.data() : nullptr);
            d.add(&cb.status, 1);
            d.add(cb.rows(width));
            zelsVQDist_32f(data.data(), width, idx.data(), dist.data(), n, cb.p);
            d.add(idx);
            d.add(dist);
            vqt::Cdbk16s c16(d16.data(), width, width, hint == 1 ? 259 : n, hint == 1 ? 259 : 24, hint,
                             weighted ? w16.data() : nullptr);
            d.add(&c16.status, 1);
            d.add(c16.rows(width));
            zelsVQDist_16s32s_Sfs(d16.data(), width, idx.data(), di.data(), n, c16.p, 1);
            d.add(idx);
            d.add(di);
        }
    }
    // A width-2 grid.
    vqt::Cdbk32f grid(data.data(), 2, width, n, n, 1);
    zelsVQDist_32f(data.data() + 5, width, idx.data(), dist.data(), n, grid.p);
    d.add(idx);
    d.add(dist);
    return d.h;
}

TEST(VQDigest, SameBitsOnEveryPath) {
    const uint64_t best = digest();
    const zel::Isa cap = zel::setMaxIsaForTesting(zel::Isa::kBaseline);
    const uint64_t baseline = digest();
    zel::setMaxIsaForTesting(cap);
    EXPECT_EQ(best, baseline);
    EXPECT_EQ(baseline, 0x7f727947aa969de9ull) << std::hex << baseline;
}

}  // namespace
