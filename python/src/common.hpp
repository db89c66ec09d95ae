// SPDX-License-Identifier: Apache-2.0
// What the parts of the compiled module share: statuses as Python exceptions
// and warnings, and the checks that an array has the element type, shape and
// layout a C function reads, so that nothing is copied behind the caller's
// back and a wrong array is a clear exception instead of a bad read.
#pragma once

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <limits.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "zelcore.h"
#include "zelsr.h"

namespace py = pybind11;

namespace zelpy {

inline const char* statusName(int s) {
    switch (s) {
#define N(x) case x: return #x;
        N(zelStsNoErr) N(zelStsErr) N(zelStsBadArgErr) N(zelStsSizeErr) N(zelStsRangeErr) N(zelStsNullPtrErr)
        N(zelStsMemAllocErr) N(zelStsDivByZeroErr) N(zelStsFftOrderErr) N(zelStsFftFlagErr)
        N(zelStsContextMatchErr) N(zelStsStrideErr) N(zelStsSvdCnvgErr) N(zelStsCdbkFlagErr) N(zelStsNegOccErr)
        N(zelStsFBankFlagErr) N(zelStsMelFlagErr) N(zelStsMelFreqErr) N(zelStsLspRootErr) N(zelStsLspOrderErr)
        N(zelStsUnstableLpErr) N(zelStsLpcCalcErr) N(zelStsLengthRangeErr) N(zelStsCdbkKindErr)
        N(zelStsSqrtNegArg) N(zelStsSingularity) N(zelStsDivByZero) N(zelStsLnZeroArg) N(zelStsLnNegArg)
        N(zelStsResFloor) N(zelStsZeroOcc) N(zelStsCdbkSizeWarn)
#undef N
        default: return "zelStsUnknown";
    }
}

// A negative status raises zelsr.Error, a positive one a zelsr.StatusWarning
// (the Python side decides how both look).
inline void check(ZelStatus s, const char* where) {
    if (s == zelStsNoErr) return;
    py::module_::import("zelsr._status").attr("report")(int(s), statusName(s), where);
}

template <class T>
const char* typeName() {
    if constexpr (std::is_same_v<T, float>) return "float32";
    else if constexpr (std::is_same_v<T, double>) return "float64";
    else if constexpr (std::is_same_v<T, int16_t>) return "int16";
    else if constexpr (std::is_same_v<T, uint8_t>) return "uint8";
    else if constexpr (std::is_same_v<T, bool>) return "bool";
    else return "int32";
}

// The array as the C function reads it: the exact dtype, C-contiguous, of
// `ndim` dimensions and not empty.
template <class T>
py::array_t<T> need(const py::array& a, const char* name, int ndim) {
    if (!py::isinstance<py::array_t<T>>(a) || !a.dtype().is(py::dtype::of<T>()))
        throw py::type_error(std::string(name) + ": expected a numpy array of dtype " + typeName<T>() + ", got " +
                             std::string(py::str(a.dtype())));
    if (a.ndim() != ndim)
        throw py::value_error(std::string(name) + ": expected " + std::to_string(ndim) + " dimension(s), got " +
                              std::to_string(a.ndim()));
    if (!(a.flags() & py::array::c_style))
        throw py::value_error(std::string(name) + ": the array must be C-contiguous (use numpy.ascontiguousarray)");
    if (a.size() == 0) throw py::value_error(std::string(name) + ": the array is empty");
    if (a.size() > 0x7fffffff) throw py::value_error(std::string(name) + ": the array is too large");
    return py::reinterpret_borrow<py::array_t<T>>(a);
}

inline int dimOf(const py::array& a, int k) { return int(a.shape(k)); }

// A 1-D array of exactly n elements.
template <class T>
py::array_t<T> needLen(const py::array& a, const char* name, py::ssize_t n) {
    auto x = need<T>(a, name, 1);
    if (x.size() != n)
        throw py::value_error(std::string(name) + ": expected " + std::to_string(n) + " elements, got " +
                              std::to_string(x.size()));
    return x;
}

// An array the function writes in place: as need<T>, and writable.
template <class T>
py::array_t<T> needOut(const py::array& a, const char* name, int ndim) {
    auto x = need<T>(a, name, ndim);
    if (!x.writeable()) throw py::value_error(std::string(name) + ": the array is read-only");
    return x;
}

// The element types a dispatching binding tells apart.
enum class Dt { F32, F64, I16, I32, Other };

inline Dt dtOf(const py::array& a) {
    const py::dtype d = a.dtype();
    if (d.is(py::dtype::of<float>())) return Dt::F32;
    if (d.is(py::dtype::of<double>())) return Dt::F64;
    if (d.is(py::dtype::of<int16_t>())) return Dt::I16;
    if (d.is(py::dtype::of<int32_t>())) return Dt::I32;
    return Dt::Other;
}

// The element type of the first array, which the others must share.
inline Dt dispatch(const char* name, const py::array& a, const char* allowed) {
    const Dt d = dtOf(a);
    if (d == Dt::Other || (d == Dt::F32 && !strstr(allowed, "float32")) ||
        (d == Dt::F64 && !strstr(allowed, "float64")) || (d == Dt::I16 && !strstr(allowed, "int16")) ||
        (d == Dt::I32 && !strstr(allowed, "int32")))
        throw py::type_error(std::string(name) + ": expected a numpy array of dtype " + allowed + ", got " +
                             std::string(py::str(a.dtype())));
    return d;
}

// A new array of the given shape.
template <class T>
py::array_t<T> make(std::vector<py::ssize_t> shape) {
    return py::array_t<T>(shape);
}

// A new 1-D array holding a copy of x.
template <class T>
py::array_t<T> copyOf(const py::array_t<T>& x) {
    py::array_t<T> out(x.size());
    std::copy(x.data(), x.data() + x.size(), out.mutable_data());
    return out;
}

// An optional argument given as a Python object: an integer in the range of
// int, or a number.
inline int intArg(const py::object& o, const char* name) {
    if (!PyIndex_Check(o.ptr()))
        throw py::type_error(std::string(name) + ": expected an integer, got " +
                             std::string(py::str(o.get_type().attr("__name__"))));
    const Py_ssize_t v = PyNumber_AsSsize_t(o.ptr(), nullptr);
    if (PyErr_Occurred()) throw py::error_already_set();
    if (v < INT_MIN || v > INT_MAX) throw py::value_error(std::string(name) + ": out of the range of int");
    return int(v);
}
inline double floatArg(const py::object& o, const char* name) {
    const double v = PyFloat_AsDouble(o.ptr());
    if (v == -1.0 && PyErr_Occurred()) {
        PyErr_Clear();
        throw py::type_error(std::string(name) + ": expected a number, got " +
                             std::string(py::str(o.get_type().attr("__name__"))));
    }
    return v;
}

// An optional array argument that is not None.
inline py::array arrayArg(const py::object& o, const char* name) {
    if (!py::isinstance<py::array>(o))
        throw py::type_error(std::string(name) + ": expected a numpy array or None, got " +
                             std::string(py::str(o.get_type().attr("__name__"))));
    return py::reinterpret_borrow<py::array>(o);
}

void bindScoringEstimation(py::module_& m);
void bindAurora(py::module_& m);

}  // namespace zelpy
