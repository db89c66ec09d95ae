// SPDX-License-Identifier: Apache-2.0
// Row accessors of Gaussian frame scoring: how a kernel reaches row y of the
// source, the mean and the weights. They only form addresses, so the kernels
// of every instruction set share them (the AVX2 files among them, which may
// include nothing that computes on vectors of another width).
#pragma once

#include <stddef.h>

#include <type_traits>

namespace zel::gauss {

// Rows of a D2 block: element x of row y is base[y * step + x].
template <class T>
struct BlockRows {
    using Elem = T;
    const T* base;
    int step;
    const T* operator()(int y) const { return base + static_cast<ptrdiff_t>(y) * step; }
};

// Rows of a D2L table of row pointers.
template <class T>
struct TableRows {
    using Elem = T;
    const T* const* rows;
    const T* operator()(int y) const { return rows[y]; }
};

// One vector that serves every row: the mean or the inverse variance of a
// single Gaussian.
template <class T>
struct SameRow {
    using Elem = T;
    const T* p;
    const T* operator()(int) const { return p; }
};

// The identity variance of the IdVar members: there are no weights to read.
struct NoWeights {
    const void* operator()(int) const { return nullptr; }
};
template <class W>
inline constexpr bool kWeighted = !std::is_same_v<W, NoWeights>;

// The accessors that the exported functions hand their kernels.
template <class T>
BlockRows<T> block(const T* p, int step) {
    return {p, step};
}
template <class T>
TableRows<T> table(const T** rows) {
    return {rows};
}
template <class T>
SameRow<T> same(const T* p) {
    return {p};
}

// The rows from row y on, as rows 0, 1, ...
template <class T>
BlockRows<T> rowsFrom(BlockRows<T> r, int y) {
    return {r(y), r.step};
}
template <class T>
TableRows<T> rowsFrom(TableRows<T> r, int y) {
    return {r.rows + y};
}

// Every row reads the same vector (or none), so a kernel may load it once
// for all the rows it handles together.
template <class A>
inline constexpr bool kShared = false;
template <class T>
inline constexpr bool kShared<SameRow<T>> = true;
template <>
inline constexpr bool kShared<NoWeights> = true;

}  // namespace zel::gauss
