// SPDX-License-Identifier: Apache-2.0
// The search of full tables on every instruction set this processor has:
// each path must give the indices and distance bits of the baseline path,
// for widths around the four-column groups, table sizes around the rows
// taken per step, and vector counts around each path's block of queries
// (4 x 3, 8, 16), including exact ties, NaN and overflowing rows. Without
// weights the result must also be the one the single-vector ranking finds
// through frame scoring, bit for bit, down to subnormal distances.
#include <math.h>
#include <string.h>

#include <vector>

#include "frame/dispatch.hpp"
#include "vq_reference.hpp"

namespace {

using vqt::Lcg;

std::vector<zel::Isa> paths() {
    std::vector<zel::Isa> v{zel::Isa::kBaseline};
    if (zel::bestIsa() >= zel::Isa::kAvx2) v.push_back(zel::Isa::kAvx2);
    if (zel::bestIsa() >= zel::Isa::kAvx512) v.push_back(zel::Isa::kAvx512);
    return v;
}

bool sameBits(float a, float b) { return memcmp(&a, &b, sizeof a) == 0 || (isnan(a) && isnan(b)); }

// Restores the processor's own path at the end of a test.
struct PathGuard {
    zel::Isa previous = zel::setMaxIsaForTesting(zel::Isa::kAvx512);
    ~PathGuard() { zel::setMaxIsaForTesting(previous); }
};

struct Case {
    int width, n, height;
    bool ties, weighted, special;
    float scale;
};

// Table rows and queries: small integers (many exact ties, repeated rows)
// or continuous values; `special` puts a NaN and an overflowing row in the
// table and a NaN in one query.
void fill(Lcg& g, const Case& c, std::vector<float>& table, std::vector<float>& q, std::vector<float>& w) {
    table.resize(size_t(c.n) * c.width);
    q.resize(size_t(c.height) * (c.width + 1));
    w.assign(size_t(c.width), 1.0f);
    auto value = [&] { return c.scale * (c.ties ? float(int(g.next() % 5) - 2) : g.range(-3, 3)); };
    for (auto& v : table) v = value();
    for (auto& v : q) v = value();
    if (c.ties && c.n > 3) memcpy(&table[size_t(c.width) * 3], &table[0], sizeof(float) * size_t(c.width));
    if (c.weighted)
        for (auto& v : w) v = c.ties ? float(1 + g.next() % 3) : g.range(0.25f, 2.0f);
    if (c.special && c.n > 5) {
        table[size_t(c.width) * 2] = NAN;
        table[size_t(c.width) * 4 + size_t(c.width) / 2] = 3e38f;
    }
    if (c.special && c.height > 2) q[size_t(c.width + 1) * 2] = NAN;
}

void checkCase(Lcg& g, const Case& c) {
    std::vector<float> table, q, w;
    fill(g, c, table, q, w);
    vqt::Cdbk32f cb(table.data(), c.width, c.width, c.n, c.n, 1, c.weighted ? w.data() : nullptr);
    ASSERT_EQ(cb.status, zelStsNoErr);
    const int step = c.width + 1;
    std::vector<Zel32s> idx0(size_t(c.height)), idx(size_t(c.height));
    std::vector<float> d0(size_t(c.height)), d(size_t(c.height));
    zel::setMaxIsaForTesting(zel::Isa::kBaseline);
    ASSERT_EQ(zelsVQDist_32f(q.data(), step, idx0.data(), d0.data(), c.height, cb.p), zelStsNoErr);
    for (zel::Isa isa : paths()) {
        zel::setMaxIsaForTesting(isa);
        ASSERT_EQ(zelsVQDist_32f(q.data(), step, idx.data(), d.data(), c.height, cb.p), zelStsNoErr);
        for (int i = 0; i < c.height; ++i) {
            EXPECT_EQ(idx[i], idx0[i]) << "path " << int(isa) << " width " << c.width << " n " << c.n << " row " << i;
            EXPECT_TRUE(sameBits(d[i], d0[i])) << "path " << int(isa) << " width " << c.width << " row " << i;
        }
    }
    // A grid (widths 1 and 2 from 11 rows) may find another row than a
    // ranking of the whole table.
    if (c.weighted || c.special || (c.width <= 2 && c.n >= 11)) return;
    // The ranking of one vector scores the whole table through frame scoring.
    for (int i = 0; i < c.height; ++i) {
        Zel32s first = -1;
        float dist = -1;
        ASSERT_EQ(zelsVQDistSingle_Sort_32f(&q[size_t(i) * step], &first, &dist, cb.p, 1), zelStsNoErr);
        EXPECT_EQ(idx0[i], first) << "width " << c.width << " n " << c.n << " row " << i;
        EXPECT_TRUE(sameBits(d0[i], dist)) << d0[i] << " " << dist << " width " << c.width << " row " << i;
    }
}

TEST(VQPaths, FullTablesGiveTheBaselineResultsOnEveryPath) {
    PathGuard guard;
    Lcg g(77);
    for (int width : {1, 2, 3, 4, 5, 7, 8, 9, 16, 39})
        for (int n : {1, 2, 4, 6, 7, 13, 61})
            for (int height : {1, 3, 7, 8, 9, 11, 12, 13, 16, 17, 40})
                for (int variant = 0; variant < 4; ++variant) {
                    const Case c{width, n, height, variant % 2 == 0, variant >= 2, n == 13 && height > 10, 1.0f};
                    checkCase(g, c);
                    if (HasFatalFailure()) return;
                }
    // Distances in the subnormal range, where halving and doubling round.
    for (int width : {3, 39}) checkCase(g, Case{width, 61, 17, false, false, false, 3e-21f});
}

// Integer tables are searched on singles; split streams quantize each part
// of a row; both the same on every path.
TEST(VQPaths, IntegerTablesAndSplitStreamsOnEveryPath) {
    PathGuard guard;
    Lcg g(5);
    const int wa = 5, wb = 8, n = 29, height = 21, rowStep = wa + wb + 2;
    std::vector<Zel16s> t16(size_t(n) * wa), q16(size_t(height) * rowStep);
    for (auto& v : t16) v = Zel16s(int(g.next() % 2001) - 1000);
    for (auto& v : q16) v = Zel16s(int(g.next() % 2001) - 1000);
    std::vector<float> ta(size_t(n) * wa), tb(size_t(n) * wb), q32(size_t(height) * rowStep);
    for (auto& v : ta) v = g.range(-2, 2);
    for (auto& v : tb) v = float(int(g.next() % 3));
    for (auto& v : q32) v = g.range(-2, 2);
    vqt::Cdbk16s c16(t16.data(), wa, wa, n, n, 1);
    vqt::Cdbk32f ca(ta.data(), wa, wa, n, n, 1), cbk(tb.data(), wb, wb, n, n, 1);
    ASSERT_EQ(c16.status, zelStsNoErr);
    const ZelCdbkState_32f* books[2] = {ca.p, cbk.p};

    std::vector<Zel32s> i0(height), dist0(height), i1(height), dist1(height);
    std::vector<Zel16s> s0(size_t(height) * 2), s1(size_t(height) * 2);
    zel::setMaxIsaForTesting(zel::Isa::kBaseline);
    ASSERT_EQ(zelsVQDist_16s32s_Sfs(q16.data(), rowStep, i0.data(), dist0.data(), height, c16.p, -2), zelStsNoErr);
    ASSERT_EQ(zelsSplitVQ_32f16s(q32.data(), rowStep, s0.data(), 2, height, books, 2), zelStsNoErr);
    for (zel::Isa isa : paths()) {
        zel::setMaxIsaForTesting(isa);
        ASSERT_EQ(zelsVQDist_16s32s_Sfs(q16.data(), rowStep, i1.data(), dist1.data(), height, c16.p, -2), zelStsNoErr);
        ASSERT_EQ(zelsSplitVQ_32f16s(q32.data(), rowStep, s1.data(), 2, height, books, 2), zelStsNoErr);
        EXPECT_EQ(i1, i0) << "path " << int(isa);
        EXPECT_EQ(dist1, dist0) << "path " << int(isa);
        EXPECT_EQ(s1, s0) << "path " << int(isa);
    }
    // Each stream's index is the one a search of that part alone finds.
    for (int y = 0; y < height; ++y) {
        Zel32s a, b;
        ASSERT_EQ(zelsVQ_32f(&q32[size_t(y) * rowStep], wa, &a, 1, ca.p), zelStsNoErr);
        ASSERT_EQ(zelsVQ_32f(&q32[size_t(y) * rowStep + wa], wb, &b, 1, cbk.p), zelStsNoErr);
        EXPECT_EQ(s0[size_t(y) * 2], a);
        EXPECT_EQ(s0[size_t(y) * 2 + 1], b);
    }
}

}  // namespace
