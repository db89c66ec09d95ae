// SPDX-License-Identifier: Apache-2.0
// VQ search against an exhaustive search in double precision: full tables
// (plain, weighted, in caller memory), cell grids, trees, the single-vector
// rankings and split streams.
#include <float.h>
#include <math.h>

#include <algorithm>
#include <numeric>

#include "vq_reference.hpp"

namespace {

using vqt::Cdbk16s;
using vqt::Cdbk32f;
using vqt::Lcg;

void expectNear(double got, double want, const char* what, int i) {
    EXPECT_NEAR(got, want, 1e-5 * (1.0 + want)) << what << " row " << i;
}

// Full tables are searched exactly: every width around the vector lengths,
// row counts with tails, aligned and odd steps, with and without weights.
TEST(VQSearch, FullTableEqualsExhaustiveSearch) {
    Lcg g(1);
    for (int width : {1, 2, 3, 4, 5, 7, 8, 9, 13, 16, 39}) {
        for (int n : {1, 3, 4, 5, 8, 9, 17, 259}) {
            for (bool weighted : {false, true}) {
                const int step = width + (n % 3);
                std::vector<float> table(size_t(n) * step), w(width);
                for (auto& v : table) v = g.range(-4, 4);
                for (auto& v : w) v = weighted ? g.range(0.2f, 3.0f) : 1.0f;
                std::vector<double> wd(w.begin(), w.end());
                // Only widths 1 and 2 with 11 or more rows may grow a grid; a
                // table from caller memory never does.
                int size = 0;
                ASSERT_EQ(zelsCdbkGetSize_32f(width, step, n, n, 1, &size), zelStsNoErr);
                std::vector<uint64_t> mem(size_t(size) / 8 + 1);
                auto* cb = reinterpret_cast<ZelCdbkState_32f*>(mem.data());
                Cdbk32f owned(table.data(), width, step, n, n, 1, w.data());
                ASSERT_EQ(owned.status, zelStsNoErr);
                ZelCdbkState_32f* books[2] = {owned.p, cb};
                const bool callerOk = !weighted;
                if (callerOk) {
                    ASSERT_EQ(zelsCdbkInit_L2_32f(cb, table.data(), width, step, n, n, 1), zelStsNoErr);
                }
                const int h = 23;
                std::vector<float> q(size_t(h) * (width + 1));
                for (auto& v : q) v = g.range(-5, 5);
                for (int b = 0; b < (callerOk ? 2 : 1); ++b) {
                    std::vector<Zel32s> idx(h, -7);
                    std::vector<float> dist(h);
                    ASSERT_EQ(zelsVQDist_32f(q.data(), width + 1, idx.data(), dist.data(), h, books[b]), zelStsNoErr);
                    std::vector<Zel32s> idx2(h, -7);
                    ASSERT_EQ(zelsVQ_32f(q.data(), width + 1, idx2.data(), h, books[b]), zelStsNoErr);
                    for (int i = 0; i < h; ++i) {
                        const auto ref = vqt::exhaustive(table.data(), step, n, &q[size_t(i) * (width + 1)], width,
                                                         wd.data());
                        if (width <= 2 && n >= 11 && b == 0) {
                            // A grid may return a codeword at the same distance.
                            expectNear(double(dist[i]) * dist[i], ref.sq, "grid", i);
                        } else {
                            EXPECT_EQ(idx[i], ref.index) << "width " << width << " n " << n << " row " << i;
                            expectNear(double(dist[i]) * dist[i], ref.sq, "scan", i);
                        }
                        EXPECT_EQ(idx2[i], idx[i]);
                    }
                }
            }
        }
    }
}

// Equal distances go to the lowest row (without weights), and to the lowest
// row within one part in a million (with weights).
TEST(VQSearch, TiesGoToTheLowestRow) {
    const float table[] = {3, 3, 1, 1, 5, 5, 1, 1, 1, 1};
    const float q[] = {1, 1, 2, 2};
    for (int weighted = 0; weighted < 2; ++weighted) {
        const float w[] = {1.0f, weighted ? 2.0f : 1.0f};
        Cdbk32f cb(table, 2, 2, 5, 5, 1, w);
        Zel32s idx[2];
        ASSERT_GE(zelsVQ_32f(q, 2, idx, 2, cb.p), 0);
        EXPECT_EQ(idx[0], 1);
        EXPECT_EQ(idx[1], 0);  // rows 0, 1, 3 and 4 lie equally near (2, 2)
    }
    // Sort with nBest = all rows gives a permutation, equal distances in
    // ascending index.
    Cdbk32f cb(table, 2, 2, 5, 5, 1);
    Zel32s idx[5];
    Zel32f d[5];
    ASSERT_EQ(zelsVQDistSingle_Sort_32f(q, idx, d, cb.p, 5), zelStsNoErr);
    const Zel32s want[] = {1, 3, 4, 0, 2};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(idx[i], want[i]);
    EXPECT_FLOAT_EQ(d[3], sqrtf(8.0f));
}

// A width-1 grid is exact for queries inside the data's range; a width-2
// grid finds a codeword at the nearest distance.
TEST(VQSearch, GridsFindTheNearestDistance) {
    Lcg g(2);
    for (int width : {1, 2}) {
        const int n = 400;
        std::vector<float> table(size_t(n) * width);
        for (auto& v : table) v = g.range(1, 50);
        Cdbk32f cb(table.data(), width, width, n, n, 1);
        ASSERT_EQ(cb.status, zelStsNoErr);
        const int h = 300;
        std::vector<float> q(size_t(h) * width);
        for (auto& v : q) v = g.range(2, 49);
        std::vector<Zel32s> idx(h);
        std::vector<float> dist(h);
        ASSERT_EQ(zelsVQDist_32f(q.data(), width, idx.data(), dist.data(), h, cb.p), zelStsNoErr);
        for (int i = 0; i < h; ++i) {
            const auto ref = vqt::exhaustive(table.data(), width, n, &q[size_t(i) * width], width);
            ASSERT_GE(idx[i], 0);
            expectNear(double(dist[i]) * dist[i], ref.sq, "grid", i);
        }
    }
}

// Data whose clusters nest: two groups far apart, each of two groups less
// far apart, and so on for four levels, so that every split of the trainer
// follows one level and every decision of a descent is clear.
std::vector<float> nested(Lcg& g, int n, int width) {
    std::vector<float> out(size_t(n) * width);
    for (int i = 0; i < n; ++i) {
        const uint32_t c = g.next() % 16;
        for (int j = 0; j < width; ++j) {
            float v = 0.05f * g.normal();
            for (int level = 0; level < 4; ++level)
                if (j % 4 == level % width % 4 || width == 1) v += ((c >> level) & 1 ? 1.0f : -1.0f) * float(1000 >> (3 * level));
            out[size_t(i) * width + j] = v;
        }
    }
    return out;
}

// Trees on nested clusters: every vector finds the nearest codeword, in both
// element types, weighted or not, for the packed widths and others; the
// distance is the one to the codeword returned.
TEST(VQSearch, TreeFindsTheNearestCodewordOfNestedClusters) {
    for (int width : {1, 2, 3, 4, 8, 13}) {
        for (int hint : {2, 3}) {
            for (bool weighted : {false, true}) {
                Lcg g(10 + width);
                const int n = 2000, k = 16;
                auto data = nested(g, n, width);
                std::vector<float> w(width, 1.0f);
                if (weighted)
                    for (auto& v : w) v = g.range(0.5f, 2.0f);
                Cdbk32f cb(data.data(), width, width, n, k, hint, w.data());
                ASSERT_GE(cb.status, 0);
                const int m = cb.entries();
                const auto rows = cb.rows(width);
                std::vector<double> wd(w.begin(), w.end());
                std::vector<Zel32s> idx(n);
                std::vector<float> dist(n);
                ASSERT_EQ(zelsVQDist_32f(data.data(), width, idx.data(), dist.data(), n, cb.p), zelStsNoErr);
                int wrong = 0;
                for (int i = 0; i < n; ++i) {
                    const auto ref = vqt::exhaustive(rows.data(), width, m, &data[size_t(i) * width], width, wd.data());
                    wrong += idx[i] != ref.index;
                    expectNear(double(dist[i]) * dist[i],
                               [&] {
                                   double s = 0;
                                   for (int j = 0; j < width; ++j) {
                                       const double d = double(rows[size_t(idx[i]) * width + j]) - data[size_t(i) * width + j];
                                       s += d * d * wd[j];
                                   }
                                   return s;
                               }(),
                               "tree distance", i);
                }
                EXPECT_EQ(wrong, 0) << "width " << width << " hint " << hint << " weighted " << weighted;

                // The same through 16-bit data.
                std::vector<Zel16s> d16(data.size()), w16(width, 1);
                for (size_t i = 0; i < data.size(); ++i) d16[i] = Zel16s(lrintf(data[i] * 8));
                if (weighted)
                    for (auto& v : w16) v = Zel16s(1 + g.next() % 3);
                Cdbk16s c16(d16.data(), width, width, n, k, hint, w16.data());
                ASSERT_GE(c16.status, 0);
                const auto r16 = c16.rows(width);
                std::vector<double> w16d(w16.begin(), w16.end());
                ASSERT_EQ(zelsVQ_16s(d16.data(), width, idx.data(), n, c16.p), zelStsNoErr);
                wrong = 0;
                for (int i = 0; i < n; ++i)
                    wrong += idx[i] != vqt::exhaustive(r16.data(), width, c16.entries(), &d16[size_t(i) * width], width,
                                                       w16d.data()).index;
                EXPECT_EQ(wrong, 0) << "16s width " << width << " hint " << hint << " weighted " << weighted;
            }
        }
    }
}

// Sort returns the nBest nearest in order; Thresh with val = 1 returns the
// nearest (and its equals), with a larger val every row within val times.
TEST(VQSearch, SingleVectorRankings) {
    Lcg g(3);
    for (int width : {3, 4, 9}) {
        const int n = 37;
        std::vector<float> table(size_t(n) * width), q(width);
        for (auto& v : table) v = g.range(-3, 3);
        for (auto& v : q) v = g.range(-3, 3);
        Cdbk32f cb(table.data(), width, width, n, n, 1);
        std::vector<double> d(n);
        for (int i = 0; i < n; ++i) d[i] = vqt::exhaustive(&table[size_t(i) * width], width, 1, q.data(), width).sq;
        std::vector<int> order(n);
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return d[a] < d[b]; });

        std::vector<Zel32s> idx(n, -1);
        std::vector<Zel32f> dist(n);
        ASSERT_EQ(zelsVQDistSingle_Sort_32f(q.data(), idx.data(), dist.data(), cb.p, 10), zelStsNoErr);
        for (int k = 0; k < 10; ++k) {
            EXPECT_EQ(idx[k], order[k]);
            expectNear(double(dist[k]) * dist[k], d[order[k]], "sort", k);
        }
        int num = -1;
        ASSERT_EQ(zelsVQSingle_Thresh_32f(q.data(), idx.data(), cb.p, 1.0f, &num), zelStsNoErr);
        EXPECT_EQ(num, 1);
        EXPECT_EQ(idx[0], order[0]);
        const float val = 1.5f;
        ASSERT_EQ(zelsVQDistSingle_Thresh_32f(q.data(), idx.data(), dist.data(), cb.p, val, &num), zelStsNoErr);
        int want = 0;
        for (int i = 0; i < n; ++i) want += d[i] <= d[order[0]] * val * val;
        EXPECT_EQ(num, want);
        for (int k = 0; k < num; ++k) EXPECT_EQ(idx[k], order[k]);

        // The 16-bit forms: scaled integer distances rounded to nearest.
        std::vector<Zel16s> t16(table.size()), q16(width);
        for (size_t i = 0; i < table.size(); ++i) t16[i] = Zel16s(lrintf(table[i] * 100));
        for (int j = 0; j < width; ++j) q16[j] = Zel16s(lrintf(q[j] * 100));
        Cdbk16s c16(t16.data(), width, width, n, n, 1);
        std::vector<Zel32s> di(n);
        ASSERT_EQ(zelsVQDistSingle_Sort_16s32s_Sfs(q16.data(), idx.data(), di.data(), c16.p, 3, 2), zelStsNoErr);
        const auto ref = vqt::exhaustive(t16.data(), width, n, q16.data(), width);
        EXPECT_EQ(idx[0], ref.index);
        EXPECT_EQ(di[0], Zel32s(lrint(sqrt(ref.sq) / 4)));
        ASSERT_EQ(zelsVQDistSingle_Thresh_16s32s_Sfs(q16.data(), idx.data(), di.data(), c16.p, 1.5f, &num, 0),
                  zelStsNoErr);
        EXPECT_GE(num, 1);
        EXPECT_EQ(idx[0], ref.index);
    }
}

// Split streams: each part finds its own codeword, and the packed form reads
// back through vector forming to the same codewords, across byte boundaries.
TEST(VQSearch, SplitStreamsPackAndFormBack) {
    Lcg g(4);
    const int widths[3] = {3, 4, 2}, sizes[3] = {5, 8, 3};
    std::vector<std::vector<float>> tables(3);
    std::vector<Cdbk32f*> books;
    for (int s = 0; s < 3; ++s) {
        tables[s].resize(size_t(sizes[s]) * widths[s]);
        for (auto& v : tables[s]) v = g.range(-2, 2);
        books.push_back(new Cdbk32f(tables[s].data(), widths[s], widths[s], sizes[s], sizes[s], 1));
    }
    const ZelCdbkState_32f* pp[3] = {books[0]->p, books[1]->p, books[2]->p};
    const int h = 9, srcStep = 10;
    std::vector<float> src(size_t(h) * srcStep);
    for (auto& v : src) v = g.range(-2, 2);
    std::vector<Zel16s> idx16(size_t(h) * 4, -9);
    ASSERT_EQ(zelsSplitVQ_32f16s(src.data(), srcStep, idx16.data(), 4, h, pp, 3), zelStsNoErr);
    for (int r = 0; r < h; ++r) {
        int at = 0;
        for (int s = 0; s < 3; ++s) {
            EXPECT_EQ(idx16[size_t(r) * 4 + s],
                      vqt::exhaustive(tables[s].data(), widths[s], sizes[s], &src[size_t(r) * srcStep + at], widths[s]).index);
            at += widths[s];
        }
        EXPECT_EQ(idx16[size_t(r) * 4 + 3], -9);
    }
    // levels 2 + 3 + 1 = 6 bits a row, rows 7 bits apart.
    std::vector<Zel8u> bits((h * 7 + 7) / 8 + 2, 0xEE);
    ASSERT_EQ(zelsSplitVQ_32f1u(src.data(), srcStep, bits.data(), 7, h, pp, 3), zelStsNoErr);
    EXPECT_EQ(bits[(h * 7 + 7) / 8], 0xEE);
    std::vector<float> formed(size_t(h) * 9, -1.0f);
    ASSERT_EQ(zelsFormVectorVQ_1u32f(bits.data(), 7, formed.data(), 9, h, pp, 3), zelStsNoErr);
    std::vector<float> formed8(size_t(h) * 9, -1.0f);
    std::vector<Zel8u> idx8(size_t(h) * 3);
    ASSERT_EQ(zelsSplitVQ_32f8u(src.data(), srcStep, idx8.data(), 3, h, pp, 3), zelStsNoErr);
    ASSERT_EQ(zelsFormVectorVQ_8u32f(idx8.data(), 3, formed8.data(), 9, h, pp, 3), zelStsNoErr);
    for (int r = 0; r < h; ++r) {
        int at = 0;
        for (int s = 0; s < 3; ++s) {
            const int i = idx16[size_t(r) * 4 + s];
            // Indices that need more bits than the width keeps are cut.
            const int kept = i & ((1 << (s == 0 ? 2 : s == 1 ? 3 : 1)) - 1);
            for (int j = 0; j < widths[s]; ++j) {
                EXPECT_EQ(formed[size_t(r) * 9 + at + j], tables[s][size_t(kept) * widths[s] + j]);
                EXPECT_EQ(formed8[size_t(r) * 9 + at + j], tables[s][size_t(i) * widths[s] + j]);
            }
            at += widths[s];
        }
    }
    for (auto* b : books) delete b;
}

// Argument checks in their order, nothing written on error, and codebooks
// of the other type or already released refused by their tag.
TEST(VQSearch, ChecksAndKinds) {
    const float table[] = {0, 0, 1, 1, 2, 2};
    Cdbk32f cb(table, 2, 2, 3, 3, 1);
    const Zel16s t16[] = {0, 0, 1, 1};
    Cdbk16s c16(t16, 2, 2, 2, 2, 1);
    const float q[4] = {0};
    Zel32s idx[4] = {-5, -5, -5, -5};
    Zel32f d[4];
    int num;
    auto* other = reinterpret_cast<const ZelCdbkState_32f*>(c16.p);
    zt::expectStatuses({
        {zelsVQ_32f(nullptr, 2, idx, 2, cb.p), zelStsNullPtrErr},
        {zelsVQ_32f(q, 2, idx, 2, nullptr), zelStsNullPtrErr},
        {zelsVQ_32f(q, 2, idx, 2, other), zelStsContextMatchErr},
        {zelsVQ_32f(q, 1, idx, 2, cb.p), zelStsSizeErr},
        {zelsVQ_32f(q, 2, idx, 0, cb.p), zelStsSizeErr},
        {zelsVQDist_32f(q, 2, idx, nullptr, 2, cb.p), zelStsNullPtrErr},
        {zelsVQSingle_Sort_32f(q, idx, cb.p, 4), zelStsSizeErr},
        {zelsVQSingle_Sort_32f(q, idx, cb.p, 0), zelStsSizeErr},
        {zelsVQSingle_Thresh_32f(q, idx, cb.p, 0.99f, &num), zelStsBadArgErr},
        {zelsVQDistSingle_Thresh_32f(q, idx, d, cb.p, NAN, &num), zelStsBadArgErr},
        {zelsVQDistSingle_Thresh_32f(q, idx, nullptr, cb.p, 1.0f, &num), zelStsNullPtrErr},
    });
    zt::expectUntouched(idx, 4, -5);
    const ZelCdbkState_32f* pp[2] = {cb.p, nullptr};
    Zel16s out[4];
    zt::expectStatuses({
        {zelsSplitVQ_32f16s(q, 4, out, 2, 1, pp, 2), zelStsNullPtrErr},
        {zelsSplitVQ_32f16s(q, 4, out, 1, 1, pp, 2), zelStsSizeErr},
        {zelsSplitVQ_32f16s(q, 3, out, 2, 1, (pp[1] = cb.p, pp), 2), zelStsSizeErr},
        {zelsSplitVQ_32f1u(q, 4, reinterpret_cast<Zel8u*>(out), 1, 1, pp, 2), zelStsSizeErr},
    });
    // A released state from caller memory is refused.
    int size;
    ASSERT_EQ(zelsCdbkGetSize_32f(2, 2, 3, 3, 1, &size), zelStsNoErr);
    std::vector<uint64_t> mem(size_t(size) / 8 + 1);
    auto* cs = reinterpret_cast<ZelCdbkState_32f*>(mem.data());
    ASSERT_EQ(zelsCdbkInit_L2_32f(cs, table, 2, 2, 3, 3, 1), zelStsNoErr);
    ASSERT_EQ(zelsCdbkFree_32f(cs), zelStsNoErr);
    EXPECT_EQ(zelsVQ_32f(q, 2, idx, 1, cs), zelStsContextMatchErr);
    EXPECT_EQ(zelsCdbkFree_32f(cs), zelStsContextMatchErr);
}

}  // namespace
