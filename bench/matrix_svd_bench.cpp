// SPDX-License-Identifier: Apache-2.0
// zelsSVD_64f_D2 beside LAPACK dgesvd (thin U and the full V, as the
// library returns them) at 39x39 and 200x200, on the same random matrix in
// the same run; "x_lapack" is the member's rate over dgesvd's. The largest
// difference between the two sets of singular values, relative to the
// largest value, is reported as "rel_err".
#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include "baseline.hpp"
#include "zelsr.h"

extern "C" void dgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, double* a, const int* lda,
                        double* s, double* u, const int* ldu, double* vt, const int* ldvt, double* work,
                        const int* lwork, int* info);
extern "C" void openblas_set_num_threads(int);

namespace {

std::vector<double> randomMatrix(int n) {
    std::vector<double> a(size_t(n) * n);
    unsigned x = 777;
    for (double& e : a) e = double((x = x * 1103515245u + 12345u) >> 9) * 0x1p-23 - 1.0;
    return a;
}

double& lapackRate(int n) {
    static double r[2] = {0, 0};
    return r[n == 39 ? 0 : 1];
}
std::vector<double>& lapackValues(int n) {
    static std::vector<double> v[2];
    return v[n == 39 ? 0 : 1];
}

// dgesvd reads column-major storage: it decomposes the transpose, which has
// the same singular values and the same cost.
void BM_LAPACK_dgesvd(benchmark::State& st) {
    openblas_set_num_threads(1);
    const int n = int(st.range(0));
    const std::vector<double> a0 = randomMatrix(n);
    std::vector<double> a(a0), s(n), u(size_t(n) * n), vt(size_t(n) * n);
    int lwork = -1, info = 0;
    double q = 0;
    dgesvd_("S", "A", &n, &n, a.data(), &n, s.data(), u.data(), &n, vt.data(), &n, &q, &lwork, &info);
    lwork = int(q);
    std::vector<double> work(lwork);
    lapackRate(n) = zb::callsPerSecond(st, [&] {
        std::copy(a0.begin(), a0.end(), a.begin());
        dgesvd_("S", "A", &n, &n, a.data(), &n, s.data(), u.data(), &n, vt.data(), &n, work.data(), &lwork, &info);
    });
    lapackValues(n) = s;
}

void BM_zelsSVD_64f_D2(benchmark::State& st) {
    const int n = int(st.range(0));
    const std::vector<double> a = randomMatrix(n);
    std::vector<double> u(size_t(n) * n), w(n), v(size_t(n) * n);
    ZelStatus status = zelStsNoErr;
    const double rate =
        zb::callsPerSecond(st, [&] { status = zelsSVD_64f_D2(a.data(), u.data(), n, w.data(), v.data(), n, n, 60); });
    if (status != zelStsNoErr) st.SkipWithError("zelsSVD_64f_D2 failed");
    if (lapackRate(n) > 0) st.counters["x_lapack"] = rate / lapackRate(n);
    std::sort(w.begin(), w.end(), std::greater<double>());
    const std::vector<double>& ref = lapackValues(n);
    if (ref.size() == w.size()) {
        double err = 0;
        for (int k = 0; k < n; ++k) err = std::max(err, std::fabs(w[k] - ref[k]));
        st.counters["rel_err"] = err / ref[0];
    }
}

BENCHMARK(BM_LAPACK_dgesvd)->Arg(39)->Arg(200);
BENCHMARK(BM_zelsSVD_64f_D2)->Arg(39)->Arg(200);

}  // namespace
