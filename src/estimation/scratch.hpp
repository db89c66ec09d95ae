// SPDX-License-Identifier: Apache-2.0
// Scratch of the estimation families that outgrows the stack.
#pragma once

#include <stdint.h>

#include "zelcore.h"

namespace zel::est {

// n elements from zelMalloc, or null when the allocation fails or its size
// in bytes would not fit a size_t (a 32-bit build with a huge count).
template <class T>
T* allocScratch(int64_t n) {
    const uint64_t bytes = uint64_t(n) * sizeof(T);
    if (n < 0 || bytes > uint64_t(SIZE_MAX)) return nullptr;
    return static_cast<T*>(zelMalloc(size_t(bytes)));
}

}  // namespace zel::est
