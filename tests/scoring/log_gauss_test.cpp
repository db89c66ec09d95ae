// SPDX-License-Identifier: Apache-2.0
// Gaussian frame scoring. Every member against a plain row-by-row reference,
// bit for bit, over the widths and heights where the kernels change path,
// aligned and not, in both layouts, on each instruction set that the build
// and the processor offer; then the saturation, scale and rounding rules on
// hand-made rows, and the order of the argument checks.
#include <float.h>
#include <stdint.h>

#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "common.hpp"
#include "frame/dispatch.hpp"
#include "scoring/reference.hpp"

namespace {

using zt::cvtt;
using zt::rule;
using zt::satDiff;
using zt::wrap;

// ---- Plain references, one row at a time ------------------------------------

// Below width 4 the terms come off 2 * val in column order.
float ref32f(const float* x, const float* m, const float* v, int w, float val) {
    if (w >= 4) return (zt::negSum<float, 4, 4>(x, m, v, w) + 2 * val) * 0.5f;
    float r = 2 * val;
    for (int j = 0; j < w; ++j) r -= v ? (x[j] - m[j]) * (x[j] - m[j]) * v[j] : (x[j] - m[j]) * (x[j] - m[j]);
    return r * 0.5f;
}

float scaleC(int s) { return ldexpf(1.0f, -std::clamp(wrap(int64_t{s} + 1), -128, 150)); }

// The Low integer sum for s >= 0, before val. A square splits into h (high
// 16 bits) and l (low 16 bits halved). Groups of 8, 4, 2, 1 columns; pair
// p of a group on lane p. Row pairs shift the lane sums once; the last row
// of an odd height shifts each group's negated H and L sums once.
int32_t lowSum(const int16_t* x, const int16_t* m, const int16_t* v, int w, int s, bool perGroup) {
    auto shH = [s](int32_t a) { return s <= 15 ? wrap(int64_t{a} << (15 - s)) : a >> std::min(s - 15, 31); };
    auto shL = [s](int32_t a) { return a >> std::min(s, 31); };
    uint32_t accH[4] = {}, accL[4] = {}, groups = 0;
    int j = 0;
    for (int size : {8, 4, 2, 1})
        for (; w - j >= size; j += size) {
            int64_t gH = 0, gL = 0;
            for (int p = 0; 2 * p < size; ++p) {
                int64_t H = 0, L = 0;
                for (int c = j + 2 * p; c < j + std::min(2 * p + 2, size); ++c) {
                    int32_t d = satDiff(x[c], m[c]), sq = d * d;
                    H += int64_t{sq >> 16} * v[c];
                    L += int64_t{(sq & 0xffff) >> 1} * v[c];
                }
                accH[p] -= uint32_t(wrap(H)), accL[p] -= uint32_t(wrap(L));
                gH += wrap(H), gL += wrap(L);
            }
            groups += uint32_t(shH(wrap(-gH))) + uint32_t(shL(wrap(-gL)));
        }
    uint32_t total = 0;
    for (int p = 0; p < 4; ++p) total += uint32_t(shH(int32_t(accH[p]))) + uint32_t(shL(int32_t(accL[p])));
    return static_cast<int32_t>(perGroup ? groups : total);
}

// IdVarLow: k = s + 1; each pair sum of saturated squares, and each exact
// tail square in 32 bits, shifted right by k (left by -k) and subtracted.
int32_t idLowSum(const int16_t* x, const int16_t* m, int w, int s) {
    int32_t k = wrap(int64_t{s} + 1);
    auto sh = [k](int32_t a) { return k >= 0 ? a >> std::min(k, 31) : -int64_t{k} >= 32 ? 0 : wrap(int64_t{a} << -k); };
    uint32_t acc = 0;
    int n = w - w % 8;
    for (int j = 0; j < n; j += 2) {
        int64_t a = satDiff(x[j], m[j]), b = satDiff(x[j + 1], m[j + 1]);
        acc -= uint32_t(sh(wrap(a * a + b * b)));
    }
    for (int j = n; j < w; ++j) acc -= uint32_t(sh(wrap(int64_t(x[j] - m[j]) * (x[j] - m[j]))));
    return static_cast<int32_t>(acc);
}

// ---- The members as one table ------------------------------------------------

enum Kind { F32, F64, S16, S32 };

struct Args {  // one call; x and lastOfOdd pick a row for the reference
    const void* block = nullptr;
    int step = 0;
    const void* table = nullptr;
    const void* mean = nullptr;
    const void* var = nullptr;
    int width = 0;
    void* dst = nullptr;
    int height = 0;
    float fval = 0;
    double dval = 0;
    int32_t ival = 0;
    int sf = 0;
    const void* x = nullptr;
    bool lastOfOdd = false;
};
template <class T> const T* P(const void* p) { return static_cast<const T*>(p); }
template <class T> const T** table(const Args& a) { return const_cast<const T**>(static_cast<const T* const*>(a.table)); }
uint64_t out(float f) { return zt::bits(f); }
uint64_t out(double d) { return zt::bits(d); }
uint64_t out(int32_t i) { return static_cast<uint32_t>(i); }

#define ROW(T) P<T>(a.x), P<T>(a.mean)
uint64_t e32f(const Args& a) { return out(ref32f(ROW(float), P<float>(a.var), a.width, a.fval)); }
uint64_t eId32f(const Args& a) { return out(ref32f(ROW(float), nullptr, a.width, a.fval)); }
uint64_t e64f(const Args& a) { return out(a.dval + zt::negSum<double, 2, 2>(ROW(double), P<double>(a.var), a.width) * 0.5); }
uint64_t e64fL(const Args& a) { return out((zt::negSum<double, 2, 2>(ROW(double), P<double>(a.var), a.width) + 2 * a.dval) * 0.5); }
uint64_t eId64f(const Args& a) { return out(a.dval + zt::negSum<double, 2, 2, double>(ROW(double), nullptr, a.width) * 0.5); }
uint64_t eId64fL(const Args& a) { return out((zt::negSum<double, 2, 2, double>(ROW(double), nullptr, a.width) + 2 * a.dval) * 0.5); }
float negS(const Args& a) { return zt::wideSum(ROW(int16_t), P<int16_t>(a.var), a.width); }
float idS(const Args& a) { return zt::wideSum<int16_t>(ROW(int16_t), nullptr, a.width); }
int32_t low(const Args& a) { return lowSum(ROW(int16_t), P<int16_t>(a.var), a.width, a.sf, a.lastOfOdd); }
uint64_t e16s32s(const Args& a) { return out(cvtt(rule(a.sf, negS(a)) + float(a.ival))); }
uint64_t eLow16s32s(const Args& a) { return a.sf < 0 ? e16s32s(a) : out(wrap(int64_t{low(a)} + a.ival)); }
uint64_t eId16s32s(const Args& a) { return out(cvtt(float(a.ival) - rule(a.sf, idS(a)))); }
uint64_t eIdLow16s32s(const Args& a) { return out(wrap(int64_t{idLowSum(ROW(int16_t), a.width, a.sf)} + a.ival)); }
uint64_t eScaled(const Args& a) { return out(negS(a) * scaleC(a.sf) + a.fval); }
uint64_t eLowScaled(const Args& a) { return out(a.sf < 0 ? a.fval + rule(a.sf, negS(a)) : float(low(a)) + a.fval); }
uint64_t eIdScaled(const Args& a) { return out(a.fval - idS(a) * scaleC(a.sf)); }
uint64_t eIdLowScaled(const Args& a) { return out(a.fval + rule(a.sf, -idS(a))); }

struct Member {
    std::string name;
    Kind src, dst;
    bool d2, idVar;
    ZelStatus (*run)(const Args&);
    uint64_t (*expect)(const Args&);
};

// The D2 and D2L member of one name, with the arguments behind the mean.
#define MEMBERS(name, sfs, src, dst, idVar, eD2, eD2L, T, ...)                                                 \
    Member{"zelsLogGauss_" #name "_D2" #sfs, src, dst, true, idVar, [](const Args& a) {                        \
        return zelsLogGauss_##name##_D2##sfs(P<T>(a.block), a.step, P<T>(a.mean), __VA_ARGS__); }, eD2},      \
    Member{"zelsLogGauss_" #name "_D2L" #sfs, src, dst, false, idVar, [](const Args& a) {                      \
        return zelsLogGauss_##name##_D2L##sfs(table<T>(a), P<T>(a.mean), __VA_ARGS__); }, eD2L}
#define OUT(T, val) a.width, static_cast<T*>(a.dst), a.height, val
#define VAR(T) P<T>(a.var)

const Member kMembers[] = {
    MEMBERS(32f, , F32, F32, false, e32f, e32f, float, VAR(float), OUT(float, a.fval)),
    MEMBERS(IdVar_32f, , F32, F32, true, eId32f, eId32f, float, OUT(float, a.fval)),
    MEMBERS(64f, , F64, F64, false, e64f, e64fL, double, VAR(double), OUT(double, a.dval)),
    MEMBERS(IdVar_64f, , F64, F64, true, eId64f, eId64fL, double, OUT(double, a.dval)),
    MEMBERS(16s32s, Sfs, S16, S32, false, e16s32s, e16s32s, int16_t, VAR(int16_t), OUT(int32_t, a.ival), a.sf),
    MEMBERS(Low_16s32s, Sfs, S16, S32, false, eLow16s32s, eLow16s32s, int16_t, VAR(int16_t), OUT(int32_t, a.ival), a.sf),
    MEMBERS(IdVar_16s32s, Sfs, S16, S32, true, eId16s32s, eId16s32s, int16_t, OUT(int32_t, a.ival), a.sf),
    MEMBERS(IdVarLow_16s32s, Sfs, S16, S32, true, eIdLow16s32s, eIdLow16s32s, int16_t, OUT(int32_t, a.ival), a.sf),
    MEMBERS(Scaled_16s32f, , S16, F32, false, eScaled, eScaled, int16_t, VAR(int16_t), OUT(float, a.fval), a.sf),
    MEMBERS(LowScaled_16s32f, , S16, F32, false, eLowScaled, eLowScaled, int16_t, VAR(int16_t), OUT(float, a.fval), a.sf),
    MEMBERS(IdVarScaled_16s32f, , S16, F32, true, eIdScaled, eIdScaled, int16_t, OUT(float, a.fval), a.sf),
    MEMBERS(IdVarLowScaled_16s32f, , S16, F32, true, eIdLowScaled, eIdLowScaled, int16_t, OUT(float, a.fval), a.sf),
};

const Member& member(const std::string& name) {
    return *std::find_if(std::begin(kMembers), std::end(kMembers), [&](const Member& mb) { return mb.name == name; });
}

// ---- The sweep -----------------------------------------------------------------

// `bytes` from `misalign` bytes past a 16-byte boundary and nothing behind
// them, so that the sanitizer build sees any read beyond.
class Exact {
public:
    Exact(size_t bytes, size_t misalign)
        : raw_(static_cast<char*>(::operator new(bytes + misalign, std::align_val_t{16}))), p_(raw_ + misalign) {}
    Exact(Exact&& o) noexcept : raw_(std::exchange(o.raw_, nullptr)), p_(o.p_) {}
    ~Exact() { ::operator delete(raw_, std::align_val_t{16}); }
    char* get() const { return p_; }

private:
    char* raw_;
    char* p_;
};

// A matrix of frames with its mean and inverse variance, in both layouts. Gaps
// between D2 rows hold `gap`, so a kernel that read them would show. When not
// aligned, the D2 step breaks the row pitch and either the block's base (and
// the table's last row), the mean or the variance lies off a 16-byte boundary.
template <class T>
struct Frames {
    int width, height, step;
    std::vector<std::vector<T>> rows;
    std::vector<T> mean, var;
    std::vector<Exact> rowBufs, bufs;  // rows; then mean, variance and block
    std::vector<const T*> table;

    template <class Gen>
    Frames(int w, int h, bool aligned, T gap, Gen gen) : width(w), height(h), rows(h, std::vector<T>(w)), mean(w), var(w) {
        const int mul = sizeof(T) == 2 ? 8 : 4, odd = aligned ? -1 : (w + h) % 3;
        step = aligned ? (w + mul - 1) / mul * mul + (h % 3 == 0 ? mul : 0) : w + h % 2;
        auto fill = [&](std::vector<Exact>& to, std::vector<T>& v, int which, bool misalign) {
            for (T& e : v) e = gen(which);
            to.emplace_back(v.size() * sizeof(T), misalign ? sizeof(T) : 0);
            std::copy(v.begin(), v.end(), reinterpret_cast<T*>(to.back().get()));
        };
        for (int y = 0; y < h; ++y) fill(rowBufs, rows[y], 0, odd == 0 && y == h - 1);
        for (auto& b : rowBufs) table.push_back(reinterpret_cast<const T*>(b.get()));
        fill(bufs, mean, 0, odd == 1);
        fill(bufs, var, 1, odd == 2);
        bufs.emplace_back((size_t(h - 1) * step + w) * sizeof(T), odd == 0 ? sizeof(T) : 0);
        T* b = reinterpret_cast<T*>(bufs[2].get());
        for (int y = 0; y < h; ++y)
            for (int j = 0; j < (y + 1 < h ? step : w); ++j) b[size_t(y) * step + j] = j < w ? rows[y][j] : gap;
    }
};

// Runs a member and compares every row with the reference; the element
// behind the last result must keep its sentinel.
template <class T>
void check(const Member& mb, Frames<T>& f, Args a, int& failures) {
    const int h = f.height;
    std::vector<uint64_t> dst(h + 1, 0xa5a5a5a5a5a5a5a5ull);
    a.block = f.bufs[2].get(), a.step = f.step, a.table = f.table.data(), a.mean = f.bufs[0].get();
    a.var = f.bufs[1].get(), a.width = f.width, a.height = h, a.dst = dst.data();
    ASSERT_EQ(mb.run(a), zelStsNoErr) << mb.name;
    a.mean = f.mean.data(), a.var = f.var.data();
    const size_t size = mb.dst == F64 ? 8 : 4;
    for (int y = 0; y <= h; ++y) {
        uint64_t got = 0, want = 0xa5a5a5a5a5a5a5a5ull >> (64 - 8 * size);
        memcpy(&got, reinterpret_cast<char*>(dst.data()) + y * size, size);
        if (y < h) a.x = f.rows[y].data(), a.lastOfOdd = h % 2 == 1 && y == h - 1, want = mb.expect(a);
        if (got != want && ++failures <= 5)
            ADD_FAILURE() << mb.name << " width " << f.width << " height " << h << " step " << f.step << " row " << y
                          << " sf " << a.sf << ": got 0x" << std::hex << got << ", want 0x" << want;
    }
}

// Runs a test with the exported functions held to one instruction set.
class LogGaussOn : public testing::TestWithParam<zel::Isa> {
protected:
    void SetUp() override {
        if (GetParam() > zel::bestIsa()) GTEST_SKIP() << "not offered by this build and processor";
        previous_ = zel::setMaxIsaForTesting(GetParam());
    }
    void TearDown() override { zel::setMaxIsaForTesting(previous_); }

private:
    zel::Isa previous_ = zel::Isa::kAvx2;
};
INSTANTIATE_TEST_SUITE_P(Isa, LogGaussOn, testing::Values(zel::Isa::kBaseline, zel::Isa::kAvx2, zel::Isa::kAvx512),
                         [](const auto& info) {
                             return info.param == zel::Isa::kAvx512 ? "Avx512"
                                    : info.param == zel::Isa::kAvx2 ? "Avx2"
                                                                      : "Baseline";
                         });

// The wide kernels take whole blocks of 8 (AVX2) or 16 (AVX-512) rows and
// leave the rest of the rows to the baseline kernels; heights from 8 on
// split a call.
TEST_P(LogGaussOn, EveryMemberMatchesTheReferenceBitForBit) {
    int failures = 0;
    for (bool aligned : {true, false})
        for (int h : {1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 17})
            for (int w = 1; w <= 41; ++w) {
                Frames<float> f32(w, h, aligned, NAN, [](int var) { return var ? zt::uniform(0.05f, 3) : zt::uniform(-4, 4); });
                Frames<double> f64(w, h, aligned, NAN, [](int var) { return var ? zt::uniformd(0.05, 3) : zt::uniformd(-4, 4); });
                // Small values keep the fixed-point results in range; full-range
                // values saturate, wrap and overflow.
                Frames<int16_t> small(w, h, aligned, INT16_MIN, [](int var) { return int16_t(var ? zt::uniformi(-20, 200) : zt::uniformi(-150, 150)); });
                Frames<int16_t> full(w, h, aligned, INT16_MIN, [](int) { return int16_t(zt::uniformi(-32768, 32767)); });
                Args a;
                a.fval = zt::uniform(-50, 50), a.dval = zt::uniformd(-50, 50);
                for (const Member& mb : kMembers) {
                    if (mb.src == F32) check(mb, f32, a, failures);
                    if (mb.src == F64) check(mb, f64, a, failures);
                    for (int sf : {-2, -1, 0, 1, 15, 16, 30}) {
                        if (mb.src != S16) break;
                        a.sf = sf, a.ival = zt::uniformi(-100000, 100000);
                        check(mb, small, a, failures);
                        a.ival = zt::uniformi(INT32_MIN, INT32_MAX);
                        check(mb, full, a, failures);
                    }
                }
            }
    EXPECT_EQ(failures, 0);
}

// ---- Hand-made rows -----------------------------------------------------------------

// A 16-bit member on `height` copies of one row, on an aligned block.
std::vector<uint64_t> score16(const std::string& name, std::vector<int16_t> x, std::vector<int16_t> mean,
                              std::vector<int16_t> var, int sf, float fval = 0, int32_t ival = 0, int height = 1) {
    const int w = int(x.size());
    zt::Buf<int16_t> block(size_t(w) * height), mb(w), vb(w);
    std::vector<const int16_t*> rows;
    for (int y = 0; y < height; ++y) rows.push_back(std::copy(x.begin(), x.end(), block.data() + y * w) - w);
    std::copy(mean.begin(), mean.end(), mb.data());
    std::copy(var.begin(), var.end(), vb.data());
    std::vector<uint32_t> dst(height);
    Args a;
    a.block = block.data(), a.step = w, a.table = rows.data(), a.mean = mb.data(), a.var = vb.data(), a.width = w;
    a.dst = dst.data(), a.height = height, a.fval = fval, a.ival = ival, a.sf = sf;
    EXPECT_EQ(member(name).run(a), zelStsNoErr);
    return {dst.begin(), dst.end()};
}
uint64_t asFloat(float f) { return zt::bits(f); }
uint64_t asInt(int32_t i) { return static_cast<uint32_t>(i); }

// A difference of 65535 in a group of eight is clipped to 32767 before it is
// squared; in the tail of a non-Low member, of a Low member below scale
// factor 0, or of IdVarLow, it is not.
TEST(LogGauss, DifferencesSaturateInGroupsOfEightOnly) {
    struct Case { const char* name; int sf; uint64_t inGroup, inTail; } cases[] = {
        {"zelsLogGauss_Scaled_16s32f_D2", -1, asFloat(-1073676288.0f), asFloat(-4294836224.0f)},
        {"zelsLogGauss_16s32s_D2Sfs", 0, asInt(-536838144), asInt(-2147418112)},
        {"zelsLogGauss_Low_16s32s_D2Sfs", 0, asInt(-536838144), asInt(-536838144)},
        {"zelsLogGauss_LowScaled_16s32f_D2L", -1, asFloat(-1073676288.0f), asFloat(-4294836224.0f)},
        {"zelsLogGauss_IdVarScaled_16s32f_D2", -1, asFloat(-1073676288.0f), asFloat(-4294836224.0f)},
        {"zelsLogGauss_IdVarLow_16s32s_D2LSfs", -1, asInt(-1073676289), asInt(131071)},  // 65535^2 wraps
    };
    for (const Case& k : cases)
        for (int col : {7, 8}) {
            std::vector<int16_t> x(col + 1, 0), mean(col + 1, 0), ones(col + 1, 1);
            x[col] = 32767, mean[col] = -32768;
            EXPECT_EQ(score16(k.name, x, mean, ones, k.sf)[0], col == 7 ? k.inGroup : k.inTail) << k.name << " " << col;
        }
    // Two differences of -32768 make a pair sum of 2^31, which wraps: the score rises.
    EXPECT_EQ(score16("zelsLogGauss_IdVarScaled_16s32f_D2", std::vector<int16_t>(8, -32768), std::vector<int16_t>(8, 0),
                      {}, -1)[0],
              asFloat(8589934592.0f));
}

// s = 30 gives k = 31 and p = -2^31, which flips the sign; k = 32 wraps to
// p = 1, on both sides of 0. Scaled members use the clamped 2^-(s + 1).
TEST(LogGauss, ScaleRuleWrapsWithoutClamp) {
    const std::vector<int16_t> x{8192}, mean{0}, var{16};  // S = 2^30, in the exact tail
    for (auto [sf, want] : {std::pair{29, 4}, {30, 5}, {62, 5}, {31, -1073741824}, {-1, -1073741824}, {-33, -1073741824}})
        EXPECT_EQ(score16("zelsLogGauss_16s32s_D2Sfs", x, mean, var, sf, 0, 5)[0], asInt(want)) << "sf " << sf;
    EXPECT_EQ(score16("zelsLogGauss_Scaled_16s32f_D2", x, mean, var, 30, 5)[0], asFloat(4.5f));
    EXPECT_EQ(score16("zelsLogGauss_Scaled_16s32f_D2L", x, mean, var, -200, 5)[0], asFloat(-INFINITY));
    // LowScaled below 0 takes the rule: k = 199 is 7 modulo 32.
    EXPECT_EQ(score16("zelsLogGauss_LowScaled_16s32f_D2", x, mean, var, -200, 5)[0], asFloat(-137438953472.0f));
}

// The last row of an odd height shifts each group's negated sums: a row of
// one group rounds as a row pair does (s = 2, L = 2: -2 >> 2 = -1; s = 16,
// H = 1: -1 >> 1 = -1), and a row of several groups rounds once per group
// (-4 and -2 with s = 3 give -1 + -1, where the pair sums give -6 >> 3 = -1;
// columns 0 and 8 differ by 2, column 0 weighted 2).
TEST(LogGauss, LastRowOfAnOddHeightShiftsPerGroup) {
    std::vector<int16_t> x(9, 0), w(9, 1);
    x[0] = x[8] = 2, w[0] = 2;
    for (const char* name : {"zelsLogGauss_Low_16s32s_D2Sfs", "zelsLogGauss_Low_16s32s_D2LSfs"}) {
        EXPECT_EQ(score16(name, {2}, {0}, {1}, 2, 0, 10, 3), (std::vector<uint64_t>{9, 9, 9}));
        EXPECT_EQ(score16(name, {256}, {0}, {1}, 16, 0, 10, 3), (std::vector<uint64_t>{9, 9, 9}));
        EXPECT_EQ(score16(name, x, std::vector<int16_t>(9, 0), w, 2, 0, 10, 3), (std::vector<uint64_t>{8, 8, 8}));
        EXPECT_EQ(score16(name, x, std::vector<int16_t>(9, 0), w, 3, 0, 10, 3), (std::vector<uint64_t>{9, 9, 8}));
    }
    EXPECT_EQ(score16("zelsLogGauss_LowScaled_16s32f_D2", {2}, {0}, {1}, 2, 10, 0, 3),
              (std::vector<uint64_t>{asFloat(9), asFloat(9), asFloat(9)}));
}

// 2 * val overflows in single precision and in 64f_D2L, which form it;
// 64f_D2 forms val + (-S) * 0.5 and stays finite.
TEST(LogGauss, TwiceValOverflowsOnlyWhereItIsFormed) {
    for (int w : {2, 5}) {
        std::vector<float> x(w, 1), ones(w, 1), dst(1);
        std::vector<double> xd(w, 1), onesd(w, 1), dstd(2);
        const float* rows[] = {x.data()};
        const double* rowsd[] = {xd.data()};
        EXPECT_EQ(zelsLogGauss_32f_D2L(rows, ones.data(), ones.data(), w, dst.data(), 1, FLT_MAX), zelStsNoErr);
        EXPECT_EQ(zelsLogGauss_64f_D2(xd.data(), w, onesd.data(), onesd.data(), w, &dstd[0], 1, DBL_MAX), zelStsNoErr);
        EXPECT_EQ(zelsLogGauss_64f_D2L(rowsd, onesd.data(), onesd.data(), w, &dstd[1], 1, DBL_MAX), zelStsNoErr);
        EXPECT_SAME_BITS(dst[0], INFINITY);
        EXPECT_SAME_BITS(dstd[0], DBL_MAX);
        EXPECT_SAME_BITS(dstd[1], double(INFINITY));
    }
}

// ---- Argument checks -------------------------------------------------------------

// D2: the step first (even with null pointers), then each pointer, then the
// sizes; D2L starts with the pointers. Nothing is written on an error.
TEST(LogGauss, ChecksRunInOrderAndWriteNothing) {
    double data[8] = {}, mean[8] = {}, var[8] = {};
    const void* rows[2] = {data, data};
    for (const Member& mb : kMembers) {
        uint64_t dst[4] = {7, 7, 7, 7};
        auto run = [&](const void* x, const void* tbl, int step, const void* mn, const void* vr, void* d, int w, int h) {
            Args a;
            a.block = x, a.step = step, a.table = tbl, a.mean = mn, a.var = vr, a.dst = d, a.width = w, a.height = h;
            return mb.run(a);
        };
        if (mb.d2) {
            EXPECT_EQ(run(nullptr, rows, 3, nullptr, nullptr, nullptr, 4, 0), zelStsStrideErr) << mb.name;
        }
        for (int which = 0; which < 4; ++which) {
            if (which == 2 && mb.idVar) continue;
            const void* x = mb.d2 && which == 0 ? nullptr : data;
            const void* tbl = !mb.d2 && which == 0 ? nullptr : rows;
            EXPECT_EQ(run(x, tbl, 0, which == 1 ? nullptr : mean, which == 2 ? nullptr : var, which == 3 ? nullptr : dst, 0, 0),
                      zelStsNullPtrErr) << mb.name << " pointer " << which;
        }
        for (auto [w, h] : {std::pair{0, 1}, {1, 0}, {4, -1}, {-3, 2}})
            EXPECT_EQ(run(data, rows, 4, mean, var, dst, w, h), zelStsSizeErr) << mb.name << " " << w << "x" << h;
        EXPECT_EQ(dst[0], 7u) << mb.name;
        EXPECT_EQ(run(data, rows, 4, mean, var, dst, 4, 2), zelStsNoErr) << mb.name << ": step equal to width";
        EXPECT_EQ(dst[3], 7u) << mb.name;
    }
}

}  // namespace
