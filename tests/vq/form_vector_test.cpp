// SPDX-License-Identifier: Apache-2.0
// Vector forming and the bit tables: formed vectors equal the rows they
// index, bit rows are read and toggled on bit boundaries, and every index is
// tested before anything is written.
#include "vq_reference.hpp"

namespace {

TEST(FormVector, StreamsCopyTheRowsTheyIndex) {
    vqt::Lcg g(5);
    std::vector<float> t0(6 * 7), t1(3 * 2), t2(4 * 5);
    for (auto* t : {&t0, &t1, &t2})
        for (auto& v : *t) v = g.range(-9, 9);
    const Zel32f* tables[3] = {t0.data(), t1.data(), t2.data()};
    const int heights[3] = {6, 3, 4}, widths[3] = {5, 2, 3}, steps[3] = {7, 2, 5};
    const Zel16s ind16[3] = {5, 0, 3};
    const Zel8u ind8[3] = {5, 0, 3};
    std::vector<float> a(11, -1), b(11, -1);
    ASSERT_EQ(zelsFormVector_16s32f(ind16, tables, heights, widths, steps, 3, a.data()), zelStsNoErr);
    ASSERT_EQ(zelsFormVector_8u32f(ind8, tables, heights, widths, steps, 3, b.data()), zelStsNoErr);
    int at = 0;
    for (int s = 0; s < 3; ++s)
        for (int k = 0; k < widths[s]; ++k, ++at) {
            EXPECT_EQ(a[at], tables[s][ind16[s] * steps[s] + k]);
            EXPECT_EQ(b[at], a[at]);
        }
    EXPECT_EQ(a[10], -1.0f);

    // Fixed widths 2 and 4 over lengths around the vector width; an odd
    // tail is left alone.
    for (int len : {1, 2, 3, 4, 8, 9, 12, 16, 20}) {
        std::vector<std::vector<Zel16s>> t(len);
        std::vector<const Zel16s*> pt(len);
        std::vector<int> h(len, 3);
        std::vector<Zel8u> ind(len);
        for (int s = 0; s < len; ++s) {
            t[s].resize(12);
            for (auto& v : t[s]) v = Zel16s(g.next());
            pt[s] = t[s].data();
            ind[s] = Zel8u(g.next() % 3);
        }
        std::vector<Zel16s> o2(len + 1, 77), o4(len + 1, 77);
        ASSERT_EQ(zelsFormVector_2i_8u16s(ind.data(), pt.data(), h.data(), o2.data(), len), zelStsNoErr);
        ASSERT_EQ(zelsFormVector_4i_8u16s(ind.data(), pt.data(), h.data(), o4.data(), len), zelStsNoErr);
        for (int k = 0; k < len / 2 * 2; ++k) EXPECT_EQ(o2[k], t[k / 2][ind[k / 2] * 2 + k % 2]);
        for (int k = 0; k < len / 4 * 4; ++k) EXPECT_EQ(o4[k], t[k / 4][ind[k / 4] * 4 + k % 4]);
        EXPECT_EQ(o2[len / 2 * 2], 77);
        EXPECT_EQ(o4[len / 4 * 4], 77);
    }

    // Bad streams, tested before anything is written.
    const Zel16s bad[3] = {5, 3, 3};
    const int zeroStep[3] = {7, 0, 5};
    std::vector<float> c(11, -1);
    zt::expectStatuses({
        {zelsFormVector_16s32f(nullptr, tables, heights, widths, steps, 3, c.data()), zelStsNullPtrErr},
        {zelsFormVector_16s32f(ind16, tables, heights, widths, steps, 0, c.data()), zelStsSizeErr},
        {zelsFormVector_16s32f(bad, tables, heights, widths, steps, 3, c.data()), zelStsSizeErr},
        {zelsFormVector_16s32f(ind16, tables, heights, widths, zeroStep, 3, c.data()), zelStsSizeErr},
        {zelsFormVector_2i_16s32f(bad, tables, heights, c.data(), 6), zelStsSizeErr},
        {zelsFormVector_4i_16s32f(ind16, tables, heights, c.data(), 0), zelStsSizeErr},
    });
    zt::expectUntouched(c.data(), c.size(), -1.0f);
}

TEST(FormVector, CodebookRowsAndTheirLimits) {
    vqt::Lcg g(6);
    std::vector<Zel16s> t(257 * 2);
    for (auto& v : t) v = Zel16s(g.next());
    vqt::Cdbk16s big(t.data(), 2, 2, 257, 257, 1), small(t.data(), 2, 2, 9, 9, 1);
    const ZelCdbkState_16s* pp[2] = {small.p, big.p};
    const Zel8u src[4] = {8, 200, 0, 3};
    Zel16s out[8];
    std::fill(out, out + 8, Zel16s(-1));
    // 257 entries cannot be reached by a byte index.
    EXPECT_EQ(zelsFormVectorVQ_8u16s(src, 2, out, 4, 2, pp, 2), zelStsSizeErr);
    pp[1] = small.p;
    // An index past the codebook is refused before anything is written.
    EXPECT_EQ(zelsFormVectorVQ_8u16s(src, 2, out, 4, 2, pp, 2), zelStsBadArgErr);
    zt::expectUntouched(out, 8, -1);
    const Zel16s src16[4] = {8, 1, 0, 3};
    ASSERT_EQ(zelsFormVectorVQ_16s16s(src16, 2, out, 4, 2, pp, 2), zelStsNoErr);
    const Zel16s want[8] = {t[16], t[17], t[2], t[3], t[0], t[1], t[6], t[7]};
    for (int k = 0; k < 8; ++k) EXPECT_EQ(out[k], want[k]);
    EXPECT_EQ(zelsFormVectorVQ_16s16s(src16, 2, out, 3, 2, pp, 2), zelStsSizeErr);
    EXPECT_EQ(zelsFormVectorVQ_16s16s(src16, 1, out, 4, 2, pp, 2), zelStsSizeErr);
}

// Reference bit access, most significant bit first.
bool bit(const Zel8u* row, int n) { return (row[n / 8] >> (7 - n % 8)) & 1; }

TEST(Shortlist, TogglesBitsOfRowsAndColumns) {
    std::vector<Zel8u> rows(4 * 3, 0);
    Zel8u* pp[4] = {&rows[0], &rows[3], &rows[6], &rows[9]};
    rows[3] = 0x80 >> 5;  // row 1, bit 5 set beforehand
    // Row 0 lists column 2 twice (cancels); row 1 lists 0 (offset 5 hits the
    // preset bit) and 13.
    const Zel32s ind[4] = {2, 2, 0, 13};
    ASSERT_EQ(zelsFillShortlist_Row_1u(ind, 14, 2, pp, 2, 3, 5), zelStsNoErr);
    for (int n = 0; n < 24; ++n) {
        EXPECT_FALSE(bit(&rows[0], n)) << n;
        EXPECT_EQ(bit(&rows[3], n), n == 18) << n;
    }
    // Columns: column c of the listed rows, from bit offset + c.
    const Zel32s cols[3] = {3, 0, 3};
    const int counts[3] = {1, 2, 0};
    EXPECT_EQ(zelsFillShortlist_ColumnVar_1u(cols, counts, pp, 4, 3, 7, 3), zelStsSizeErr);
    const int counts2[2] = {1, 2};
    ASSERT_EQ(zelsFillShortlist_ColumnVar_1u(cols, counts2, pp, 4, 3, 7, 2), zelStsNoErr);
    EXPECT_TRUE(bit(&rows[9], 7));
    EXPECT_TRUE(bit(&rows[0], 8));
    EXPECT_TRUE(bit(&rows[9], 8));
    // Applying the same lists again restores the table.
    ASSERT_EQ(zelsFillShortlist_ColumnVar_1u(cols, counts2, pp, 4, 3, 7, 2), zelStsNoErr);
    ASSERT_EQ(zelsFillShortlist_Row_1u(ind, 14, 2, pp, 2, 3, 5), zelStsNoErr);
    for (int r = 0; r < 4; ++r)
        for (int b = 0; b < 3; ++b) EXPECT_EQ(rows[r * 3 + b], (r == 1 && b == 0) ? 0x80 >> 5 : 0);

    const auto before = rows;
    const Zel32s badInd[2] = {1, 14};
    zt::expectStatuses({
        {zelsFillShortlist_Row_1u(nullptr, 14, 2, pp, 2, 3, 5), zelStsNullPtrErr},
        {zelsFillShortlist_Row_1u(ind, 14, 0, pp, 2, 3, 5), zelStsSizeErr},
        {zelsFillShortlist_Row_1u(ind, 14, 2, pp, 2, 3, -1), zelStsSizeErr},
        {zelsFillShortlist_Row_1u(ind, 20, 2, pp, 2, 3, 5), zelStsStrideErr},
        {zelsFillShortlist_Row_1u(badInd, 14, 1, pp, 2, 3, 5), zelStsBadArgErr},
        {zelsFillShortlist_Column_1u(badInd, 1, pp, 4, 3, 5, 2), zelStsBadArgErr},
    });
    EXPECT_EQ(rows, before);
}

TEST(SignTable, OrsSourceBitsFromTheOffset) {
    // Offset 5, len 3: bits 5, 6, 7 of the first byte.
    vqt::Lcg g(7);
    for (int offset : {0, 5, 9}) {
        for (int len : {3, 8, 13, 24}) {
            const int srcBytes = (offset + len + 7) / 8 + 1;
            std::vector<std::vector<Zel8u>> src(6, std::vector<Zel8u>(srcBytes));
            std::vector<const Zel8u*> ps;
            for (auto& s : src) {
                for (auto& b : s) b = Zel8u(g.next());
                ps.push_back(s.data());
            }
            const int rows = 3, outBytes = (len + 7) / 8;
            const Zel32s ind[6] = {0, 4, 2, 2, 5, 1};
            std::vector<Zel8u> out(size_t(rows) * outBytes + 1, 0xAB);
            ASSERT_EQ(zelsBuildSignTable_8u1u(ind, 2, ps.data(), 6, srcBytes, offset, out.data(), rows, len), zelStsNoErr);
            for (int r = 0; r < rows; ++r)
                for (int b = 0; b < outBytes * 8; ++b) {
                    const bool want = b < len && (bit(ps[ind[2 * r]], offset + b) || bit(ps[ind[2 * r + 1]], offset + b));
                    EXPECT_EQ(bit(&out[size_t(r) * outBytes], b), want) << offset << " " << len << " " << r << " " << b;
                }
            EXPECT_EQ(out.back(), 0xAB);
            const int counts[3] = {1, 3, 2};
            std::vector<Zel8u> outVar(size_t(rows) * outBytes);
            ASSERT_EQ(zelsBuildSignTable_Var_8u1u(ind, counts, ps.data(), 6, srcBytes, offset, outVar.data(), rows, len),
                      zelStsNoErr);
            for (int b = 0; b < len; ++b)
                EXPECT_EQ(bit(&outVar[size_t(outBytes)], b),
                          bit(ps[4], offset + b) || bit(ps[2], offset + b) || bit(ps[2], offset + b));
        }
    }
    std::vector<Zel8u> s(4, 0xFF), out(2, 0x11);
    const Zel8u* ps[1] = {s.data()};
    const Zel32s bad[1] = {1};
    zt::expectStatuses({
        {zelsBuildSignTable_8u1u(bad, 1, ps, 1, 4, 0, out.data(), 1, 8), zelStsBadArgErr},
        {zelsBuildSignTable_8u1u(bad, 1, ps, 1, 1, 1, out.data(), 1, 8), zelStsStrideErr},
        {zelsBuildSignTable_8u1u(bad, 0, ps, 1, 4, 0, out.data(), 1, 8), zelStsSizeErr},
        {zelsBuildSignTable_8u1u(bad, 1, nullptr, 1, 4, 0, out.data(), 1, 8), zelStsNullPtrErr},
    });
    EXPECT_EQ(out[0], 0x11);
}

}  // namespace
