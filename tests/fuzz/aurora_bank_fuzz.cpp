// SPDX-License-Identifier: Apache-2.0
// The Aurora Mel banks under arbitrary spectra: both banks, both forms,
// built in caller memory at an offset the input picks and by allocation,
// evaluated on values that include NaN, infinities and extremes of 16 bits,
// then released.
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "zelsr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const int offset = (data[0] & 3) * 8;  // aligned for a pointer, as the builders ask
    const bool low = (data[0] & 32) != 0;
    float spectrum[65] = {};
    Zel16s spectrum16[65] = {};
    memcpy(spectrum, data + 1, size - 1 < sizeof spectrum ? size - 1 : sizeof spectrum);
    memcpy(spectrum16, data + 1, size - 1 < sizeof spectrum16 ? size - 1 : sizeof spectrum16);
    float out[25];
    Zel16s out16[25];

    int bytes = 0, bytes16 = 0;
    low ? zelsMelFBankGetSizeLow_Aurora_32f(&bytes) : zelsMelFBankGetSizeHigh_Aurora_32f(&bytes);
    low ? zelsMelFBankGetSizeLow_Aurora_16s(&bytes16) : zelsMelFBankGetSizeHigh_Aurora_16s(&bytes16);
    uint8_t* mem = static_cast<uint8_t*>(malloc(size_t(bytes > bytes16 ? bytes : bytes16) + 32));
    auto* b32 = reinterpret_cast<ZelFBankState_32f*>(mem + offset);
    auto* b16 = reinterpret_cast<ZelFBankState_16s*>(mem + offset);
    if ((low ? zelsMelFBankInitLow_Aurora_32f(b32) : zelsMelFBankInitHigh_Aurora_32f(b32)) ||
        zelsEvalFBank_32f(spectrum, out, b32))
        __builtin_trap();
    if ((low ? zelsMelFBankInitLow_Aurora_16s(b16) : zelsMelFBankInitHigh_Aurora_16s(b16)) ||
        zelsEvalFBank_16s_Sfs(spectrum16, out16, b16, data[0] >> 6) || zelsFBankFree_16s(b16) != zelStsContextMatchErr)
        __builtin_trap();
    free(mem);

    ZelFBankState_32f* a32 = nullptr;
    if ((low ? zelsMelFBankInitAllocLow_Aurora_32f(&a32) : zelsMelFBankInitAllocHigh_Aurora_32f(&a32)) == zelStsNoErr) {
        zelsEvalFBank_32f(spectrum, out, a32);
        if (zelsFBankFree_32f(a32)) __builtin_trap();
    }
    return 0;
}
