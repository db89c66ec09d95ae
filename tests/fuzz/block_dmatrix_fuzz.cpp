// SPDX-License-Identifier: Apache-2.0
// Block-diagonal matrices from fuzzed block sizes and rows, in all three
// types, scored against one vector of fuzzed length and released; a matrix
// of one type is handed to the scoring of another.
#include <stdint.h>
#include <string.h>

#include <vector>

#include "fuzz_reader.hpp"
#include "zelsr.h"

namespace {

struct Reader : zfuzz::Reader {
    double real() { return double(mostlyScaled(256.0f)); }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader r{data, size};
    const int nBlocks = int(r.u(1) % 8) - 1;
    std::vector<int> sizes(size_t(nBlocks > 0 ? nBlocks : 1));
    int total = 0;
    for (int& s : sizes) {
        s = int(r.u(1) % 12) - 1;
        total += s > 0 ? s : 0;
    }
    const int rows = total > 0 ? total : 1, cols = 16;
    std::vector<Zel32f> m32(size_t(rows) * cols);
    std::vector<Zel64f> m64(m32.size());
    std::vector<Zel16s> m16(m32.size());
    for (size_t i = 0; i < m32.size(); ++i) m64[i] = r.real(), m32[i] = Zel32f(m64[i]), m16[i] = Zel16s(r.u(2));
    std::vector<const Zel32f*> t32(static_cast<size_t>(rows));
    std::vector<const Zel64f*> t64(static_cast<size_t>(rows));
    std::vector<const Zel16s*> t16(static_cast<size_t>(rows));
    for (int y = 0; y < rows; ++y)
        t32[size_t(y)] = &m32[size_t(y) * cols], t64[size_t(y)] = &m64[size_t(y) * cols],
        t16[size_t(y)] = &m16[size_t(y) * cols];
    if (r.u(1) < 8) t32[size_t(r.u(1)) % t32.size()] = nullptr;

    ZelBlockDMatrix_32f* a = nullptr;
    ZelBlockDMatrix_64f* b = nullptr;
    ZelBlockDMatrix_16s* c = nullptr;
    const ZelStatus sa = zelsBlockDMatrixInitAlloc_32f(&a, t32.data(), sizes.data(), nBlocks);
    const ZelStatus sb = zelsBlockDMatrixInitAlloc_64f(&b, t64.data(), sizes.data(), nBlocks);
    const ZelStatus sc = zelsBlockDMatrixInitAlloc_16s(&c, t16.data(), sizes.data(), nBlocks);

    const int len = r.u(1) < 200 ? total : int(r.u(1)) - 2;
    const size_t n = size_t(len > 0 ? len : 1);
    std::vector<Zel32f> x(n), mean(n);
    std::vector<Zel64f> x64(n), mean64(n);
    std::vector<Zel16s> x16(n), mean16(n);
    for (size_t i = 0; i < n; ++i) {
        x64[i] = r.real(), mean64[i] = r.real();
        x[i] = Zel32f(x64[i]), mean[i] = Zel32f(mean64[i]);
        x16[i] = Zel16s(r.u(2)), mean16[i] = Zel16s(r.u(2));
    }
    const int sf = int(int32_t(r.u(4)) >> (r.u(1) & 31));
    Zel32f f = 0;
    Zel64f d = 0;
    Zel32s i32 = 0;
    if (sa == zelStsNoErr) {
        zelsLogGaussSingle_BlockDVar_32f(x.data(), mean.data(), a, len, &f, 1.0f);
        zelsLogGaussSingle_BlockDVar_32f64f(x.data(), mean.data(), a, len, &d, 1.0);
        // Another type's scoring refuses this matrix.
        zelsLogGaussSingle_BlockDVar_64f(x64.data(), mean64.data(), reinterpret_cast<const ZelBlockDMatrix_64f*>(a),
                                         len, &d, 1.0);
    }
    if (sb == zelStsNoErr) zelsLogGaussSingle_BlockDVar_64f(x64.data(), mean64.data(), b, len, &d, 1.0);
    if (sc == zelStsNoErr) {
        zelsLogGaussSingle_BlockDVar_16s32s_Sfs(x16.data(), mean16.data(), c, len, &i32, int32_t(r.u(4)), sf);
        zelsLogGaussSingle_BlockDVarScaled_16s32f(x16.data(), mean16.data(), c, len, &f, 0.5f, sf);
    }
    if (sa == zelStsNoErr) zelsBlockDMatrixFree_32f(a);
    if (sb == zelStsNoErr) zelsBlockDMatrixFree_64f(b);
    if (sc == zelStsNoErr) zelsBlockDMatrixFree_16s(c);
    return 0;
}
