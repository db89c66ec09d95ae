// SPDX-License-Identifier: Apache-2.0
// Argument tests of the scoring families that take a matrix: the step first,
// then the pointers, then the sizes; the D2L members have no step.
#pragma once

#include "frame/checks.hpp"
#include "zelsr.h"

namespace zel::gauss {

template <class... P>
ZelStatus checkD2(int step, int width, int height, const P*... p) {
    return firstError(requireStride(step, width), requireNonNull(p...), requirePositive(width, height));
}
// The rows of every table are tested once the sizes are known to be good.
template <class... P>
ZelStatus checkD2L(int width, int height, const P*... p) {
    return firstError(requireNonNull(p...), requirePositive(width, height));
}

}  // namespace zel::gauss
