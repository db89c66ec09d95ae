// Block-diagonal matrices and the scoring members that read them: the
// record's one allocation and its layout, release, the argument checks, the
// BlockDVar scores bit for bit against a plain reference, the stack scratch
// below 112 elements, and the clamps of the 16-bit result.
#include <stdlib.h>

#include <atomic>
#include <type_traits>

#include "common.hpp"
#include "matrix/block_dmatrix.hpp"

// Every aligned allocation of this program passes here (zelMalloc takes its
// memory from aligned_alloc), so that a test can count allocations, see the
// last block's extent, or make them fail.
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
ZelStatus init(ZelBlockDMatrix_16s** p, const Zel16s** m, const int* s, int n) { return zelsBlockDMatrixInitAlloc_16s(p, m, s, n); }
ZelStatus init(ZelBlockDMatrix_32f** p, const Zel32f** m, const int* s, int n) { return zelsBlockDMatrixInitAlloc_32f(p, m, s, n); }
ZelStatus init(ZelBlockDMatrix_64f** p, const Zel64f** m, const int* s, int n) { return zelsBlockDMatrixInitAlloc_64f(p, m, s, n); }

// The rows of the blocks, block by block, with random elements.
template <class T>
struct Dense {
    std::vector<int> sizes;
    std::vector<std::vector<T>> rows;
    std::vector<const T*> table;
    int total = 0;
    Dense(std::vector<int> s, double lo, double hi) : sizes(std::move(s)) {
        for (int n : sizes)
            for (int i = 0; i < n; ++i, ++total) rows.emplace_back(n), zt::fillUniform(rows.back().data(), n, lo, hi);
        for (auto& r : rows) table.push_back(r.data());
    }
    Matrix<T>* build() {
        Matrix<T>* m = nullptr;
        EXPECT_EQ(init(&m, table.data(), sizes.data(), int(sizes.size())), zelStsNoErr);
        return m;
    }
};

// ---- The record ---------------------------------------------------------------------------

// One allocation in which the record, the sizes, the row pointers and the
// rows follow each other without overlap, each row on a 16-byte boundary
// and the last one ending inside the block: 60 rows would overrun it by
// 240 bytes if pointers were counted at 4 bytes.
template <class T>
void checkLayout() {
    Dense<T> d({1, 2, 3, 5, 8, 13, 4, 24}, -100, 100);
    const int before = alloc::count;
    Matrix<T>* m = d.build();
    ASSERT_EQ(alloc::count, before + 1);
    const char* base = alloc::last;
    const char* end = base + alloc::lastSize;
    EXPECT_EQ(m->pAlloc, base);
    EXPECT_EQ(m->nBlocks, 8);
    EXPECT_EQ(m->totalSize, 60);
    const char* sizesAt = reinterpret_cast<const char*>(m->pBlockSizes);
    const char* rowsAt = reinterpret_cast<const char*>(m->ppRows);
    EXPECT_GE(sizesAt, base + sizeof(*m));
    EXPECT_GE(rowsAt, sizesAt + 8 * sizeof(Zel32s));
    const char* next = rowsAt + 60 * sizeof(T*);
    for (int r = 0, b = 0, i = 0; r < 60; ++r, ++i) {
        if (i == d.sizes[b]) ++b, i = 0;
        EXPECT_EQ(m->pBlockSizes[b], d.sizes[b]);
        const char* row = reinterpret_cast<const char*>(m->ppRows[r]);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(row) % 16, 0u) << "row " << r;
        EXPECT_GE(row, next) << "row " << r;
        next = row + d.sizes[b] * sizeof(T);
        EXPECT_TRUE(std::equal(d.rows[r].begin(), d.rows[r].end(), m->ppRows[r])) << "row " << r;
    }
    EXPECT_LE(next, end);
    EXPECT_EQ(zelsBlockDMatrixFree_32f(reinterpret_cast<ZelBlockDMatrix_32f*>(m)), zelStsNoErr);
}

TEST(BlockDMatrix, OneAllocationHoldsRecordSizesPointersAndAlignedRows) {
    checkLayout<Zel16s>();
    checkLayout<Zel32f>();
    checkLayout<Zel64f>();
}

// Pointers first (a null row only once the sizes are good), then nBlocks, a
// size below 1, a total beyond 16 bits; then the allocation. Nothing is
// written and nothing is taken.
TEST(BlockDMatrix, InitAllocChecksInOrder) {
    Dense<Zel32f> d({3, 2}, -1, 1);
    ZelBlockDMatrix_32f* const sentinel = reinterpret_cast<ZelBlockDMatrix_32f*>(&d);
    ZelBlockDMatrix_32f* m = sentinel;
    const Zel32f* withNull[] = {d.table[0], d.table[1], d.table[2], nullptr, d.table[4]};
    const int bad0[] = {3, 0}, badNeg[] = {-2}, tooBig[] = {32767, 1};
    const int before = alloc::count;
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(nullptr, d.table.data(), d.sizes.data(), 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, nullptr, d.sizes.data(), 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, d.table.data(), nullptr, 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, withNull, d.sizes.data(), 2), zelStsNullPtrErr);
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, withNull, d.sizes.data(), 0), zelStsSizeErr);
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, withNull, d.sizes.data(), -1), zelStsSizeErr);
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, withNull, bad0, 2), zelStsSizeErr);
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, withNull, badNeg, 1), zelStsSizeErr);
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, d.table.data(), tooBig, 2), zelStsSizeErr);
    alloc::fail = true;
    EXPECT_EQ(zelsBlockDMatrixInitAlloc_32f(&m, d.table.data(), d.sizes.data(), 2), zelStsMemAllocErr);
    alloc::fail = false;
    EXPECT_EQ(m, sentinel);
    EXPECT_EQ(alloc::count, before);
}

// One body releases all three types; memory that holds no matrix is refused.
TEST(BlockDMatrix, FreeTakesAnyTypeAndRefusesOtherMemory) {
    Dense<Zel64f> d({4}, -1, 1);
    alignas(16) char notAMatrix[64] = {};
    EXPECT_EQ(zelsBlockDMatrixFree_16s(nullptr), zelStsNullPtrErr);
    EXPECT_EQ(zelsBlockDMatrixFree_64f(reinterpret_cast<ZelBlockDMatrix_64f*>(notAMatrix)), zelStsContextMatchErr);
    EXPECT_EQ(zelsBlockDMatrixFree_16s(reinterpret_cast<ZelBlockDMatrix_16s*>(d.build())), zelStsNoErr);
}

// ---- Scoring ------------------------------------------------------------------------------

// The dot product of a row with d: lane j % N over the first n - n % 4
// columns, the lanes summed, then a pair r0*d0 + r1*d1, then one column.
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
// S = sum over rows of d[row] * (row . d over the row's block).
template <class Acc, int N, class T, class D>
Acc form(const Dense<T>& m, const std::vector<D>& d) {
    Acc s = 0;
    for (int b = 0, row = 0, base = 0; b < int(m.sizes.size()); base += m.sizes[b++])
        for (int i = 0; i < m.sizes[b]; ++i, ++row) s += Acc(d[row]) * dot<Acc, N>(m.table[row], &d[base], m.sizes[b]);
    return s;
}
template <class D, class T>
std::vector<D> diff(const T* x, const T* m, int n) {
    std::vector<D> d(n);
    for (int j = 0; j < n; ++j) d[j] = sizeof(D) == 2 ? D(std::clamp(int(x[j]) - int(m[j]), -32768, 32767)) : D(x[j]) - D(m[j]);
    return d;
}
int32_t clampTrunc(float r) { return r < -2147483648.0f ? INT32_MIN : r > 2147483648.0f ? INT32_MAX : r < 2147483648.0f ? int32_t(r) : INT32_MIN; }

TEST(BlockDVar, EveryMemberMatchesThePlainFormBitForBit) {
    const std::vector<std::vector<int>> shapes = {{1}, {2}, {3}, {4}, {5}, {7}, {8}, {9}, {12}, {13, 13, 13},
                                                  {16, 1, 6, 2, 11}, {111}, {112}, {50, 62}, {130}};
    for (const auto& shape : shapes)
        for (size_t off : {0, 1}) {
            Dense<Zel32f> mf(shape, -1, 1);
            Dense<Zel64f> md(shape, -1, 1);
            Dense<Zel16s> ms(shape, -32768, 32767);
            const int n = mf.total, sf = zt::uniformi(-3, 20);
            zt::Buf<Zel32f> xf(n, off), mnf(n, off);
            zt::Buf<Zel64f> xd(n, off), mnd(n, off);
            zt::Buf<Zel16s> xs(n, off), mns(n, off);
            zt::fillUniform(xf.data(), n, -2, 2), zt::fillUniform(mnf.data(), n, -2, 2);
            zt::fillUniform(xd.data(), n, -2, 2), zt::fillUniform(mnd.data(), n, -2, 2);
            zt::fillUniform(xs.data(), n, -32768, 32767), zt::fillUniform(mns.data(), n, -32768, 32767);
            auto* pf = mf.build();
            auto* pd = md.build();
            auto* ps = ms.build();
            float rf = 0, rs = 0;
            double rd = 0, rfd = 0;
            int32_t ri = 0;
            EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(xf.data(), mnf.data(), pf, n, &rf, 0.75f), zelStsNoErr);
            EXPECT_EQ(zelsLogGaussSingle_BlockDVar_64f(xd.data(), mnd.data(), pd, n, &rd, -1.5), zelStsNoErr);
            EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f64f(xf.data(), mnf.data(), pf, n, &rfd, 2.5), zelStsNoErr);
            EXPECT_EQ(zelsLogGaussSingle_BlockDVar_16s32s_Sfs(xs.data(), mns.data(), ps, n, &ri, 12345, sf), zelStsNoErr);
            EXPECT_EQ(zelsLogGaussSingle_BlockDVarScaled_16s32f(xs.data(), mns.data(), ps, n, &rs, -7.0f, sf), zelStsNoErr);
            const float sF = form<float, 4>(mf, diff<float>(xf.data(), mnf.data(), n));
            const float sS = form<float, 4>(ms, diff<Zel16s>(xs.data(), mns.data(), n));
            const double sD = form<double, 2>(md, diff<double>(xd.data(), mnd.data(), n));
            const double sFD = form<double, 2>(mf, diff<double>(xf.data(), mnf.data(), n));
            const float c = ldexpf(1.0f, -sf);
            EXPECT_SAME_BITS(rf, float(0.75 - double(sF) * 0.5)) << n << " offset " << off;
            EXPECT_SAME_BITS(rd, -1.5 - sD * 0.5) << n;
            EXPECT_SAME_BITS(rfd, 2.5 - sFD * 0.5) << n;
            EXPECT_EQ(ri, clampTrunc(12345.0f - (sS * c) * 0.5f)) << n << " sf " << sf;
            EXPECT_SAME_BITS(rs, -7.0f - (sS * 0.5f) * c) << n << " sf " << sf;
            zelsBlockDMatrixFree_32f(pf), zelsBlockDMatrixFree_64f(pd), zelsBlockDMatrixFree_16s(ps);
        }
}

// Below 112 elements d lies on the stack: with every allocation failing,
// length 111 scores and length 112 reports zelStsMemAllocErr, untouched.
TEST(BlockDVar, ScratchIsOnTheStackBelow112) {
    for (int n : {111, 112}) {
        Dense<Zel32f> mf({n}, -1, 1);
        Dense<Zel64f> md({n}, -1, 1);
        Dense<Zel16s> ms({n}, -100, 100);
        auto* pf = mf.build();
        auto* pd = md.build();
        auto* ps = ms.build();
        std::vector<Zel32f> xf(n, 1);
        std::vector<Zel64f> xd(n, 1);
        std::vector<Zel16s> xs(n, 1);
        float rf = 7, rs = 7;
        double rd = 7, rfd = 7;
        int32_t ri = 7;
        alloc::fail = true;
        const ZelStatus st[] = {
            zelsLogGaussSingle_BlockDVar_32f(xf.data(), xf.data(), pf, n, &rf, 0),
            zelsLogGaussSingle_BlockDVar_64f(xd.data(), xd.data(), pd, n, &rd, 0),
            zelsLogGaussSingle_BlockDVar_32f64f(xf.data(), xf.data(), pf, n, &rfd, 0),
            zelsLogGaussSingle_BlockDVar_16s32s_Sfs(xs.data(), xs.data(), ps, n, &ri, 0, 0),
            zelsLogGaussSingle_BlockDVarScaled_16s32f(xs.data(), xs.data(), ps, n, &rs, 0, 0)};
        alloc::fail = false;
        for (ZelStatus s : st) EXPECT_EQ(s, n == 111 ? zelStsNoErr : zelStsMemAllocErr) << n;
        const bool written = n == 111;
        EXPECT_EQ(rf != 7 && rs != 7 && rd != 7 && rfd != 7 && ri != 7, written) << n;
        EXPECT_EQ(rf == 7 && rs == 7 && rd == 7 && rfd == 7 && ri == 7, !written) << n;
        zelsBlockDMatrixFree_32f(pf), zelsBlockDMatrixFree_64f(pd), zelsBlockDMatrixFree_16s(ps);
    }
}

// Pointers, then len below 1, then the matrix's kind, then len against its
// dimension. Nothing is written.
TEST(BlockDVar, ChecksRunInOrder) {
    Dense<Zel32f> mf({2, 3}, -1, 1);
    Dense<Zel16s> ms({5}, -1, 1);
    auto* pf = mf.build();
    auto* ps = ms.build();
    const Zel32f x[5] = {};
    float r = 7;
    double rd = 7;
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(nullptr, x, pf, 0, &r, 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(x, nullptr, pf, 5, &r, 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(x, x, nullptr, 5, &r, 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f64f(x, x, pf, 5, nullptr, 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(x, x, reinterpret_cast<ZelBlockDMatrix_32f*>(ps), 0, &r, 0), zelStsSizeErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(x, x, reinterpret_cast<ZelBlockDMatrix_32f*>(ps), 5, &r, 0), zelStsContextMatchErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f64f(x, x, reinterpret_cast<ZelBlockDMatrix_32f*>(ps), 5, &rd, 0), zelStsContextMatchErr);
    EXPECT_EQ(zelsLogGaussSingle_BlockDVarScaled_16s32f(nullptr, nullptr, reinterpret_cast<ZelBlockDMatrix_16s*>(pf), 5, &r, 0, 0), zelStsNullPtrErr);
    for (int len : {-1, 4, 6}) EXPECT_EQ(zelsLogGaussSingle_BlockDVar_32f(x, x, pf, len, &r, 0), zelStsSizeErr) << len;
    EXPECT_EQ(r, 7);
    EXPECT_EQ(rd, 7);
    zelsBlockDMatrixFree_32f(pf), zelsBlockDMatrixFree_16s(ps);
}

// The 16-bit result: below -2^31 the most negative integer, above 2^31 the
// most positive, and otherwise truncated, so 2^31 itself (val 2147483647
// read as a single, S = 0) has no 32-bit form and gives -2147483648.
TEST(BlockDVar, SixteenBitResultClampsAboveAndTruncates) {
    struct Case { int32_t val; Zel16s a, d; int sf; int32_t want; } cases[] = {
        {INT32_MAX, 1, 0, 0, INT32_MIN},  {INT32_MAX, -1, 32, 0, INT32_MAX}, {INT32_MIN, 1, 32, 0, INT32_MIN},
        {0, 11, 1, 1, -2},                 {0, -11, 1, 1, 2},                 {100, 1, 2, -1, 96}};
    for (const Case& k : cases) {
        const Zel16s* row[] = {&k.a};
        const int size = 1;
        ZelBlockDMatrix_16s* m = nullptr;
        ASSERT_EQ(zelsBlockDMatrixInitAlloc_16s(&m, row, &size, 1), zelStsNoErr);
        const Zel16s x = k.d, zero = 0;
        int32_t r = 7;
        EXPECT_EQ(zelsLogGaussSingle_BlockDVar_16s32s_Sfs(&x, &zero, m, 1, &r, k.val, k.sf), zelStsNoErr);
        EXPECT_EQ(r, k.want) << k.val << " " << k.a << " " << k.d << " " << k.sf;
        zelsBlockDMatrixFree_16s(m);
    }
}

}  // namespace
