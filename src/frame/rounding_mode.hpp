// SPDX-License-Identifier: Apache-2.0
// Holds the floating-point unit at round-to-nearest for a scope and gives
// the caller's mode back at its end, so that conversions round the same way
// whatever mode the caller runs in.
#pragma once

#include <fenv.h>

namespace zel {

class NearestRounding {
public:
    NearestRounding() : saved_(fegetround()) {
        if (saved_ != FE_TONEAREST) fesetround(FE_TONEAREST);
    }
    ~NearestRounding() {
        if (saved_ != FE_TONEAREST) fesetround(saved_);
    }
    NearestRounding(const NearestRounding&) = delete;
    NearestRounding& operator=(const NearestRounding&) = delete;

private:
    int saved_;
};

}  // namespace zel
