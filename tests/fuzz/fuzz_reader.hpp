// SPDX-License-Identifier: Apache-2.0
// The fuzz targets' view of their input: big-endian integers of a few bytes
// and floats that are mostly sensible, read until the input runs out (then
// zeros), so that every input, however short, describes one whole case.
#pragma once

#include <stdint.h>
#include <string.h>

namespace zfuzz {

struct Reader {
    const uint8_t* p;
    size_t n;
    uint32_t u(int bytes) {
        uint32_t v = 0;
        for (int i = 0; i < bytes; ++i) v = v << 8 | (n ? (--n, *p++) : 0u);
        return v;
    }
    // Any bit pattern at all: NaN, infinities and subnormals included.
    float anyFloat() {
        uint32_t b = u(4);
        float f;
        memcpy(&f, &b, 4);
        return f;
    }
    // Mostly a 16-bit value over `scale`, sometimes any bit pattern.
    float mostlyScaled(float scale) { return u(1) < 240 ? float(int16_t(u(2))) / scale : anyFloat(); }
};

}  // namespace zfuzz
