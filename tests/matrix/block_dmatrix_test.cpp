// SPDX-License-Identifier: Apache-2.0
// Block-diagonal matrices and the scoring members that read them: the
// record's one allocation and its layout, release, the argument checks, the
// BlockDVar scores bit for bit against a plain reference, the stack scratch
// below 112 elements, and the clamps of the 16-bit result.
#include <stdlib.h>

#include <atomic>
#include <tuple>
#include <type_traits>

#include "common.hpp"
#include "matrix/block_dmatrix.hpp"

// Every aligned allocation of this program passes here (zelMalloc takes its
// memory from aligned_alloc), so that a test can count allocations, see the
// last one's extent, or make them fail.
namespace alloc {
std::atomic<int> count{0};
std::atomic<bool> fail{false};
char* last = nullptr;
size_t lastSize = 0;
}  // namespace alloc
extern "C" void* aligned_alloc(size_t alignment, size_t size) noexcept {
    void* p = nullptr;
    if (alloc::fail || posix_memalign(&p, alignment < sizeof(void*) ? sizeof(void*) : alignment, size) != 0)
        return nullptr;
    ++alloc::count, alloc::last = static_cast<char*>(p), alloc::lastSize = size;
    return p;
}

namespace {

template <class T>
using Matrix = std::conditional_t<sizeof(T) == 2, ZelBlockDMatrix_16s,
                                  std::conditional_t<sizeof(T) == 4, ZelBlockDMatrix_32f, ZelBlockDMatrix_64f>>;

// Random rows of the blocks, block by block, and the matrix built from them.
template <class T>
struct Dense {
    std::vector<int> sizes;
    std::vector<std::vector<T>> rows;
    std::vector<const T*> table;
    Matrix<T>* m = nullptr;
    Dense(std::vector<int> s, double lo, double hi) : sizes(std::move(s)) {
        for (int n : sizes)
            for (int i = 0; i < n; ++i) rows.emplace_back(n), zt::fillUniform(rows.back().data(), n, lo, hi);
        for (auto& r : rows) table.push_back(r.data());
        const int nb = int(sizes.size());
        ZelStatus st;
        if constexpr (sizeof(T) == 2) st = zelsBlockDMatrixInitAlloc_16s(&m, table.data(), sizes.data(), nb);
        if constexpr (sizeof(T) == 4) st = zelsBlockDMatrixInitAlloc_32f(&m, table.data(), sizes.data(), nb);
        if constexpr (sizeof(T) == 8) st = zelsBlockDMatrixInitAlloc_64f(&m, table.data(), sizes.data(), nb);
        EXPECT_EQ(st, zelStsNoErr);
    }
    // One body releases the three types.
    ~Dense() { zelsBlockDMatrixFree_32f(reinterpret_cast<ZelBlockDMatrix_32f*>(m)); }
    int total() const { return int(rows.size()); }
};

// ---- The record ---------------------------------------------------------------------------

// One allocation in which the record, the sizes, the row pointers and the
// rows follow each other without overlap, each row on a 16-byte boundary
// and the last one inside the block: counted at 4 bytes, the 60 pointers
// would run 240 bytes into the rows.
template <class T>
void checkLayout() {
    const int before = alloc::count;
    Dense<T> d({1, 2, 3, 5, 8, 13, 4, 24}, -100, 100);
    const auto* m = d.m;
    ASSERT_EQ(alloc::count, before + 1);
    EXPECT_TRUE(m->pAlloc == alloc::last && m->nBlocks == 8 && m->totalSize == 60);
    EXPECT_TRUE(std::equal(d.sizes.begin(), d.sizes.end(), m->pBlockSizes));
    EXPECT_GE(reinterpret_cast<const char*>(m->pBlockSizes), alloc::last + sizeof(*m));
    EXPECT_GE(reinterpret_cast<const char*>(m->ppRows), reinterpret_cast<const char*>(m->pBlockSizes + 8));
    const char* next = reinterpret_cast<const char*>(m->ppRows + 60);
    for (int r = 0, b = 0, i = 0; r < 60; ++r, ++i) {
        if (i == d.sizes[b]) ++b, i = 0;
        const char* row = reinterpret_cast<const char*>(m->ppRows[r]);
        EXPECT_TRUE(reinterpret_cast<uintptr_t>(row) % 16 == 0 && row >= next) << "row " << r;
        EXPECT_TRUE(std::equal(d.rows[r].begin(), d.rows[r].end(), m->ppRows[r])) << "row " << r;
        next = row + d.sizes[b] * sizeof(T);
    }
    EXPECT_LE(next, alloc::last + alloc::lastSize);
}
TEST(BlockDMatrix, OneAllocationHoldsRecordSizesPointersAndAlignedRows) {
    checkLayout<Zel16s>();
    checkLayout<Zel32f>();
    checkLayout<Zel64f>();
}

// Pointers first, then nBlocks, a size below 1 and a total beyond 16 bits,
// then a null row, then the allocation; nothing is written and nothing is
// taken. Free refuses memory that holds no matrix.
TEST(BlockDMatrix, ChecksRunInOrder) {
    Dense<Zel32f> d({3, 2}, -1, 1);
    ZelBlockDMatrix_32f *const sentinel = d.m, *m = sentinel;
    const Zel32f* withNull[] = {d.table[0], d.table[1], d.table[2], nullptr, d.table[4]};
    const int* ok = d.sizes.data();
    const int bad0[] = {3, 0}, badNeg[] = {-2}, tooBig[] = {32767, 1};
    const int before = alloc::count;
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(nullptr, d.table.data(), ok, 0), zelStsNullPtrErr);
    for (auto [sizes, n] : {std::pair{ok, 0}, {ok, -1}, {bad0, 2}, {badNeg, 1}, {tooBig, 2}})
        EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, withNull, sizes, n), zelStsSizeErr) << n;
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, withNull, ok, 2), zelStsNullPtrErr);
    alloc::fail = true;
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, d.table.data(), ok, 2), zelStsMemAllocErr);
    alloc::fail = false;
    EXPECT_EQ(m, sentinel);
    EXPECT_EQ(alloc::count, before);
    alignas(16) char notAMatrix[64] = {};
    EXPECT_EQ(zelsBlockDMatrixFree_64f(reinterpret_cast<ZelBlockDMatrix_64f*>(notAMatrix)), zelStsContextMatchErr);
}

// ---- Scoring ------------------------------------------------------------------------------

// A row's dot product with d: lane j % N over the first n - n % 4 columns,
// the lanes summed, then a pair r0*d0 + r1*d1, then one column.
template <class Acc, int N, class R, class D>
Acc dot(const R* r, const D* d, int n) {
    Acc lane[4] = {};
    int k = n - n % 4;
    for (int j = 0; j < k; ++j) lane[j % N] += Acc(r[j]) * Acc(d[j]);
    Acc t = N == 4 ? (lane[0] + lane[2]) + (lane[1] + lane[3]) : lane[0] + lane[1];
    if (n - k >= 2) t += Acc(r[k]) * Acc(d[k]) + Acc(r[k + 1]) * Acc(d[k + 1]), k += 2;
    if (n - k == 1) t += Acc(r[k]) * Acc(d[k]);
    return t;
}
// S = sum over rows of d[row] * (row . d over the row's block), with d =
// x - m in D (saturated for 16 bits).
template <class Acc, int N, class D, class T, class X>
Acc form(const Dense<T>& m, const X* x, const X* mean) {
    std::vector<D> d(m.total());
    for (int j = 0; j < m.total(); ++j)
        d[j] = sizeof(D) == 2 ? D(std::clamp(int(x[j]) - int(mean[j]), -32768, 32767)) : D(D(x[j]) - D(mean[j]));
    Acc s = 0;
    for (int b = 0, row = 0, base = 0; b < int(m.sizes.size()); base += m.sizes[b++])
        for (int i = 0; i < m.sizes[b]; ++i, ++row) s += Acc(d[row]) * dot<Acc, N>(m.table[row], &d[base], m.sizes[b]);
    return s;
}
int32_t clampTrunc(float r) {
    return r < -2147483648.0f ? INT32_MIN : r > 2147483648.0f ? INT32_MAX : r < 2147483648.0f ? int32_t(r) : INT32_MIN;
}

// Block sizes across the column groups of 8, 4, 2 and 1 and the rows taken
// four at a time, and lengths on both sides of the stack scratch.
TEST(BlockDVar, EveryMemberMatchesThePlainFormBitForBit) {
    const std::vector<std::vector<int>> shapes = {{1},  {2},          {3},           {4},   {5},   {7},      {8},  {9},
                                                  {12}, {13, 13, 13}, {16, 1, 6, 2, 11}, {111}, {112}, {50, 62}, {130}};
    for (const std::vector<int>& shape : shapes)
        for (size_t off : {0, 1}) {
            Dense<Zel32f> mf(shape, -1, 1);
            Dense<Zel64f> md(shape, -1, 1);
            Dense<Zel16s> ms(shape, -32768, 32767);
            const int n = mf.total(), sf = zt::uniformi(-3, 20);
            zt::Buf<Zel32f> xf(2 * n, off);
            zt::Buf<Zel64f> xd(2 * n, off);
            zt::Buf<Zel16s> xs(2 * n, off);  // source, then mean
            zt::fillUniform(xf.data(), 2 * n, -2, 2), zt::fillUniform(xd.data(), 2 * n, -2, 2);
            zt::fillUniform(xs.data(), 2 * n, -32768, 32767);
            float rf = 0, rs = 0;
            double rd = 0, rfd = 0;
            int32_t ri = 0;
            EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(xf.data(), xf.data() + n, mf.m, n, &rf, 0.75f), zelStsNoErr);
            EXPECT_EQ(zelsLogGaussSingle_BlockDVar_64f(xd.data(), xd.data() + n, md.m, n, &rd, -1.5), zelStsNoErr);
            EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f64f(xf.data(), xf.data() + n, mf.m, n, &rfd, 2.5), zelStsNoErr);
            EXPECT_EQ(zelsLogGaussSingle_BlockDVar_16s32s_Sfs(xs.data(), xs.data() + n, ms.m, n, &ri, 12345, sf),
                      zelStsNoErr);
            EXPECT_EQ(zelsLogGaussSingle_BlockDVarScaled_16s32f(xs.data(), xs.data() + n, ms.m, n, &rs, -7.0f, sf),
                      zelStsNoErr);
            const float sF = form<float, 4, float>(mf, xf.data(), xf.data() + n);
            const float sS = form<float, 4, Zel16s>(ms, xs.data(), xs.data() + n);
            const double sD = form<double, 2, double>(md, xd.data(), xd.data() + n);
            const double sFD = form<double, 2, double>(mf, xf.data(), xf.data() + n);
            const float c = ldexpf(1.0f, -sf);
            EXPECT_SAME_BITS(rf, float(0.75 - double(sF) * 0.5)) << n << " offset " << off;
            EXPECT_SAME_BITS(rd, -1.5 - sD * 0.5) << n;
            EXPECT_SAME_BITS(rfd, 2.5 - sFD * 0.5) << n;
            EXPECT_EQ(ri, clampTrunc(12345.0f - (sS * c) * 0.5f)) << n << " sf " << sf;
            EXPECT_SAME_BITS(rs, -7.0f - (sS * 0.5f) * c) << n << " sf " << sf;
        }
}

// Below 112 elements d lies on the stack: with every allocation failing,
// length 111 scores and length 112 reports zelStsMemAllocErr, untouched
// (d in single, double and 16-bit precision).
TEST(BlockDVar, ScratchIsOnTheStackBelow112) {
    for (int n : {111, 112}) {
        Dense<Zel32f> mf({n}, -1, 1);
        Dense<Zel16s> ms({n}, -100, 100);
        std::vector<Zel32f> xf(n, 1);
        std::vector<Zel16s> xs(n, 1);
        float rf = 7;
        double rd = 7;
        int32_t ri = 7;
        alloc::fail = true;
        const ZelStatus st[] = {zelsLogGaussSingle_BlockDVar_32f(xf.data(), xf.data(), mf.m, n, &rf, 0),
                                zelsLogGaussSingle_BlockDVar_32f64f(xf.data(), xf.data(), mf.m, n, &rd, 0),
                                zelsLogGaussSingle_BlockDVar_16s32s_Sfs(xs.data(), xs.data(), ms.m, n, &ri, 0, 0)};
        alloc::fail = false;
        const bool onStack = n == 111;
        for (ZelStatus s : st) EXPECT_EQ(s, onStack ? zelStsNoErr : zelStsMemAllocErr) << n;
        for (double v : {double(rf), rd, double(ri)}) EXPECT_EQ(v, onStack ? 0 : 7) << n;
    }
}

// Pointers, then len below 1, then the matrix's kind, then len against its
// dimension. Nothing is written.
TEST(BlockDVar, ChecksRunInOrder) {
    Dense<Zel32f> mf({2, 3}, -1, 1);
    Dense<Zel16s> ms({5}, -1, 1);
    auto* wrong = reinterpret_cast<ZelBlockDMatrix_32f*>(ms.m);
    const Zel32f x[5] = {};
    float r = 7;
    double rd = 7;
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(nullptr, x, mf.m, 0, &r, 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(x, x, wrong, 0, &r, 0), zelStsSizeErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(x, x, wrong, 5, &r, 0), zelStsContextMatchErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f64f(x, x, wrong, 5, &rd, 0), zelStsContextMatchErr);
    for (int len : {-1, 4, 6})
        EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(x, x, mf.m, len, &r, 0), zelStsSizeErr) << len;
    EXPECT_EQ(r, 7);
    EXPECT_EQ(rd, 7);
}

// The 16-bit result clamps below -2^31 and above 2^31 and truncates between
// (S * 2^-1 * 0.5 = 2.75), so 2^31 itself (val 2147483647 read as a single,
// S = 0) has no 32-bit form and gives -2147483648.
TEST(BlockDVar, SixteenBitResultClampsAboveAndTruncates) {
    for (auto [val, a, d, want] : {std::tuple{INT32_MAX, 1, 0, INT32_MIN}, {INT32_MAX, -1, 32, INT32_MAX},
                                   {0, 11, 1, -2}, {0, -11, 1, 2}}) {
        const Zel16s row = Zel16s(a), x = Zel16s(d), zero = 0;
        const Zel16s* rows[] = {&row};
        const int size = 1;
        ZelBlockDMatrix_16s* m = nullptr;
        int32_t r = 7;
        ASSERT_EQ(zelsBlockDMatrixInitAlloc_16s(&m, rows, &size, 1), zelStsNoErr);
        EXPECT_EQ(zelsLogGaussSingle_BlockDVar_16s32s_Sfs(&x, &zero, m, 1, &r, val, 1), zelStsNoErr);
        EXPECT_EQ(r, want) << val << " " << a << " " << d;
        zelsBlockDMatrixFree_16s(m);
    }
}

}  // namespace
