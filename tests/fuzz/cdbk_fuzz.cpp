// SPDX-License-Identifier: Apache-2.0
// Fuzz target of the codebook states: the input chooses element type, kind,
// sizes, weights and data (NaN, infinities and repeated vectors included),
// builds a codebook by every builder that accepts the arguments, and runs
// every search, the read-back functions and vector forming on it before
// releasing it. Any status is acceptable; a crash, a leak or a read outside
// a buffer is not.
#include <stdint.h>
#include <string.h>

#include <vector>

#include "zelsr.h"

namespace {

struct Input {
    const uint8_t* p;
    size_t n;
    uint8_t byte() {
        if (!n) return 0;
        --n;
        return *p++;
    }
    float value() {
        const uint8_t b = byte();
        switch (b & 7) {
        case 0: { uint32_t u = uint32_t(byte()) << 24 | uint32_t(byte()) << 16 | uint32_t(byte()) << 8 | byte();
                  float f; memcpy(&f, &u, 4); return f; }
        case 1: return float(int8_t(byte()));
        default: return float(int(b) - 128) * 0.125f;
        }
    }
};

template <class T>
T element(Input& in) {
    if constexpr (sizeof(T) == 4) return in.value();
    else return T(int16_t(uint16_t(in.byte()) << 8 | in.byte()));
}

template <class T, class State, class Api>
void run(Input& in, Api api) {
    const int width = 1 + in.byte() % 12;
    const int step = width + in.byte() % 3;
    const int height = 1 + in.byte() % 48;
    const int size = 1 + in.byte() % 64;
    const int hint = in.byte() % 5;  // 0 and 4 are kinds no builder knows
    const bool weighted = in.byte() & 1;
    std::vector<T> src(size_t(height) * step), w(width);
    for (auto& v : src) v = element<T>(in);
    // Repeat some vectors, so that equal and coinciding data come up.
    for (int i = 1; i < height; ++i)
        if (in.byte() % 4 == 0) memcpy(&src[size_t(i) * step], &src[size_t(i - 1) * step], sizeof(T) * width);
    for (auto& v : w) v = weighted ? element<T>(in) : T(1);

    std::vector<State*> books;
    State* owned = nullptr;
    ZelStatus s = weighted ? api.initAllocW(&owned, src.data(), w.data(), width, step, height, size, hint)
                           : api.initAlloc(&owned, src.data(), width, step, height, size, hint);
    if (s >= 0) books.push_back(owned);
    int bytes = 0;
    std::vector<uint64_t> mem;
    if (api.getSize(width, step, height, height, hint, &bytes) == zelStsNoErr) {
        mem.resize(size_t(bytes) / 8 + 1);
        if (api.init(reinterpret_cast<State*>(mem.data()), src.data(), width, step, height, height, hint) == 0)
            books.push_back(reinterpret_cast<State*>(mem.data()));
    }
    for (State* cb : books) {
        int n = 0;
        api.getCdbkSize(cb, &n);
        std::vector<T> rows(size_t(n) * width);
        api.getCodebook(cb, rows.data(), width);
        std::vector<Zel32s> idx(size_t(height) + size_t(n));
        api.search(src.data(), step, idx.data(), height, cb, in);
        api.single(src.data(), idx.data(), cb, 1 + in.byte() % (n + 1), float(1 + in.byte() % 4) * 0.75f);
        // Packed indices and back.
        const State* pp[2] = {cb, cb};
        std::vector<uint8_t> bits(size_t(height) * 8 + 8);
        std::vector<T> formed(size_t(height) * 2 * width);
        if (height >= 2 && api.split(src.data(), 2 * width, bits.data(), 60, height / 2, pp, 2) >= 0)
            api.form(bits.data(), 60, formed.data(), 2 * width, height / 2, pp, 2);
    }
    if (s >= 0) api.free(owned);
    if (books.size() > (s >= 0 ? 1u : 0u)) api.free(reinterpret_cast<State*>(mem.data()));
}

struct Api32f {
    decltype(&zelsCdbkInitAlloc_L2_32f) initAlloc = zelsCdbkInitAlloc_L2_32f;
    decltype(&zelsCdbkInitAlloc_WgtL2_32f) initAllocW = zelsCdbkInitAlloc_WgtL2_32f;
    decltype(&zelsCdbkGetSize_32f) getSize = zelsCdbkGetSize_32f;
    decltype(&zelsCdbkInit_L2_32f) init = zelsCdbkInit_L2_32f;
    decltype(&zelsGetCdbkSize_32f) getCdbkSize = zelsGetCdbkSize_32f;
    decltype(&zelsGetCodebook_32f) getCodebook = zelsGetCodebook_32f;
    decltype(&zelsCdbkFree_32f) free = zelsCdbkFree_32f;
    void search(const Zel32f* src, int step, Zel32s* idx, int height, ZelCdbkState_32f* cb, Input&) const {
        std::vector<Zel32f> d(static_cast<size_t>(height));
        zelsVQ_32f(src, step, idx, height, cb);
        zelsVQDist_32f(src, step, idx, d.data(), height, cb);
    }
    void single(const Zel32f* src, Zel32s* idx, ZelCdbkState_32f* cb, int nBest, float val) const {
        int n = 0;
        zelsGetCdbkSize_32f(cb, &n);
        std::vector<Zel32f> d(size_t(n) + 1);
        zelsVQDistSingle_Sort_32f(src, idx, d.data(), cb, nBest);
        zelsVQDistSingle_Thresh_32f(src, idx, d.data(), cb, val, &n);
    }
    ZelStatus split(const Zel32f* src, int step, Zel8u* dst, int dstStep, int height, const ZelCdbkState_32f** pp, int s) const {
        return zelsSplitVQ_32f1u(src, step, dst, dstStep, height, pp, s);
    }
    void form(const Zel8u* src, int srcStep, Zel32f* dst, int dstStep, int height, const ZelCdbkState_32f** pp, int s) const {
        if (height > 0) zelsFormVectorVQ_1u32f(src, srcStep, dst, dstStep, height, pp, s);
    }
};

struct Api16s {
    decltype(&zelsCdbkInitAlloc_L2_16s) initAlloc = zelsCdbkInitAlloc_L2_16s;
    decltype(&zelsCdbkInitAlloc_WgtL2_16s) initAllocW = zelsCdbkInitAlloc_WgtL2_16s;
    decltype(&zelsCdbkGetSize_16s) getSize = zelsCdbkGetSize_16s;
    decltype(&zelsCdbkInit_L2_16s) init = zelsCdbkInit_L2_16s;
    decltype(&zelsGetCdbkSize_16s) getCdbkSize = zelsGetCdbkSize_16s;
    decltype(&zelsGetCodebook_16s) getCodebook = zelsGetCodebook_16s;
    decltype(&zelsCdbkFree_16s) free = zelsCdbkFree_16s;
    void search(const Zel16s* src, int step, Zel32s* idx, int height, ZelCdbkState_16s* cb, Input& in) const {
        std::vector<Zel32s> d(static_cast<size_t>(height));
        zelsVQ_16s(src, step, idx, height, cb);
        zelsVQDist_16s32s_Sfs(src, step, idx, d.data(), height, cb, int(in.byte() % 40) - 20);
    }
    void single(const Zel16s* src, Zel32s* idx, ZelCdbkState_16s* cb, int nBest, float val) const {
        int n = 0;
        zelsGetCdbkSize_16s(cb, &n);
        std::vector<Zel32s> d(size_t(n) + 1);
        zelsVQDistSingle_Sort_16s32s_Sfs(src, idx, d.data(), cb, nBest, 1);
        zelsVQDistSingle_Thresh_16s32s_Sfs(src, idx, d.data(), cb, val, &n, -2);
        zelsVQSingle_Thresh_16s(src, idx, cb, val, &n);
    }
    ZelStatus split(const Zel16s* src, int step, Zel8u* dst, int dstStep, int height, const ZelCdbkState_16s** pp, int s) const {
        return zelsSplitVQ_16s1u(src, step, dst, dstStep, height, pp, s);
    }
    void form(const Zel8u* src, int srcStep, Zel16s* dst, int dstStep, int height, const ZelCdbkState_16s** pp, int s) const {
        if (height > 0) zelsFormVectorVQ_1u16s(src, srcStep, dst, dstStep, height, pp, s);
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in{data, size};
    if (in.byte() & 1) run<Zel16s, ZelCdbkState_16s>(in, Api16s{});
    else run<Zel32f, ZelCdbkState_32f>(in, Api32f{});
    return 0;
}
