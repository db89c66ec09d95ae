// SPDX-License-Identifier: Apache-2.0
// Voice activity records under arbitrary input: the first 64 bytes are taken
// as a record as they stand (it must be refused or served, never followed
// out of bounds), then a record from Init runs on frames cut from the rest,
// in the float and the 16-bit form, and is flushed to its end.
#include <stdint.h>
#include <string.h>

#include "zelsr.h"

namespace {

constexpr size_t kFrameBytes32 = (25 + 64) * 4, kFrameBytes16 = (25 + 64) * 2;

void decideAll(const uint8_t* data, size_t size, ZelVADState_Aurora* st, bool wide) {
    const size_t step = wide ? kFrameBytes32 : kFrameBytes16;
    for (size_t at = 0; at + step <= size; at += step) {
        Zel32s res = 0;
        const int hint = data[at] & 7;
        if (wide) {
            float v[25 + 64];
            memcpy(v, data + at, sizeof v);
            zelsVADDecision_Aurora_32f(v, v + 25, hint, &res, st);
        } else {
            Zel16s v[25 + 64];
            memcpy(v, data + at, sizeof v);
            zelsVADDecision_Aurora_16s(v, v + 25, hint, &res, st);
        }
        if (res != 0 && res != zelVADSpeech && res != zelVADNonSpeech && res != zelVADUndecided) __builtin_trap();
    }
    // Six decisions and then 4, whatever came before; a refused record answers at once.
    for (int k = 0; k < 8; ++k) {
        Zel32s res = 0;
        if (zelsVADFlush_Aurora_32f(&res, st) != zelStsNoErr || res == zelVADUndecided) break;
        if (k == 7) __builtin_trap();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    alignas(16) uint8_t record[64] = {};
    auto* st = reinterpret_cast<ZelVADState_Aurora*>(record);
    if (size >= 64) {
        memcpy(record, data, 64);
        decideAll(data + 64, size - 64, st, (data[0] & 1) != 0);
        data += 64, size -= 64;
    }
    for (int wide = 0; wide < 2; ++wide) {
        if (wide ? zelsVADInit_Aurora_32f(st) : zelsVADInit_Aurora_16s(st)) __builtin_trap();
        decideAll(data, size, st, wide != 0);
    }
    return 0;
}
