// SPDX-License-Identifier: Apache-2.0
// Allocation, fill, clear, copy and move of the toolkit.
#include <string.h>

#include "checks.hpp"
#include "toolkit.h"
#include "zelcore.h"

using namespace zel;

namespace {

template <class T>
T* allocCount(int n) {
    return n < 1 ? nullptr : static_cast<T*>(zelMalloc(static_cast<size_t>(n) * sizeof(T)));
}

template <class T>
ZelStatus fill(T val, T* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pDst), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pDst[i] = val;
    return zelStsNoErr;
}

template <class T>
ZelStatus clear(T* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pDst), requirePositive(len))) return s;
    memset(pDst, 0, static_cast<size_t>(len) * sizeof(T));
    return zelStsNoErr;
}

template <class T>
ZelStatus copy(const T* pSrc, T* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    memcpy(pDst, pSrc, static_cast<size_t>(len) * sizeof(T));
    return zelStsNoErr;
}

}  // namespace

Zel8u* ownMalloc_8u(int n) { return allocCount<Zel8u>(n); }
Zel16s* ownMalloc_16s(int n) { return allocCount<Zel16s>(n); }
Zel32s* ownMalloc_32s(int n) { return allocCount<Zel32s>(n); }
Zel32f* ownMalloc_32f(int n) { return allocCount<Zel32f>(n); }
Zel64f* ownMalloc_64f(int n) { return allocCount<Zel64f>(n); }
void ownFree(void* p) { zelFree(p); }

ZelStatus ownSet_8u(Zel8u val, Zel8u* pDst, int len) { return fill(val, pDst, len); }
ZelStatus ownSet_16s(Zel16s val, Zel16s* pDst, int len) { return fill(val, pDst, len); }
ZelStatus ownSet_32s(Zel32s val, Zel32s* pDst, int len) { return fill(val, pDst, len); }
ZelStatus ownSet_32f(Zel32f val, Zel32f* pDst, int len) { return fill(val, pDst, len); }

ZelStatus ownZero_8u(Zel8u* pDst, int len) { return clear(pDst, len); }
ZelStatus ownZero_16s(Zel16s* pDst, int len) { return clear(pDst, len); }
ZelStatus ownZero_32f(Zel32f* pDst, int len) { return clear(pDst, len); }

ZelStatus ownCopy_8u(const Zel8u* pSrc, Zel8u* pDst, int len) { return copy(pSrc, pDst, len); }
ZelStatus ownCopy_16s(const Zel16s* pSrc, Zel16s* pDst, int len) { return copy(pSrc, pDst, len); }
ZelStatus ownCopy_32f(const Zel32f* pSrc, Zel32f* pDst, int len) { return copy(pSrc, pDst, len); }
ZelStatus ownCopy_64f(const Zel64f* pSrc, Zel64f* pDst, int len) { return copy(pSrc, pDst, len); }

ZelStatus ownMove_32s(const Zel32s* pSrc, Zel32s* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    memmove(pDst, pSrc, static_cast<size_t>(len) * sizeof(Zel32s));
    return zelStsNoErr;
}
