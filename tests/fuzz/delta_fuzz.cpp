// SPDX-License-Identifier: Apache-2.0
// Dynamic features on fuzzed shapes: a stream cut into blocks of fuzzed
// heights, carried from call to call as a caller would (the last rows moved to
// the top), in every window, type and multiplier form; then the in-place
// regression deltas. Buffers are as large as the call's arguments promise.
#include <stdint.h>
#include <string.h>

#include <vector>

#include "fuzz_reader.hpp"
#include "zelsr.h"

namespace {

struct Reader : zfuzz::Reader {
    float f32() { return mostlyScaled(16.0f); }
};

// Rows a call may touch: the carried history, the new frames and the rows
// still waiting for context.
constexpr int kHistory = 8;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader r{data, size};
    const int fn = int(r.u(1) % 20);
    const bool aurora = fn >= 16;
    const int width = aurora ? 14 : int(r.u(1) % 40) - 1;
    const int outWidth = aurora ? 39 : 3 * (width > 0 ? width : 1);
    const int dstStep = outWidth + int(r.u(1) % 8) - 2;
    const int pitch = dstStep > outWidth ? dstStep : outWidth;
    const int sf = r.u(1) < 200 ? int(r.u(1) % 40) - 20 : int(int32_t(r.u(4)));
    std::vector<Zel32f> val32f(static_cast<size_t>(outWidth));
    std::vector<Zel16s> val16s(static_cast<size_t>(outWidth));
    for (int i = 0; i < outWidth; ++i) val32f[size_t(i)] = r.f32(), val16s[size_t(i)] = Zel16s(r.u(2));
    const Zel32f ds = r.f32(), dds = r.f32();
    const Zel16s ds16 = Zel16s(r.u(2)), dds16 = Zel16s(r.u(2));
    std::vector<Zel32f> dst32(size_t(pitch) * 80);
    std::vector<Zel16s> dst16(size_t(pitch) * 80);
    for (int block = 0; block < 4 && r.n > 0; ++block) {
        const int height = int(r.u(1) % 40) - 1;
        const int mode = int(r.u(1) % 4) | (block == 0 ? 1 : 0);
        const int rows = (height > 0 ? height : 0) + kHistory;
        std::vector<Zel32f> src32(size_t(rows) * size_t(width > 0 ? width : 1));
        std::vector<Zel16s> src16(src32.size());
        for (size_t i = 0; i < src32.size(); ++i) src32[i] = r.f32(), src16[i] = Zel16s(r.u(2));
        Zel32f* d = dst32.data();
        Zel16s* e = dst16.data();
        const Zel32f* s = src32.data();
        const Zel16s* t = src16.data();
        switch (fn) {
            case 0: zelsDelta_Win1_32f_D2(s, width, d, dstStep, height, ds, mode); break;
            case 1: zelsDelta_Win2_32f_D2(s, width, d, dstStep, height, ds, mode); break;
            case 2: zelsDelta_Win1_16s_D2Sfs(t, width, e, dstStep, height, ds16, mode, sf); break;
            case 3: zelsDelta_Win2_16s_D2Sfs(t, width, e, dstStep, height, ds16, mode, sf); break;
            case 4: zelsDeltaDelta_Win1_32f_D2(s, width, d, dstStep, height, ds, dds, mode); break;
            case 5: zelsDeltaDelta_Win2_32f_D2(s, width, d, dstStep, height, ds, dds, mode); break;
            case 6: zelsDeltaDelta_Win1_16s_D2Sfs(t, width, e, dstStep, height, ds16, dds16, mode, sf); break;
            case 7: zelsDeltaDelta_Win2_16s_D2Sfs(t, width, e, dstStep, height, ds16, dds16, mode, sf); break;
            case 8: zelsDeltaMul_Win1_32f_D2(s, val32f.data(), width, d, dstStep, height, mode); break;
            case 9: zelsDeltaMul_Win2_32f_D2(s, val32f.data(), width, d, dstStep, height, mode); break;
            case 10: zelsDeltaDeltaMul_Win1_32f_D2(s, val32f.data(), width, d, dstStep, height, mode); break;
            case 11: zelsDeltaDeltaMul_Win2_32f_D2(s, val32f.data(), width, d, dstStep, height, mode); break;
            case 12: zelsDeltaMul_Win1_16s_D2Sfs(t, val16s.data(), width, e, dstStep, height, mode, sf); break;
            case 13: zelsDeltaMul_Win2_16s_D2Sfs(t, val16s.data(), width, e, dstStep, height, mode, sf); break;
            case 14: zelsDeltaDeltaMul_Win1_16s_D2Sfs(t, val16s.data(), width, e, dstStep, height, mode, sf); break;
            case 15: zelsDeltaDeltaMul_Win2_16s_D2Sfs(t, val16s.data(), width, e, dstStep, height, mode, sf); break;
            case 16: zelsDeltaDelta_Aurora_32f_D2(s, d, dstStep, height, mode); break;
            case 17: zelsDeltaDelta_Aurora_16s_D2Sfs(t, e, dstStep, height, mode, sf); break;
            case 18: zelsDeltaDeltaMul_Aurora_32f_D2(s, val32f.data(), d, dstStep, height, mode); break;
            default: zelsDeltaDeltaMul_Aurora_16s_D2Sfs(t, val16s.data(), e, dstStep, height, mode, sf); break;
        }
        // The caller carries the last rows to the top for the next block.
        if (height > kHistory) {
            memmove(d, d + size_t(height) * size_t(pitch), size_t(kHistory) * size_t(pitch) * sizeof(Zel32f));
            memmove(e, e + size_t(height) * size_t(pitch), size_t(kHistory) * size_t(pitch) * sizeof(Zel16s));
        }
    }
    // In-place regression deltas over a block of fuzzed shape.
    const int h = int(r.u(1) % 48) - 1, w = int(r.u(1) % 16) - 1, off = int(r.u(1) % 6) - 1;
    const int win = int(r.u(1) % 6) - 1, step = int(r.u(1) % 48);
    if (h > 0 && step > 0) {
        std::vector<Zel32f> m(size_t(h) * size_t(step));
        std::vector<Zel16s> m16(m.size());
        std::vector<Zel32f> v(size_t(w > 0 ? w : 1));
        std::vector<Zel16s> v16(v.size());
        for (size_t i = 0; i < m.size(); ++i) m[i] = r.f32(), m16[i] = Zel16s(r.u(2));
        for (size_t i = 0; i < v.size(); ++i) v[i] = r.f32(), v16[i] = Zel16s(r.u(2));
        zelsEvalDelta_32f_D2(m.data(), h, step, w, off, win, ds);
        zelsEvalDelta_16s_D2Sfs(m16.data(), h, step, w, off, win, ds16, sf);
        zelsEvalDeltaMul_32f_D2(m.data(), h, step, v.data(), w, off, win);
        zelsEvalDeltaMul_16s_D2Sfs(m16.data(), h, step, v16.data(), w, off, win, sf);
    }
    return 0;
}
