// SPDX-License-Identifier: Apache-2.0
// Row and column kernels beside the straightforward loop (the formula as
// written: for each result, a loop over its sum) and OpenBLAS sgemv on one
// thread, on the same data in the same run. Shapes: 1000 frames of 39
// features at a step of 40 (a recogniser's feature table), and square
// matrices of 256 (in cache) and 1024 (beyond the last-level cache of most
// processors). Each plain loop and peer runs just before the member it is
// compared with; "x_plain" and "x_openblas" are the member's rate over theirs.
#include <cblas.h>

#include <string>
#include <vector>

#include "baseline.hpp"
#include "zelsr.h"

extern "C" void openblas_set_num_threads(int);

namespace {

struct Shape {
    int rows, cols, step;
};
const Shape kShapes[] = {{1000, 39, 40}, {256, 256, 256}, {1024, 1024, 1024}};

struct Data {
    std::vector<float> m, v, out;
    explicit Data(const Shape& s) : m(size_t(s.rows) * s.step), v(s.rows > s.cols ? s.rows : s.cols), out(v.size()) {
        unsigned x = 12345;
        for (float& e : m) e = float((x = x * 1103515245u + 12345u) >> 9) * 0x1p-23f - 1.0f;
        for (float& e : v) e = float((x = x * 1103515245u + 12345u) >> 9) * 0x1p-23f - 1.0f;
    }
};
Data& data(int i) {
    static Data d[3] = {Data(kShapes[0]), Data(kShapes[1]), Data(kShapes[2])};
    return d[i];
}

// The rate of each peer per key, and the member's ratios over them.
std::map<std::string, double>& peers() {
    static std::map<std::string, double> r;
    return r;
}
std::string key(benchmark::State& st, const char* what) { return std::string(what) + std::to_string(st.range(0)); }

template <class F>
void peer(benchmark::State& st, const std::string& k, const char* name, double items, F f) {
    const double rate = zb::callsPerSecond(st, f);
    peers()[k + name] = rate;
    st.counters["elems/s"] = benchmark::Counter(double(st.iterations()) * items, benchmark::Counter::kIsRate);
}
template <class F>
void member(benchmark::State& st, const std::string& k, double items, F f) {
    const double rate = zb::callsPerSecond(st, f);
    st.counters["elems/s"] = benchmark::Counter(double(st.iterations()) * items, benchmark::Counter::kIsRate);
    for (const char* name : {"plain", "openblas"})
        if (auto it = peers().find(k + name); it != peers().end() && it->second > 0)
            st.counters[std::string("x_") + name] = rate / it->second;
}

double elems(int i) { return double(kShapes[i].rows) * kShapes[i].cols; }

// ---- Column sums ------------------------------------------------------------------------------

void BM_Plain_SumColumn_32f(benchmark::State& st) {
    const int i = int(st.range(0));
    const Shape s = kShapes[i];
    Data& d = data(i);
    peer(st, key(st, "sumcol"), "plain", elems(i), [&] {
        for (int j = 0; j < s.cols; ++j) {
            float acc = 0;
            for (int r = 0; r < s.rows; ++r) acc += d.m[size_t(r) * s.step + j];
            d.out[j] = acc;
        }
    });
}
// OpenBLAS: the column sums as the product of the transposed matrix with a vector of ones.
void BM_OpenBLAS_SumColumn_sgemv(benchmark::State& st) {
    openblas_set_num_threads(1);
    const int i = int(st.range(0));
    const Shape s = kShapes[i];
    Data& d = data(i);
    std::vector<float> ones(s.rows, 1.0f);
    peer(st, key(st, "sumcol"), "openblas", elems(i), [&] {
        cblas_sgemv(CblasRowMajor, CblasTrans, s.rows, s.cols, 1.0f, d.m.data(), s.step, ones.data(), 1, 0.0f,
                    d.out.data(), 1);
    });
}
void BM_zelsSumColumn_32f_D2(benchmark::State& st) {
    const int i = int(st.range(0));
    const Shape s = kShapes[i];
    Data& d = data(i);
    member(st, key(st, "sumcol"), elems(i), [&] { zelsSumColumn_32f_D2(d.m.data(), s.rows, s.step, d.out.data(), s.cols); });
}

// ---- Row sums ------------------------------------------------------------------------------------

void BM_Plain_SumRow_32f(benchmark::State& st) {
    const int i = int(st.range(0));
    const Shape s = kShapes[i];
    Data& d = data(i);
    peer(st, key(st, "sumrow"), "plain", elems(i), [&] {
        for (int r = 0; r < s.rows; ++r) {
            float acc = 0;
            for (int j = 0; j < s.cols; ++j) acc += d.m[size_t(r) * s.step + j];
            d.out[r] = acc;
        }
    });
}
void BM_zelsSumRow_32f_D2(benchmark::State& st) {
    const int i = int(st.range(0));
    const Shape s = kShapes[i];
    Data& d = data(i);
    member(st, key(st, "sumrow"), elems(i), [&] { zelsSumRow_32f_D2(d.m.data(), s.cols, s.step, d.out.data(), s.rows); });
}

// ---- Matrix times vector ----------------------------------------------------------------------------

void BM_Plain_MatVecMul_32f(benchmark::State& st) {
    const int i = int(st.range(0));
    const Shape s = kShapes[i];
    Data& d = data(i);
    peer(st, key(st, "matvec"), "plain", elems(i), [&] {
        for (int r = 0; r < s.rows; ++r) {
            float acc = 0;
            for (int j = 0; j < s.cols; ++j) acc += d.m[size_t(r) * s.step + j] * d.v[j];
            d.out[r] = acc;
        }
    });
}
void BM_OpenBLAS_sgemv(benchmark::State& st) {
    openblas_set_num_threads(1);
    const int i = int(st.range(0));
    const Shape s = kShapes[i];
    Data& d = data(i);
    peer(st, key(st, "matvec"), "openblas", elems(i), [&] {
        cblas_sgemv(CblasRowMajor, CblasNoTrans, s.rows, s.cols, 1.0f, d.m.data(), s.step, d.v.data(), 1, 0.0f,
                    d.out.data(), 1);
    });
}
void BM_zelsMatVecMul_32f_D2(benchmark::State& st) {
    const int i = int(st.range(0));
    const Shape s = kShapes[i];
    Data& d = data(i);
    member(st, key(st, "matvec"), elems(i),
           [&] { zelsMatVecMul_32f_D2(d.m.data(), s.step, d.v.data(), s.cols, d.out.data(), s.rows); });
}

// Argument: the shape, 0 = 1000x39 (step 40), 1 = 256x256, 2 = 1024x1024.
BENCHMARK(BM_Plain_SumColumn_32f)->DenseRange(0, 2);
BENCHMARK(BM_OpenBLAS_SumColumn_sgemv)->DenseRange(0, 2);
BENCHMARK(BM_zelsSumColumn_32f_D2)->DenseRange(0, 2);
BENCHMARK(BM_Plain_SumRow_32f)->DenseRange(0, 2);
BENCHMARK(BM_zelsSumRow_32f_D2)->DenseRange(0, 2);
BENCHMARK(BM_Plain_MatVecMul_32f)->DenseRange(0, 2);
BENCHMARK(BM_OpenBLAS_sgemv)->DenseRange(0, 2);
BENCHMARK(BM_zelsMatVecMul_32f_D2)->DenseRange(0, 2);

}  // namespace
