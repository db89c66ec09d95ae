// SPDX-License-Identifier: Apache-2.0
// VQ search at a recogniser's shape: 10,000 vectors of 39 features against
// 256 and 1024 codewords. zelsVQ_32f on a full table runs beside the
// straightforward loop (ratio "x_plain") and beside FAISS's flat L2 index on
// one thread (ratio "x_faiss", the library's rate over FAISS's); the tree
// search of a trained 256-entry codebook runs beside the loop and the flat
// index over that codebook's rows. The library runs on the best instruction
// set of the processor (BM_zelsVQ_32f), then capped to AVX2 and to the
// baseline kernels. Counters: vectors/s and the ratios.
#include <benchmark/benchmark.h>
#include <faiss/IndexFlat.h>
#include <omp.h>

#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "baseline.hpp"
#include "frame/dispatch.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace {

constexpr int kWidth = 39;
constexpr int kVectors = 10000;

std::map<std::string, double>& faissRates() {
    static std::map<std::string, double> r;
    return r;
}

struct Data {
    std::vector<float> x;
    Data() : x(size_t(kVectors) * kWidth) {
        std::mt19937 g(15);
        std::normal_distribution<float> n(0, 1);
        for (float& v : x) v = n(g);
    }
};
Data& data() {
    static Data d;
    return d;
}

// A codebook and its rows: a full table of `size` rows of the data, or a
// tree trained on the first 10 * size vectors.
struct Book {
    ZelCdbkState_32f* cb = nullptr;
    std::vector<float> rows;
    int size = 0;
    Book(int n, bool tree) {
        const Data& d = data();
        ZelStatus s = tree ? zelsCdbkInitAlloc_L2_32f(&cb, d.x.data(), kWidth, kWidth, 10 * n, n, 2)
                           : zelsCdbkInitAlloc_L2_32f(&cb, d.x.data() + kWidth * 7, kWidth, kWidth, n, n, 1);
        if (s < 0) return;
        zelsGetCdbkSize_32f(cb, &size);
        rows.resize(size_t(size) * kWidth);
        zelsGetCodebook_32f(cb, rows.data(), kWidth);
    }
    ~Book() { zelsCdbkFree_32f(cb); }
};
Book& book(int n, bool tree) {
    static std::map<std::pair<int, bool>, std::unique_ptr<Book>> books;
    auto& b = books[{n, tree}];
    if (!b) b = std::make_unique<Book>(n, tree);
    return *b;
}

std::vector<Zel32s>& out() {
    static std::vector<Zel32s> o(kVectors);
    return o;
}

// The straightforward loop: every codeword, the squared distance summed in
// order, the strictly smaller one kept.
void plainSearch(const float* x, const float* rows, int n, Zel32s* idx) {
    for (int v = 0; v < kVectors; ++v) {
        const float* q = x + size_t(v) * kWidth;
        float best = 0;
        int bi = 0;
        for (int i = 0; i < n; ++i) {
            const float* c = rows + size_t(i) * kWidth;
            float s = 0;
            for (int j = 0; j < kWidth; ++j) {
                const float d = q[j] - c[j];
                s += d * d;
            }
            if (i == 0 || s < best) best = s, bi = i;
        }
        idx[v] = bi;
    }
}

std::string key(int n, bool tree) { return std::string("vq/") + (tree ? "tree" : "full") + std::to_string(n); }

void BM_Plain_VQ_32f(benchmark::State& st) {
    const int n = int(st.range(0));
    const bool tree = st.range(1) != 0;
    Book& b = book(n, tree);
    zb::measure(st, key(n, tree), true, "vectors/s", kVectors,
                [&] { plainSearch(data().x.data(), b.rows.data(), b.size, out().data()); });
}

void BM_Faiss_FlatL2(benchmark::State& st) {
    const int n = int(st.range(0));
    const bool tree = st.range(1) != 0;
    Book& b = book(n, tree);
    omp_set_num_threads(1);
    faiss::IndexFlatL2 index(kWidth);
    index.add(b.size, b.rows.data());
    std::vector<float> dist(kVectors);
    std::vector<faiss::Index::idx_t> labels(kVectors);
    const double calls = zb::callsPerSecond(st, [&] { index.search(kVectors, data().x.data(), 1, dist.data(), labels.data()); });
    st.counters["vectors/s"] = benchmark::Counter(double(st.iterations()) * kVectors, benchmark::Counter::kIsRate);
    zb::baselineRatio(st, key(n, tree), false, calls);
    faissRates()[key(n, tree)] = calls;
}

void BM_zelsVQ_32f(benchmark::State& st) {
    const int n = int(st.range(0));
    const bool tree = st.range(1) != 0;
    Book& b = book(n, tree);
    const double calls =
        zb::callsPerSecond(st, [&] { zelsVQ_32f(data().x.data(), kWidth, out().data(), kVectors, b.cb); });
    st.counters["vectors/s"] = benchmark::Counter(double(st.iterations()) * kVectors, benchmark::Counter::kIsRate);
    zb::baselineRatio(st, key(n, tree), false, calls);
    if (auto it = faissRates().find(key(n, tree)); it != faissRates().end()) st.counters["x_faiss"] = calls / it->second;
}

// The same on each narrower path the processor has: the AVX2 kernels where
// it has AVX-512, the baseline kernels (SSE4.1) where it has AVX2.
void runCapped(benchmark::State& st, zel::Isa isa) {
    if (zel::bestIsa() < isa) {
        st.SkipWithError("path not available on this processor");
        return;
    }
    const zel::Isa cap = zel::setMaxIsaForTesting(isa);
    BM_zelsVQ_32f(st);
    zel::setMaxIsaForTesting(cap);
}
void BM_zelsVQ_32f_Avx2(benchmark::State& st) { runCapped(st, zel::Isa::kAvx2); }
void BM_zelsVQ_32f_Baseline(benchmark::State& st) { runCapped(st, zel::Isa::kBaseline); }

// Baseline first, then the peer, then the library, for each codebook.
#define VQ_CASES(B) B->Args({256, 0})->Args({1024, 0})->Args({256, 1})->Unit(benchmark::kMillisecond)
VQ_CASES(BENCHMARK(BM_Plain_VQ_32f));
VQ_CASES(BENCHMARK(BM_Faiss_FlatL2));
VQ_CASES(BENCHMARK(BM_zelsVQ_32f));
VQ_CASES(BENCHMARK(BM_zelsVQ_32f_Avx2));
VQ_CASES(BENCHMARK(BM_zelsVQ_32f_Baseline));

}  // namespace
