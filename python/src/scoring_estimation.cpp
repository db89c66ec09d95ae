// SPDX-License-Identifier: Apache-2.0
// Gaussian and mixture scoring and model estimation. Each binding picks the
// C member from the dtype of its first array (float32, float64, or int16 for
// the scaled 16-bit forms) and requires the others to match it.
#include <math.h>

#include "common.hpp"

namespace zelpy {
namespace {

// The mean and variance rows of a model: means (rows, width), variances of
// the same shape or None for unit (identity) variances. A mixture's means
// and variances may also come as lists of 1-D rows, which the C function
// reads through tables of row pointers (its D2L members) without a copy.
template <class T>
struct Model {
    py::array_t<T> mean, var;
    std::vector<py::array_t<T>> meanList, varList;  // keep the rows alive
    std::vector<const T*> meanRows, varRows;
    bool idVar, table = false;
    int rows, width;
    Model(const py::object& m, const py::object& v, int ndim) {
        idVar = v.is_none();
        if (ndim == 2 && (py::isinstance<py::list>(m) || py::isinstance<py::tuple>(m))) {
            table = true;
            rowsOf(m, "mean", meanList, meanRows);
            if (!idVar) {
                if (!(py::isinstance<py::list>(v) || py::isinstance<py::tuple>(v)))
                    throw py::type_error("var: a list of rows, as mean is");
                rowsOf(v, "var", varList, varRows);
                if (varRows.size() != meanRows.size() || varList[0].size() != meanList[0].size())
                    throw py::value_error("var: must have the rows of mean");
            }
            rows = int(meanRows.size());
            width = int(meanList[0].size());
            return;
        }
        mean = need<T>(arrayArg(m, "mean"), "mean", ndim);
        if (!idVar) {
            var = need<T>(arrayArg(v, "var"), "var", ndim);
            for (int k = 0; k < ndim; ++k)
                if (var.shape(k) != mean.shape(k)) throw py::value_error("var: must have the shape of mean");
        }
        rows = ndim == 2 ? dimOf(mean, 0) : 1;
        width = dimOf(mean, ndim - 1);
    }
    static void rowsOf(const py::object& o, const char* name, std::vector<py::array_t<T>>& keep,
                       std::vector<const T*>& ptrs) {
        const py::sequence seq = py::reinterpret_borrow<py::sequence>(o);
        if (seq.size() == 0) throw py::value_error(std::string(name) + ": the list is empty");
        if (seq.size() > 0x7fffffff) throw py::value_error(std::string(name) + ": too many rows");
        for (const py::handle h : seq) {
            keep.push_back(need<T>(arrayArg(py::reinterpret_borrow<py::object>(h), name), name, 1));
            if (keep.back().size() != keep.front().size())
                throw py::value_error(std::string(name) + ": the rows differ in length");
            ptrs.push_back(keep.back().data());
        }
    }
};

// ---- Scoring ----------------------------------------------------------------

// The integer scores of int16 data (the 16s32s members).
py::array logGaussInt(const py::array& frames, const py::array& mean, const py::object& var, double val,
                      int scaleFactor, bool low) {
    auto x = need<int16_t>(frames, "frames", 2);
    Model<int16_t> g(mean, var, 1);
    const int h = dimOf(x, 0), w = dimOf(x, 1);
    if (g.width != w) throw py::value_error("mean: length must equal frames.shape[1]");
    if (!(val == floor(val) && val >= -2147483648.0 && val <= 2147483647.0))
        throw py::value_error("val: a 32-bit integer for int32 scores");
    const int32_t v = int32_t(val);
    py::array_t<int32_t> out(h);
    int32_t* o = out.mutable_data();
    const int16_t* m = g.mean.data();
    if (g.idVar)
        check(low ? zelsLogGauss_IdVarLow_16s32s_D2Sfs(x.data(), w, m, w, o, h, v, scaleFactor)
                  : zelsLogGauss_IdVar_16s32s_D2Sfs(x.data(), w, m, w, o, h, v, scaleFactor),
              "zelsLogGauss_IdVar_16s32s_D2Sfs");
    else
        check(low ? zelsLogGauss_Low_16s32s_D2Sfs(x.data(), w, m, g.var.data(), w, o, h, v, scaleFactor)
                  : zelsLogGauss_16s32s_D2Sfs(x.data(), w, m, g.var.data(), w, o, h, v, scaleFactor),
              "zelsLogGauss_16s32s_D2Sfs");
    return out;
}

py::array logGauss(const py::array& frames, const py::array& mean, const py::object& var, double val,
                   int scaleFactor, bool low, const std::string& outDtype) {
    const Dt d = dispatch("frames", frames, "float32, float64 or int16");
    if (outDtype != "float" && outDtype != "int32")
        throw py::value_error("out_dtype: 'float' or 'int32', got '" + outDtype + "'");
    if (outDtype == "int32") {
        if (d != Dt::I16) throw py::value_error("out_dtype: 'int32' scores are for int16 frames");
        return logGaussInt(frames, mean, var, val, scaleFactor, low);
    }
    auto run = [&](auto tag, auto call) {
        using T = decltype(tag);
        auto x = need<T>(frames, "frames", 2);
        Model<T> g(mean, var, 1);
        const int h = dimOf(x, 0), w = dimOf(x, 1);
        if (g.width != w) throw py::value_error("mean: length must equal frames.shape[1]");
        using Out = std::conditional_t<std::is_same_v<T, double>, double, float>;
        py::array_t<Out> out(h);
        check(call(x.data(), w, g, out.mutable_data(), h), "zelsLogGauss");
        return py::array(out);
    };
    if (d == Dt::F32)
        return run(float(), [&](const float* x, int w, Model<float>& g, float* o, int h) {
            return g.idVar ? zelsLogGauss_IdVar_32f_D2(x, w, g.mean.data(), w, o, h, float(val))
                           : zelsLogGauss_32f_D2(x, w, g.mean.data(), g.var.data(), w, o, h, float(val));
        });
    if (d == Dt::F64)
        return run(double(), [&](const double* x, int w, Model<double>& g, double* o, int h) {
            return g.idVar ? zelsLogGauss_IdVar_64f_D2(x, w, g.mean.data(), w, o, h, val)
                           : zelsLogGauss_64f_D2(x, w, g.mean.data(), g.var.data(), w, o, h, val);
        });
    return run(int16_t(), [&](const int16_t* x, int w, Model<int16_t>& g, float* o, int h) {
        const float v = float(val);
        if (g.idVar)
            return low ? zelsLogGauss_IdVarLowScaled_16s32f_D2(x, w, g.mean.data(), w, o, h, v, scaleFactor)
                       : zelsLogGauss_IdVarScaled_16s32f_D2(x, w, g.mean.data(), w, o, h, v, scaleFactor);
        return low ? zelsLogGauss_LowScaled_16s32f_D2(x, w, g.mean.data(), g.var.data(), w, o, h, v, scaleFactor)
                   : zelsLogGauss_Scaled_16s32f_D2(x, w, g.mean.data(), g.var.data(), w, o, h, v, scaleFactor);
    });
}

// One score per frame: frame is 1-D (a number comes back) or 2-D (one value
// per row).
py::object logGaussMixture(const py::array& frame, const py::object& mean, const py::object& var,
                           const py::array& vals, int scaleFactor, bool low) {
    const Dt d = dispatch("frame", frame, "float32, float64 or int16");
    auto run = [&](auto tag, auto valTag, auto call) -> py::object {
        using T = decltype(tag);
        using V = decltype(valTag);
        if (frame.ndim() != 1 && frame.ndim() != 2) throw py::value_error("frame: expected 1 or 2 dimensions");
        auto x = need<T>(frame, "frame", int(frame.ndim()));
        Model<T> g(mean, var, 2);
        auto v = needLen<V>(vals, "vals", g.rows);
        const int w = dimOf(x, int(x.ndim()) - 1), n = x.ndim() == 2 ? dimOf(x, 0) : 1;
        if (w != g.width) throw py::value_error("mean: rows must have the length of a frame");
        py::array_t<V> out(n);
        V* o = out.mutable_data();
        ZelStatus st = zelStsNoErr;
        {
            py::gil_scoped_release nogil;
            for (int t = 0; t < n && st >= 0; ++t) {
                ZelStatus s = call(x.data() + size_t(t) * w, g, v.data(), o + t);
                if (s != zelStsNoErr) st = s;
            }
        }
        check(st, "zelsLogGaussMixture");
        if (x.ndim() == 1) return py::cast(double(o[0]));
        return out;
    };
    if (d == Dt::F32)
        return run(float(), float(), [](const float* x, Model<float>& g, const float* v, float* o) {
            const int h = g.rows, w = g.width;
            if (g.table)
                return g.idVar ? zelsLogGaussMixture_IdVar_32f_D2L(x, g.meanRows.data(), h, w, v, o)
                               : zelsLogGaussMixture_32f_D2L(x, g.meanRows.data(), g.varRows.data(), h, w, v, o);
            return g.idVar ? zelsLogGaussMixture_IdVar_32f_D2(x, g.mean.data(), h, w, w, v, o)
                           : zelsLogGaussMixture_32f_D2(x, g.mean.data(), g.var.data(), h, w, w, v, o);
        });
    if (d == Dt::F64)
        return run(double(), double(), [](const double* x, Model<double>& g, const double* v, double* o) {
            const int h = g.rows, w = g.width;
            if (g.table)
                return g.idVar ? zelsLogGaussMixture_IdVar_64f_D2L(x, g.meanRows.data(), h, w, v, o)
                               : zelsLogGaussMixture_64f_D2L(x, g.meanRows.data(), g.varRows.data(), h, w, v, o);
            return g.idVar ? zelsLogGaussMixture_IdVar_64f_D2(x, g.mean.data(), h, w, w, v, o)
                           : zelsLogGaussMixture_64f_D2(x, g.mean.data(), g.var.data(), h, w, w, v, o);
        });
    return run(int16_t(), float(), [&](const int16_t* x, Model<int16_t>& g, const float* v, float* o) {
        const int h = g.rows, w = g.width, sf = scaleFactor;
        if (g.table) {
            const int16_t** mm = g.meanRows.data();
            const int16_t** mv = g.varRows.data();
            if (g.idVar)
                return low ? zelsLogGaussMixture_IdVarLowScaled_16s32f_D2L(x, mm, h, w, v, o, sf)
                           : zelsLogGaussMixture_IdVarScaled_16s32f_D2L(x, mm, h, w, v, o, sf);
            return low ? zelsLogGaussMixture_LowScaled_16s32f_D2L(x, mm, mv, h, w, v, o, sf)
                       : zelsLogGaussMixture_Scaled_16s32f_D2L(x, mm, mv, h, w, v, o, sf);
        }
        if (g.idVar)
            return low ? zelsLogGaussMixture_IdVarLowScaled_16s32f_D2(x, g.mean.data(), h, w, w, v, o, sf)
                       : zelsLogGaussMixture_IdVarScaled_16s32f_D2(x, g.mean.data(), h, w, w, v, o, sf);
        return low ? zelsLogGaussMixture_LowScaled_16s32f_D2(x, g.mean.data(), g.var.data(), h, w, w, v, o, sf)
                   : zelsLogGaussMixture_Scaled_16s32f_D2(x, g.mean.data(), g.var.data(), h, w, w, v, o, sf);
    });
}

// The Gaussians each frame selects, as a boolean (frames, gaussians) array,
// packed into the bit rows the C function reads (bit g under 0x80 >> g % 8).
py::array_t<float> logGaussMixtureSelect(const py::array& frames, const py::array& mean, const py::object& var,
                                         const py::array& vals, const py::array& select, float noneValue,
                                         int scaleFactor) {
    const Dt d = dispatch("frames", frames, "float32 or int16");
    auto sel = need<bool>(select, "select", 2);
    auto run = [&](auto tag, auto call) {
        using T = decltype(tag);
        auto x = need<T>(frames, "frames", 2);
        Model<T> g(mean, var, 2);
        auto v = needLen<float>(vals, "vals", g.rows);
        const int h = dimOf(x, 0), w = dimOf(x, 1);
        if (w != g.width) throw py::value_error("mean: rows must have the length of a frame");
        if (dimOf(sel, 0) != h || dimOf(sel, 1) != g.rows)
            throw py::value_error("select: expected shape (frames, gaussians)");
        const int rowBytes = (g.rows + 7) / 8;
        std::vector<uint8_t> bits(size_t(h) * rowBytes, 0);
        for (int t = 0; t < h; ++t)
            for (int k = 0; k < g.rows; ++k)
                if (sel.data()[size_t(t) * g.rows + k]) bits[size_t(t) * rowBytes + k / 8] |= uint8_t(0x80 >> (k % 8));
        py::array_t<float> out(h);
        ZelStatus st;
        {
            py::gil_scoped_release nogil;
            st = call(x.data(), w, g, v.data(), bits.data(), out.mutable_data(), h);
        }
        check(st, "zelsLogGaussMixture_Select");
        return out;
    };
    if (d == Dt::F32)
        return run(float(), [&](const float* x, int w, Model<float>& g, const float* v, const uint8_t* b, float* o,
                                int h) {
            return g.idVar
                       ? zelsLogGaussMixture_SelectIdVar_32f_D2(x, g.mean.data(), w, w, v, b, g.rows, o, h, noneValue)
                       : zelsLogGaussMixture_Select_32f_D2(x, g.mean.data(), g.var.data(), w, w, v, b, g.rows, o, h,
                                                           noneValue);
        });
    return run(int16_t(), [&](const int16_t* x, int w, Model<int16_t>& g, const float* v, const uint8_t* b, float* o,
                              int h) {
        return g.idVar ? zelsLogGaussMixture_SelectIdVarScaled_16s32f_D2(x, g.mean.data(), w, w, v, b, g.rows, o, h,
                                                                         noneValue, scaleFactor)
                       : zelsLogGaussMixture_SelectScaled_16s32f_D2(x, g.mean.data(), g.var.data(), w, w, v, b, g.rows,
                                                                    o, h, noneValue, scaleFactor);
    });
}

// ---- Estimation -------------------------------------------------------------

// Calls f(float()) or f(double()) after the dtype of `a`.
template <class F>
auto floating(const char* name, const py::array& a, F f) {
    return dispatch(name, a, "float32 or float64") == Dt::F32 ? f(float()) : f(double());
}

// Arrays of one length and one element type.
template <class T>
std::vector<py::array_t<T>> vectors(std::initializer_list<std::pair<const py::array*, const char*>> arrays) {
    std::vector<py::array_t<T>> out;
    py::ssize_t n = -1;
    for (auto& [a, name] : arrays) {
        out.push_back(n < 0 ? need<T>(*a, name, 1) : needLen<T>(*a, name, n));
        n = out.back().size();
    }
    return out;
}

void meanVarAcc(const py::array& frame, const py::array& mean, const py::array& meanAcc, const py::array& varAcc,
                double weight) {
    floating("frame", frame, [&](auto tag) {
        using T = decltype(tag);
        auto v = vectors<T>({{&frame, "frame"}, {&mean, "mean"}});
        auto ma = needOut<T>(meanAcc, "mean_acc", 1), va = needOut<T>(varAcc, "var_acc", 1);
        if (ma.size() != v[0].size() || va.size() != v[0].size())
            throw py::value_error("mean_acc and var_acc: must have the length of frame");
        const int n = int(v[0].size());
        if constexpr (std::is_same_v<T, float>)
            check(zelsMeanVarAcc_32f(v[0].data(), v[1].data(), ma.mutable_data(), va.mutable_data(), n, T(weight)),
                  "zelsMeanVarAcc_32f");
        else
            check(zelsMeanVarAcc_64f(v[0].data(), v[1].data(), ma.mutable_data(), va.mutable_data(), n, weight),
                  "zelsMeanVarAcc_64f");
        return 0;
    });
}

py::array updateMean(const py::array& mean, const py::array& acc, double occ) {
    return floating("mean", mean, [&](auto tag) {
        using T = decltype(tag);
        auto v = vectors<T>({{&mean, "mean"}, {&acc, "mean_acc"}});
        auto out = copyOf(v[0]);
        const int n = int(out.size());
        if constexpr (std::is_same_v<T, float>)
            check(zelsUpdateMean_32f(v[1].data(), out.mutable_data(), n, T(occ)), "zelsUpdateMean_32f");
        else
            check(zelsUpdateMean_64f(v[1].data(), out.mutable_data(), n, occ), "zelsUpdateMean_64f");
        return py::array(out);
    });
}

py::array updateVar(const py::array& meanAcc, const py::array& varAcc, const py::array& varFloor, double meanOcc,
                    double varOcc) {
    return floating("mean_acc", meanAcc, [&](auto tag) {
        using T = decltype(tag);
        auto v = vectors<T>({{&meanAcc, "mean_acc"}, {&varAcc, "var_acc"}, {&varFloor, "var_floor"}});
        auto out = copyOf(v[2]);
        const int n = int(out.size());
        if constexpr (std::is_same_v<T, float>)
            check(zelsUpdateVar_32f(v[0].data(), v[1].data(), v[2].data(), out.mutable_data(), n, T(meanOcc),
                                    T(varOcc)),
                  "zelsUpdateVar_32f");
        else
            check(zelsUpdateVar_64f(v[0].data(), v[1].data(), v[2].data(), out.mutable_data(), n, meanOcc, varOcc),
                  "zelsUpdateVar_64f");
        return py::array(out);
    });
}

py::tuple updateWeight(const py::array& acc, double occ, double floorV) {
    return floating("weight_acc", acc, [&](auto tag) {
        using T = decltype(tag);
        auto a = need<T>(acc, "weight_acc", 1);
        py::array_t<T> out(a.size());
        std::fill(out.mutable_data(), out.mutable_data() + out.size(), T(0));
        T sum = 0;
        const int n = int(a.size());
        if constexpr (std::is_same_v<T, float>)
            check(zelsUpdateWeight_32f(a.data(), out.mutable_data(), n, &sum, T(occ), T(floorV)),
                  "zelsUpdateWeight_32f");
        else
            check(zelsUpdateWeight_64f(a.data(), out.mutable_data(), n, &sum, occ, floorV), "zelsUpdateWeight_64f");
        return py::make_tuple(out, double(sum));
    });
}

double gconst(const py::array& var, bool directVar) {
    return floating("var", var, [&](auto tag) {
        using T = decltype(tag);
        auto v = need<T>(var, "var", 1);
        T det = 0;
        const int n = int(v.size());
        if constexpr (std::is_same_v<T, float>)
            check(directVar ? zelsUpdateGConst_DirectVar_32f(v.data(), n, &det) : zelsUpdateGConst_32f(v.data(), n, &det),
                  directVar ? "zelsUpdateGConst_DirectVar_32f" : "zelsUpdateGConst_32f");
        else
            check(directVar ? zelsUpdateGConst_DirectVar_64f(v.data(), n, &det) : zelsUpdateGConst_64f(v.data(), n, &det),
                  directVar ? "zelsUpdateGConst_DirectVar_64f" : "zelsUpdateGConst_64f");
        return double(det);
    });
}

py::array newVar(const py::array& mean, const py::array& sumSq, float val1, float val2, int scaleFactor) {
    if (dispatch("mean", mean, "float32 or int32") == Dt::F32) {
        auto v = vectors<float>({{&mean, "mean"}, {&sumSq, "sum_sq"}});
        py::array_t<float> out(v[0].size());
        check(zelsNewVar_32f(v[0].data(), v[1].data(), out.mutable_data(), int(out.size()), val1, val2),
              "zelsNewVar_32f");
        return out;
    }
    auto v = vectors<int32_t>({{&mean, "mean"}, {&sumSq, "sum_sq"}});
    py::array_t<int32_t> out(v[0].size());
    check(zelsNewVar_32s_Sfs(v[0].data(), v[1].data(), out.mutable_data(), int(out.size()), val1, val2, scaleFactor),
          "zelsNewVar_32s_Sfs");
    return out;
}

py::tuple sumMeanVar(const py::array& frames, const py::object& scaleFactor) {
    if (dispatch("frames", frames, "float32 or int16") == Dt::F32) {
        if (!scaleFactor.is_none()) throw py::value_error("scale_factor: only for int16 frames");
        auto x = need<float>(frames, "frames", 2);
        const int h = dimOf(x, 0), w = dimOf(x, 1);
        py::array_t<float> sum(w), sq(w);
        check(zelsSumMeanVar_32f(x.data(), w, h, sum.mutable_data(), sq.mutable_data(), w), "zelsSumMeanVar_32f");
        return py::make_tuple(sum, sq);
    }
    auto x = need<int16_t>(frames, "frames", 2);
    const int h = dimOf(x, 0), w = dimOf(x, 1);
    if (scaleFactor.is_none()) {
        py::array_t<float> sum(w), sq(w);
        check(zelsSumMeanVar_16s32f(x.data(), w, h, sum.mutable_data(), sq.mutable_data(), w), "zelsSumMeanVar_16s32f");
        return py::make_tuple(sum, sq);
    }
    py::array_t<int32_t> sum(w), sq(w);
    check(zelsSumMeanVar_16s32s_Sfs(x.data(), w, h, sum.mutable_data(), sq.mutable_data(), w, intArg(scaleFactor, "scale_factor")),
          "zelsSumMeanVar_16s32s_Sfs");
    return py::make_tuple(sum, sq);
}

py::array_t<double> accCovariance(const py::array& frames, const py::array& mean, const py::object& acc, double val) {
    const Dt d = dispatch("frames", frames, "float32 or int16");
    const int w = frames.ndim() == 2 ? int(frames.shape(1)) : 0;
    py::array_t<double> out;
    if (acc.is_none()) {
        out = py::array_t<double>({w, w});
        std::fill(out.mutable_data(), out.mutable_data() + out.size(), 0.0);
    } else {
        out = needOut<double>(arrayArg(acc, "acc"), "acc", 2);
        if (out.shape(0) != w || out.shape(1) != w) throw py::value_error("acc: expected shape (width, width)");
    }
    if (d == Dt::F32) {
        auto x = need<float>(frames, "frames", 2);
        auto m = needLen<float>(mean, "mean", w);
        check(zelsAccCovarianceMatrix_32f64f_D2(x.data(), w, dimOf(x, 0), m.data(), out.mutable_data(), w, w, val),
              "zelsAccCovarianceMatrix_32f64f_D2");
    } else {
        auto x = need<int16_t>(frames, "frames", 2);
        auto m = needLen<int16_t>(mean, "mean", w);
        check(zelsAccCovarianceMatrix_16s64f_D2(x.data(), w, dimOf(x, 0), m.data(), out.mutable_data(), w, w, val),
              "zelsAccCovarianceMatrix_16s64f_D2");
    }
    return out;
}

py::array weightedSum(const py::array& a, const py::array& b, double w1, double w2, bool half) {
    const Dt d = dispatch("a", a, "float32, float64 or int16");
    auto run = [&](auto tag, auto call) {
        using T = decltype(tag);
        auto v = vectors<T>({{&a, "a"}, {&b, "b"}});
        py::array_t<T> out(v[0].size());
        check(call(v[0].data(), v[1].data(), out.mutable_data(), int(out.size())),
              half ? "zelsWeightedSumHalf" : "zelsWeightedSum");
        return py::array(out);
    };
    const float f1 = float(w1), f2 = float(w2);
    if (d == Dt::F32)
        return run(float(), [&](const float* x, const float* y, float* o, int n) {
            return half ? zelsWeightedSumHalf_32f(x, y, o, n, f1, f2) : zelsWeightedSum_32f(x, y, o, n, f1, f2);
        });
    if (d == Dt::F64)
        return run(double(), [&](const double* x, const double* y, double* o, int n) {
            return half ? zelsWeightedSumHalf_64f(x, y, o, n, w1, w2) : zelsWeightedSum_64f(x, y, o, n, w1, w2);
        });
    return run(int16_t(), [&](const int16_t* x, const int16_t* y, int16_t* o, int n) {
        return half ? zelsWeightedSumHalf_16s(x, y, o, n, f1, f2) : zelsWeightedSum_16s(x, y, o, n, f1, f2);
    });
}

py::array scaleLM(const py::array& x, double floorV, double scale, double base) {
    if (dispatch("x", x, "float32 or int16") == Dt::F32) {
        auto a = need<float>(x, "x", 1);
        py::array_t<float> out(a.size());
        check(zelsScaleLM_32f(a.data(), out.mutable_data(), int(a.size()), float(floorV), float(scale), float(base)),
              "zelsScaleLM_32f");
        return out;
    }
    auto a = need<int16_t>(x, "x", 1);
    auto fits = [](double v, double lo, double hi) { return v == floor(v) && v >= lo && v <= hi; };
    if (!fits(floorV, -32768, 32767) || !fits(scale, -32768, 32767) || !fits(base, -2147483648.0, 2147483647.0))
        throw py::value_error("floor, scale: 16-bit integers and base: a 32-bit integer, for int16 x");
    py::array_t<int32_t> out(a.size());
    check(zelsScaleLM_16s32s(a.data(), out.mutable_data(), int(a.size()), int16_t(floorV), int16_t(scale),
                             int32_t(base)),
          "zelsScaleLM_16s32s");
    return out;
}

py::tuple gaussianSplit(const py::array& mean, const py::array& var, double val) {
    return floating("mean", mean, [&](auto tag) {
        using T = decltype(tag);
        auto v = vectors<T>({{&mean, "mean"}, {&var, "var"}});
        auto m1 = copyOf(v[0]);
        py::array_t<T> m2(m1.size()), v2(m1.size());
        const int n = int(m1.size());
        if constexpr (std::is_same_v<T, float>)
            check(zelsGaussianSplit_32f(m1.mutable_data(), v[1].data(), m2.mutable_data(), v2.mutable_data(), n, T(val)),
                  "zelsGaussianSplit_32f");
        else
            check(zelsGaussianSplit_64f(m1.mutable_data(), v[1].data(), m2.mutable_data(), v2.mutable_data(), n, val),
                  "zelsGaussianSplit_64f");
        return py::make_tuple(m1, m2, v2);
    });
}

py::tuple gaussianMerge(const py::array& m1, const py::array& v1, const py::array& m2, const py::array& v2, double w1,
                        double w2) {
    return floating("mean1", m1, [&](auto tag) {
        using T = decltype(tag);
        auto v = vectors<T>({{&m1, "mean1"}, {&v1, "var1"}, {&m2, "mean2"}, {&v2, "var2"}});
        const int n = int(v[0].size());
        py::array_t<T> mean(n), var(n);
        T det = 0;
        if constexpr (std::is_same_v<T, float>)
            check(zelsGaussianMerge_32f(v[0].data(), v[1].data(), v[2].data(), v[3].data(), mean.mutable_data(),
                                        var.mutable_data(), n, &det, T(w1), T(w2)),
                  "zelsGaussianMerge_32f");
        else
            check(zelsGaussianMerge_64f(v[0].data(), v[1].data(), v[2].data(), v[3].data(), mean.mutable_data(),
                                        var.mutable_data(), n, &det, w1, w2),
                  "zelsGaussianMerge_64f");
        return py::make_tuple(mean, var, double(det));
    });
}

double gaussianDist(const py::array& m1, const py::array& v1, const py::array& m2, const py::array& v2, double w1,
                    double det1, double w2, double det2) {
    return floating("mean1", m1, [&](auto tag) {
        using T = decltype(tag);
        auto v = vectors<T>({{&m1, "mean1"}, {&v1, "var1"}, {&m2, "mean2"}, {&v2, "var2"}});
        const int n = int(v[0].size());
        T r = 0;
        if constexpr (std::is_same_v<T, float>)
            check(zelsGaussianDist_32f(v[0].data(), v[1].data(), v[2].data(), v[3].data(), n, &r, T(w1), T(det1),
                                       T(w2), T(det2)),
                  "zelsGaussianDist_32f");
        else
            check(zelsGaussianDist_64f(v[0].data(), v[1].data(), v[2].data(), v[3].data(), n, &r, w1, det1, w2, det2),
                  "zelsGaussianDist_64f");
        return double(r);
    });
}

double bhatDist(const py::array& m1, const py::array& v1, const py::array& m2, const py::array& v2,
                const py::object& sumLog1, const py::object& sumLog2, bool dbl) {
    auto v = vectors<float>({{&m1, "mean1"}, {&v1, "var1"}, {&m2, "mean2"}, {&v2, "var2"}});
    const int n = int(v[0].size());
    if (sumLog1.is_none() != sumLog2.is_none()) throw py::value_error("sum_log1 and sum_log2: give both or neither");
    const bool slog = !sumLog1.is_none();
    const float s1 = slog ? float(floatArg(sumLog1, "sum_log1")) : 0.0f,
                s2 = slog ? float(floatArg(sumLog2, "sum_log2")) : 0.0f;
    const float *a = v[0].data(), *b = v[1].data(), *c = v[2].data(), *e = v[3].data();
    if (dbl) {
        double r = 0;
        check(slog ? zelsBhatDistSLog_32f64f(a, b, c, e, n, &r, s1, s2) : zelsBhatDist_32f64f(a, b, c, e, n, &r),
              slog ? "zelsBhatDistSLog_32f64f" : "zelsBhatDist_32f64f");
        return r;
    }
    float r = 0;
    check(slog ? zelsBhatDistSLog_32f(a, b, c, e, n, &r, s1, s2) : zelsBhatDist_32f(a, b, c, e, n, &r),
          slog ? "zelsBhatDistSLog_32f" : "zelsBhatDist_32f");
    return r;
}

py::tuple clusterAccumulate(const py::array& mean, const py::array& var, double occ, bool directVar) {
    return floating("mean", mean, [&](auto tag) {
        using T = decltype(tag);
        auto v = vectors<T>({{&mean, "mean"}, {&var, "var"}});
        const int n = int(v[0].size());
        py::array_t<T> sum(n), sqr(n);
        T *s = sum.mutable_data(), *q = sqr.mutable_data();
        if constexpr (std::is_same_v<T, float>)
            check(directVar ? zelsDcsClustLAccumulate_DirectVar_32f(v[0].data(), v[1].data(), s, q, n, T(occ))
                            : zelsDcsClustLAccumulate_32f(v[0].data(), v[1].data(), s, q, n, T(occ)),
                  "zelsDcsClustLAccumulate_32f");
        else
            check(directVar ? zelsDcsClustLAccumulate_DirectVar_64f(v[0].data(), v[1].data(), s, q, n, occ)
                            : zelsDcsClustLAccumulate_64f(v[0].data(), v[1].data(), s, q, n, occ),
                  "zelsDcsClustLAccumulate_64f");
        return py::make_tuple(sum, sqr);
    });
}

double clusterLikelihood(const py::array& sum, const py::array& sqr, double occ) {
    return floating("sum", sum, [&](auto tag) {
        using T = decltype(tag);
        auto v = vectors<T>({{&sum, "sum"}, {&sqr, "sqr"}});
        double r = 0;
        if constexpr (std::is_same_v<T, float>)
            check(zelsDcsClustLCompute_32f64f(v[0].data(), v[1].data(), int(v[0].size()), &r, T(occ)),
                  "zelsDcsClustLCompute_32f64f");
        else
            check(zelsDcsClustLCompute_64f(v[0].data(), v[1].data(), int(v[0].size()), &r, occ),
                  "zelsDcsClustLCompute_64f");
        return r;
    });
}

}  // namespace

void bindScoringEstimation(py::module_& m) {
    using namespace pybind11::literals;
    m.def("log_gauss", &logGauss, "frames"_a, "mean"_a, "var"_a = py::none(), "val"_a = 0.0, "scale_factor"_a = 0,
          "low"_a = false, "out_dtype"_a = "float",
          "Diagonal Gaussian log score of each row of frames: val - sum (x - mean)^2 * var / 2, var holding the "
          "inverse variances (None: all 1). float32 and float64 frames score in their type (zelsLogGauss_32f_D2, "
          "_64f_D2, IdVar); int16 frames, mean and var give float32 scores scaled by 2^-scale_factor "
          "(zelsLogGauss_Scaled_16s32f_D2; low: the LowScaled form), or with out_dtype 'int32' int32 scores with "
          "scaleFactor + 1 fractional bits and an integer val (zelsLogGauss_16s32s_D2Sfs, Low, IdVar, IdVarLow).");
    m.def("log_gauss_mixture", &logGaussMixture, "frame"_a, "mean"_a, "var"_a, "vals"_a, "scale_factor"_a = 0,
          "low"_a = false,
          "log sum over the Gaussians g of exp(vals[g] - S_g / 2) for a frame (1-D: a number) or each row of "
          "frames (2-D: an array); mean and var are (gaussians, width) arrays, or lists of 1-D rows read in "
          "place (the D2L members, which fold the scores their own way), var the inverse variances or None; vals "
          "the constant terms with the weights (zelsLogGaussMixture_32f_D2, _64f_D2, IdVar, Scaled_16s32f, "
          "LowScaled_16s32f; vals is float32 for int16 frames).");
    m.def("log_gauss_mixture_select", &logGaussMixtureSelect, "frames"_a, "mean"_a, "var"_a, "vals"_a, "select"_a,
          "none_value"_a = -INFINITY, "scale_factor"_a = 0,
          "Mixture score of each row of frames over the Gaussians its row of the boolean (frames, gaussians) array "
          "select marks; none_value where it marks none (zelsLogGaussMixture_Select_32f_D2, SelectIdVar, "
          "SelectScaled_16s32f for int16).");
    m.def("mean_var_acc", &meanVarAcc, "frame"_a, "mean"_a, "mean_acc"_a, "var_acc"_a, "weight"_a,
          "Adds a frame of posterior weight to the accumulators, in place: d = frame - mean, mean_acc += d * weight, "
          "var_acc += d * d * weight (zelsMeanVarAcc_32f / _64f).");
    m.def("update_mean", &updateMean, "mean"_a, "mean_acc"_a, "occ"_a,
          "mean + mean_acc / occ, as a new array (zelsUpdateMean_32f / _64f); occ 0 warns and returns mean.");
    m.def("update_var", &updateVar, "mean_acc"_a, "var_acc"_a, "var_floor"_a, "mean_occ"_a, "var_occ"_a,
          "var_acc / var_occ - (mean_acc / mean_occ)^2, floored by var_floor, as a new array (zelsUpdateVar_32f / "
          "_64f); a zero count warns and returns the floor.");
    m.def("update_weight", &updateWeight, "weight_acc"_a, "occ"_a, "floor"_a,
          "(weights, their sum): weight_acc / occ floored (zelsUpdateWeight_32f / _64f); occ 0 warns and gives "
          "zeros.");
    m.def("gconst", &gconst, "var"_a, "direct_var"_a = false,
          "Normalising term of a diagonal Gaussian, len * ln(2 pi) -+ sum ln var (zelsUpdateGConst_32f / _64f); "
          "var holds inverse variances unless direct_var.");
    m.def("new_var", &newVar, "mean"_a, "sum_sq"_a, "val1"_a, "val2"_a, "scale_factor"_a = 0,
          "(sum_sq - mean^2 * val1) * val2, as a new array: float32 (zelsNewVar_32f) or int32 with scale_factor "
          "(zelsNewVar_32s_Sfs).");
    m.def("sum_mean_var", &sumMeanVar, "frames"_a, "scale_factor"_a = py::none(),
          "(column sums, column sums of squares) of float32 or int16 frames as float32 (zelsSumMeanVar_32f, "
          "_16s32f), or as int32 for int16 frames with a scale_factor (zelsSumMeanVar_16s32s_Sfs).");
    m.def("acc_covariance", &accCovariance, "frames"_a, "mean"_a, "acc"_a = py::none(), "val"_a = 1.0,
          "Scatter of the rows of float32 or int16 frames around mean, added to acc (float64, width x width, in "
          "place; None: a new zero matrix) and then scaled by val (zelsAccCovarianceMatrix_32f64f_D2, 16s64f_D2).");
    m.def("weighted_sum", &weightedSum, "a"_a, "b"_a, "weight1"_a, "weight2"_a, "half"_a = false,
          "(a * weight1 + b * weight2) / (weight1 + weight2), or with half (a + b * weight2) / (weight1 + weight2), "
          "in the dtype of a: float32, float64 or int16 (zelsWeightedSum_*, zelsWeightedSumHalf_*).");
    m.def("scale_lm", &scaleLM, "x"_a, "floor"_a, "scale"_a, "base"_a,
          "max(x, floor) * scale + base: float32 (zelsScaleLM_32f), or int16 x to int32 with integer floor, scale "
          "and base (zelsScaleLM_16s32s).");
    m.def("gaussian_split", &gaussianSplit, "mean"_a, "var"_a, "val"_a,
          "(mean + e, mean - e, var) with e = val * sqrt(var) (zelsGaussianSplit_32f / _64f).");
    m.def("gaussian_merge", &gaussianMerge, "mean1"_a, "var1"_a, "mean2"_a, "var2"_a, "weight1"_a, "weight2"_a,
          "(mean, var, det) of two weighted Gaussians merged by moments (zelsGaussianMerge_32f / _64f).");
    m.def("gaussian_dist", &gaussianDist, "mean1"_a, "var1"_a, "mean2"_a, "var2"_a, "weight1"_a, "det1"_a,
          "weight2"_a, "det2"_a, "Likelihood cost of merging two Gaussians (zelsGaussianDist_32f / _64f).");
    m.def("bhat_dist", &bhatDist, "mean1"_a, "var1"_a, "mean2"_a, "var2"_a, "sum_log1"_a = py::none(),
          "sum_log2"_a = py::none(), "double"_a = false,
          "Bhattacharyya distance of two float32 diagonal Gaussians (zelsBhatDist_32f; double: _32f64f; with the "
          "sums of the log variances given: the SLog forms).");
    m.def("cluster_accumulate", &clusterAccumulate, "mean"_a, "var"_a, "occ"_a, "direct_var"_a = false,
          "(mean * occ, (1 / var + mean^2) * occ) of a Gaussian, or with direct_var (var + mean^2) * occ "
          "(zelsDcsClustLAccumulate_32f / _64f).");
    m.def("cluster_likelihood", &clusterLikelihood, "sum"_a, "sqr"_a, "occ"_a,
          "Log-likelihood of a cluster from its summed statistics (zelsDcsClustLCompute_64f, _32f64f).");
}

}  // namespace zelpy
