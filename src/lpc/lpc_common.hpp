// SPDX-License-Identifier: Apache-2.0
// Pieces shared by the linear-prediction families: scratch that lives on the
// stack up to a family's own limit and comes from the allocator beyond it,
// the powers of two of the 16-bit forms, and their output rounding rules.
#pragma once

#include <math.h>
#include <stddef.h>
#include <stdint.h>

#include "frame/fixed.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace zel::lpc {

// `count` elements of T: in the object itself up to `Inline`, otherwise from
// zelMalloc and released with the object. A request that does not fit in
// memory leaves data() null, which the caller reports as zelStsMemAllocErr
// before anything is written.
template <class T, int Inline>
class Scratch {
public:
    explicit Scratch(int64_t count) {
        if (count <= Inline) {
            p_ = local_;
        } else if (count <= int64_t(SIZE_MAX / 2 / sizeof(T))) {
            heap_ = static_cast<T*>(zelMalloc(size_t(count) * sizeof(T)));
            p_ = heap_;
        }
    }
    ~Scratch() {
        if (heap_) zelFree(heap_);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    T* data() { return p_; }
    bool ok() const { return p_ != nullptr; }

private:
    alignas(16) T local_[Inline];
    T* heap_ = nullptr;
    T* p_ = nullptr;
};

// 2^e from the table of exponents -128 .. 150; exponents beyond are limited
// to its ends, so the top gives +inf and the bottom a denormal.
inline float pow2f(int e) {
    e = e < -128 ? -128 : (e > 150 ? 150 : e);
    return ldexpf(1.0f, e);
}

// 2^-shift with the same ends, for a shift the caller passes: INT_MIN is not
// negated but meets the top of the table, as every shift below -150 does.
inline float pow2fDown(int shift) { return pow2f(shift < -150 ? 150 : -shift); }

// The processor's truncating conversion to 32 bits: out of range or NaN gives
// the integer indefinite 0x80000000.
inline int32_t truncate32(float v) {
    if (!(v > -2147483904.0f && v < 2147483648.0f)) return kMin32;
    return int32_t(v);
}

// Half away from zero, by adding or subtracting 0.5 and truncating, then cut
// to 16 bits without saturation (the low half of the 32-bit integer).
inline int16_t roundCut16(float v) {
    const float t = v < 0.0f ? v - 0.5f : v + 0.5f;
    return wrap16(truncate32(t));
}

}  // namespace zel::lpc
