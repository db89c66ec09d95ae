// SPDX-License-Identifier: Apache-2.0
// The compiled half of the zelsr Python package: numpy arrays in and out of
// the C interface. Arrays must already have the element type, shape and
// C-contiguous layout a function reads, so that nothing is copied or
// converted behind the caller's back; anything else is a clear exception.
#include <mutex>
#include <string>
#include <vector>

#include <math.h>

#include "common.hpp"

using namespace zelpy;

namespace {


// ---- Feature extractor --------------------------------------------------------

// One extractor may be shared by Python threads: the C calls run without
// the interpreter's lock, one at a time under the extractor's own mutex,
// which is only ever taken with the interpreter's lock released.
struct Extractor {
    ZelFeatureState* s = nullptr;
    int dim = 0;
    std::mutex busy;
    explicit Extractor(const ZelFeatureConfig& c) {
        check(zelsrFeatureInitAlloc(&s, &c), "zelsrFeatureInitAlloc");
        zelsrFeatureGetDim(s, &dim);
    }
    ~Extractor() {
        if (s) zelsrFeatureFree(s);
    }
    template <class F>
    ZelStatus locked(F f) {
        py::gil_scoped_release nogil;
        std::lock_guard<std::mutex> hold(busy);
        return f();
    }
    // Accepts the samples and, with `last`, ends the utterance.
    void accept(const py::array& x, bool last = false) {
        ZelStatus st = zelStsNoErr, endSt = zelStsNoErr;
        const char* where;
        if (x.dtype().is(py::dtype::of<int16_t>())) {
            auto a = need<int16_t>(x, "samples", 1);
            where = "zelsrFeatureAccept_16s";
            st = locked([&] {
                ZelStatus r = zelsrFeatureAccept_16s(s, a.data(), int(a.size()));
                if (last && r >= 0) endSt = zelsrFeatureFlush(s);
                return r;
            });
        } else {
            if (!x.dtype().is(py::dtype::of<float>()))
                throw py::type_error("samples: expected a numpy array of dtype int16 or float32, got " +
                                     std::string(py::str(x.dtype())));
            auto a = need<float>(x, "samples", 1);
            where = "zelsrFeatureAccept_32f";
            st = locked([&] {
                ZelStatus r = zelsrFeatureAccept_32f(s, a.data(), int(a.size()));
                if (last && r >= 0) endSt = zelsrFeatureFlush(s);
                return r;
            });
        }
        check(st, where);
        check(endSt, "zelsrFeatureFlush");
    }
    void flush() { check(locked([&] { return zelsrFeatureFlush(s); }), "zelsrFeatureFlush"); }
    void reset() { check(locked([&] { return zelsrFeatureReset(s); }), "zelsrFeatureReset"); }
    // The frames of a whole utterance.
    py::array_t<float> compute(const py::array& x) {
        accept(x, true);
        return read();
    }
    py::array_t<float> read() {
        int n = 0, got = 0;
        check(locked([&] { return zelsrFeatureGetReady(s, &n); }), "zelsrFeatureGetReady");
        py::array_t<float> out({n, dim});
        if (n == 0) return out;
        float* dst = out.mutable_data();
        check(locked([&] { return zelsrFeatureRead(s, dst, dim, n, &got); }), "zelsrFeatureRead");
        // Another thread may have read some of them in between.
        if (got < n) return py::array_t<float>(out[py::slice(0, got, 1)]);
        return out;
    }
};

int checkConfig(const ZelFeatureConfig& c) {
    int field = -1;
    check(zelsrFeatureCheckConfig(&c, &field), "zelsrFeatureCheckConfig");
    return field;
}

// ---- Primitives -----------------------------------------------------------------

// Integers of the 16-bit forms: a value the C argument type holds.
int16_t as16(double v, const char* name) {
    if (!(v == floor(v) && v >= -32768 && v <= 32767))
        throw py::value_error(std::string(name) + ": a 16-bit integer for int16 data, got " + std::to_string(v));
    return int16_t(v);
}

py::array logAdd(const py::array& a, const py::array& b, int scaleFactor) {
    const Dt d = dispatch("a", a, "float32, float64, int16 or int32");
    auto run = [&](auto tag, auto call, const char* where) {
        using T = decltype(tag);
        auto x = need<T>(a, "a", 1), y = need<T>(b, "b", 1);
        if (x.size() != y.size()) throw py::value_error("a and b: lengths differ");
        auto out = copyOf(y);
        check(call(x.data(), out.mutable_data(), int(x.size())), where);
        return py::array(out);
    };
    const ZelHintAlgorithm hint = zelAlgHintAccurate;
    if (d == Dt::F32)
        return run(float(), [&](const float* x, float* y, int n) { return zelsLogAdd_32f(x, y, n, hint); },
                   "zelsLogAdd_32f");
    if (d == Dt::F64)
        return run(double(), [&](const double* x, double* y, int n) { return zelsLogAdd_64f(x, y, n, hint); },
                   "zelsLogAdd_64f");
    if (d == Dt::I16)
        return run(int16_t(), [&](const int16_t* x, int16_t* y, int n) {
            return zelsLogAdd_16s_Sfs(x, y, n, scaleFactor, hint);
        }, "zelsLogAdd_16s_Sfs");
    return run(int32_t(), [&](const int32_t* x, int32_t* y, int n) {
        return zelsLogAdd_32s_Sfs(x, y, n, scaleFactor, hint);
    }, "zelsLogAdd_32s_Sfs");
}

py::object logSum(const py::array& a, int scaleFactor) {
    const Dt d = dispatch("a", a, "float32, float64, int16 or int32");
    const ZelHintAlgorithm hint = zelAlgHintAccurate;
    if (d == Dt::F64) {
        auto x = need<double>(a, "a", 1);
        double r = 0;
        check(zelsLogSum_64f(x.data(), &r, int(x.size()), hint), "zelsLogSum_64f");
        return py::float_(r);
    }
    if (d == Dt::F32) {
        auto x = need<float>(a, "a", 1);
        float r = 0;
        check(zelsLogSum_32f(x.data(), &r, int(x.size()), hint), "zelsLogSum_32f");
        return py::float_(r);
    }
    if (d == Dt::I16) {
        auto x = need<int16_t>(a, "a", 1);
        int16_t r = 0;
        check(zelsLogSum_16s_Sfs(x.data(), &r, int(x.size()), scaleFactor, hint), "zelsLogSum_16s_Sfs");
        return py::int_(r);
    }
    auto x = need<int32_t>(a, "a", 1);
    int32_t r = 0;
    check(zelsLogSum_32s_Sfs(x.data(), &r, int(x.size()), scaleFactor, hint), "zelsLogSum_32s_Sfs");
    return py::int_(r);
}

bool int16Type(const std::string& dtype) {
    if (dtype != "float32" && dtype != "int16") throw py::value_error("dtype: 'float32' or 'int16', got '" + dtype + "'");
    return dtype == "int16";
}

struct MelBank {
    ZelFBankState_32f* b = nullptr;
    ZelFBankState_16s* b16 = nullptr;
    int nFilter = 0, fftLen = 0;
    bool magnitude = false;
    MelBank(int fftSize, float sampleRate, float lowFreq, float highFreq, int numFilters, bool magnitudeInput,
            const std::string& dtype) {
        int order = 0;
        const int mode = zelFBankMelWeights | (magnitudeInput ? zelFBankMagnitudeInput : 0);
        if (int16Type(dtype))
            check(zelsMelFBankInitAlloc_16s(&b16, &order, fftSize, sampleRate, lowFreq, highFreq, numFilters, 1127.0f,
                                            700.0f, mode),
                  "zelsMelFBankInitAlloc_16s");
        else
            check(zelsMelFBankInitAlloc_32f(&b, &order, fftSize, sampleRate, lowFreq, highFreq, numFilters, 1127.0f,
                                            700.0f, mode),
                  "zelsMelFBankInitAlloc_32f");
        nFilter = numFilters;
        fftLen = 1 << order;
        magnitude = magnitudeInput;
    }
    ~MelBank() {
        if (b) zelsFBankFree_32f(b);
        if (b16) zelsFBankFree_16s(b16);
    }
    py::array eval(const py::array& a, int scaleFactor, bool wide) {
        const int want = magnitude ? fftLen : fftLen / 2 + 1;
        if (b) {
            auto x = needLen<float>(a, "spectrum", want);
            py::array_t<float> out(nFilter);
            check(zelsEvalFBank_32f(x.data(), out.mutable_data(), b), "zelsEvalFBank_32f");
            return out;
        }
        auto x = needLen<int16_t>(a, "spectrum", want);
        if (wide) {
            py::array_t<int32_t> out(nFilter);
            check(zelsEvalFBank_16s32s_Sfs(x.data(), out.mutable_data(), b16, scaleFactor), "zelsEvalFBank_16s32s_Sfs");
            return out;
        }
        py::array_t<int16_t> out(nFilter);
        check(zelsEvalFBank_16s_Sfs(x.data(), out.mutable_data(), b16, scaleFactor), "zelsEvalFBank_16s_Sfs");
        return out;
    }
};

struct Lifter {
    ZelDCTLifterState_32f* s = nullptr;
    ZelDCTLifterState_16s* s16 = nullptr;
    int lenDCT, lenCepstrum, c0;
    Lifter(int lenDCT_, int lenCepstrum_, int nLifter, bool withC0, const std::string& dtype)
        : lenDCT(lenDCT_), lenCepstrum(lenCepstrum_), c0(withC0) {
        if (int16Type(dtype))
            check(withC0 ? zelsDCTLifterInitAlloc_C0_16s(&s16, lenDCT, lenCepstrum, nLifter, 1.0f, 1.0f)
                         : zelsDCTLifterInitAlloc_16s(&s16, lenDCT, lenCepstrum, nLifter, 1.0f),
                  "zelsDCTLifterInitAlloc_16s");
        else
            check(withC0 ? zelsDCTLifterInitAlloc_C0_32f(&s, lenDCT, lenCepstrum, nLifter, 1.0f, 1.0f)
                         : zelsDCTLifterInitAlloc_32f(&s, lenDCT, lenCepstrum, nLifter, 1.0f),
                  "zelsDCTLifterInitAlloc_32f");
    }
    ~Lifter() {
        if (s) zelsDCTLifterFree_32f(s);
        if (s16) zelsDCTLifterFree_16s(s16);
    }
    template <class T, class F>
    py::array rows(const py::array& a, F call, const char* where) {
        auto x = need<T>(a, "log_energies", 2);
        if (dimOf(x, 1) != lenDCT) throw py::value_error("log_energies: expected " + std::to_string(lenDCT) + " columns");
        const int h = dimOf(x, 0), w = lenCepstrum + c0;
        py::array_t<T> out({h, w});
        ZelStatus st = zelStsNoErr;
        {
            py::gil_scoped_release nogil;
            for (int t = 0; t < h && st >= 0; ++t) {
                ZelStatus r = call(x.data() + size_t(t) * lenDCT, out.mutable_data() + size_t(t) * w);
                if (r != zelStsNoErr) st = r;
            }
        }
        check(st, where);
        return out;
    }
    py::array apply(const py::array& a, int scaleFactor) {
        if (s) {
            if (dtOf(a) != Dt::F32) dispatch("log_energies", a, "float32");
            return rows<float>(a, [&](const float* x, float* y) { return zelsDCTLifter_32f(x, y, s); },
                               "zelsDCTLifter_32f");
        }
        if (dtOf(a) != Dt::I16) dispatch("log_energies", a, "int16");
        return rows<int16_t>(a, [&](const int16_t* x, int16_t* y) { return zelsDCTLifter_16s_Sfs(x, y, s16, scaleFactor); },
                             "zelsDCTLifter_16s_Sfs");
    }
};

py::array deltas(const py::array& a, int order, double scale, int scaleFactor) {
    const Dt d = dispatch("frames", a, "float32 or int16");
    if (order != 1 && order != 2) throw py::value_error("order: 1 or 2");
    const int hist = order == 2 ? 6 : 4;
    if (a.ndim() == 2 && a.shape(0) < hist) throw py::value_error("frames: at least " + std::to_string(hist) + " rows");
    const int mode = zelBeginStream | zelEndStream;
    if (d == Dt::F32) {
        auto x = need<float>(a, "frames", 2);
        const int h = dimOf(x, 0), w = dimOf(x, 1);
        py::array_t<float> out({h, w * (1 + order)});
        const float sc = float(scale);
        check(order == 2 ? zelsDeltaDelta_Win2_32f_D2(x.data(), w, out.mutable_data(), w * 3, h, sc, sc, mode)
                         : zelsDelta_Win2_32f_D2(x.data(), w, out.mutable_data(), w * 2, h, sc, mode),
              order == 2 ? "zelsDeltaDelta_Win2_32f_D2" : "zelsDelta_Win2_32f_D2");
        return out;
    }
    auto x = need<int16_t>(a, "frames", 2);
    const int h = dimOf(x, 0), w = dimOf(x, 1);
    const int16_t sc = as16(scale, "scale");
    py::array_t<int16_t> out({h, w * (1 + order)});
    check(order == 2 ? zelsDeltaDelta_Win2_16s_D2Sfs(x.data(), w, out.mutable_data(), w * 3, h, sc, sc, mode, scaleFactor)
                     : zelsDelta_Win2_16s_D2Sfs(x.data(), w, out.mutable_data(), w * 2, h, sc, mode, scaleFactor),
          order == 2 ? "zelsDeltaDelta_Win2_16s_D2Sfs" : "zelsDelta_Win2_16s_D2Sfs");
    return out;
}

py::array_t<float> lpc(const py::array& frame, int order) {
    auto x = need<float>(frame, "frame", 1);
    if (order < 1 || order >= x.size()) throw py::value_error("order: 1 to len(frame) - 1");
    py::array_t<float> out(order);
    check(zelsLinearPrediction_Auto_32f(x.data(), int(x.size()), out.mutable_data(), order),
          "zelsLinearPrediction_Auto_32f");
    return out;
}

py::tuple svd(const py::array& a, int nIter) {
    auto x = need<double>(a, "matrix", 2);
    const int h = dimOf(x, 0), w = dimOf(x, 1);
    py::array_t<double> u({h, w}), s(w), v({w, w});
    check(zelsSVDSort_64f_D2(x.data(), u.mutable_data(), h, s.mutable_data(), v.mutable_data(), w, w, nIter),
          "zelsSVDSort_64f_D2");
    return py::make_tuple(u, s, v);
}

float dtw(const py::array& a, const py::array& b, int delta, float beam) {
    auto x = need<float>(a, "a", 2), y = need<float>(b, "b", 2);
    if (dimOf(x, 1) != dimOf(y, 1)) throw py::value_error("a and b: widths differ");
    const int w = dimOf(x, 1);
    float d = 0;
    check(zelsDTW_L2_32f_D2(x.data(), dimOf(x, 0), y.data(), dimOf(y, 0), w, w, &d, delta, beam), "zelsDTW_L2_32f_D2");
    return d;
}

py::tuple lpToLsp(const py::array& lp, int nInt, int nDiv) {
    auto a = need<float>(lp, "lp", 1);
    py::array_t<float> out(a.size());
    int roots = 0;
    check(zelsLPToLSP_32f(a.data(), out.mutable_data(), int(a.size()), &roots, nInt, nDiv), "zelsLPToLSP_32f");
    return py::make_tuple(out, roots);
}

struct Codebook {
    ZelCdbkState_32f* cb = nullptr;
    int width = 0;
    Codebook(const py::array& vectors, int size, int hint) {
        auto v = need<float>(vectors, "vectors", 2);
        width = dimOf(v, 1);
        check(zelsCdbkInitAlloc_L2_32f(&cb, v.data(), width, width, dimOf(v, 0), size, hint),
              "zelsCdbkInitAlloc_L2_32f");
    }
    ~Codebook() {
        if (cb) zelsCdbkFree_32f(cb);
    }
    int size() const {
        int n = 0;
        check(zelsGetCdbkSize_32f(cb, &n), "zelsGetCdbkSize_32f");
        return n;
    }
    py::array_t<int32_t> search(const py::array& frames) {
        auto x = need<float>(frames, "frames", 2);
        if (dimOf(x, 1) != width) throw py::value_error("frames: expected " + std::to_string(width) + " columns");
        py::array_t<int32_t> out(dimOf(x, 0));
        check(zelsVQ_32f(x.data(), width, out.mutable_data(), dimOf(x, 0), cb), "zelsVQ_32f");
        return out;
    }
};

py::array_t<float> resample(const py::array& signal, int inRate, int outRate, int filterLen, float rollf,
                            float alpha) {
    auto x = need<float>(signal, "signal", 1);
    ZelResamplingPolyphaseFixed* resampler = nullptr;
    check(zelsResamplePolyphaseFixedInitAlloc_32f(&resampler, inRate, outRate, filterLen, rollf, alpha, zelAlgHintAccurate),
          "zelsResamplePolyphaseFixedInitAlloc_32f");
    // The filter reads halfLen samples on either side of each output: silence
    // beyond both ends of the signal.
    const int64_t half = (int64_t(filterLen) + 3) / 4 * 2, n = x.size();
    std::vector<float> padded(size_t(n + 2 * half + 1), 0.0f);
    std::copy(x.data(), x.data() + n, padded.begin() + half);
    std::vector<float> out(size_t(n * int64_t(outRate) / inRate + 2));
    double time = double(half);
    int outLen = 0;
    ZelStatus st = zelsResamplePolyphaseFixed_32f(resampler, padded.data(), int(n), out.data(), 1.0f, &time, &outLen);
    zelsResamplePolyphaseFixedFree_32f(resampler);
    check(st, "zelsResamplePolyphaseFixed_32f");
    return py::array_t<float>(outLen, out.data());
}

// The MCRA state lives in one block from zelMalloc that never moves, as
// the estimator requires.
struct NoiseEstimator {
    ZelMCRAState* st = nullptr;
    int bins = 0;
    std::vector<float> noise;
    NoiseEstimator(int sampleRate, int fftLen, int hop) {
        int size = 0;
        check(zelsGetSizeMCRA_32f(fftLen, &size), "zelsGetSizeMCRA_32f");
        st = static_cast<ZelMCRAState*>(zelMalloc(size_t(size)));
        if (!st) throw std::bad_alloc();
        ZelStatus s = hop > 0 ? zelsAltInitMCRA_32f(sampleRate, fftLen, hop, st) : zelsInitMCRA_32f(sampleRate, fftLen, st);
        if (s < 0) {
            zelFree(st);
            st = nullptr;
        }
        check(s, hop > 0 ? "zelsAltInitMCRA_32f" : "zelsInitMCRA_32f");
        bins = fftLen / 2 + 1;
        noise.assign(size_t(bins), 0.0f);
    }
    ~NoiseEstimator() { zelFree(st); }
    py::array_t<float> update(const py::array& power) {
        auto p = need<float>(power, "power", 2);
        if (dimOf(p, 1) != bins) throw py::value_error("power: expected " + std::to_string(bins) + " columns");
        const int h = dimOf(p, 0);
        py::array_t<float> out({h, bins});
        for (int t = 0; t < h; ++t) {
            check(zelsUpdateNoisePSDMCRA_32f_I(p.data() + size_t(t) * bins, st, noise.data()),
                  "zelsUpdateNoisePSDMCRA_32f_I");
            std::copy(noise.begin(), noise.end(), out.mutable_data() + size_t(t) * bins);
        }
        return out;
    }
};

}  // namespace

PYBIND11_MODULE(_zelsr, m) {
    bindScoringEstimation(m);
    bindAurora(m);
    m.doc() = "Compiled bindings of the zelsr C library.";
    m.def("status_name", &statusName, py::arg("status"), "Name of a ZelStatus code.");
    py::class_<ZelFeatureConfig>(m, "FeatureConfig", "The C configuration record of the feature extractor.")
        .def(py::init([] {
            ZelFeatureConfig c;
            zelsrFeatureDefaultConfig(&c);
            return c;
        }))
#define F(py_name, field) .def_readwrite(py_name, &ZelFeatureConfig::field)
        F("sample_rate", sampleRate) F("frame_length_ms", frameLengthMs) F("frame_shift_ms", frameShiftMs)
        F("preemphasis", preemphasis) F("window", window) F("fft_size", fftSize) F("power_spectrum", powerSpectrum)
        F("num_filters", numFilters) F("low_freq", lowFreq) F("high_freq", highFreq) F("log_floor", logFloor)
        F("output", output) F("num_ceps", numCeps) F("lifter", lifter) F("energy", energy)
        F("delta_order", deltaOrder) F("cmvn", cmvn) F("norm_variance", normVariance) F("cmvn_window", cmvnWindow);
#undef F
    m.def("check_config", &checkConfig, py::arg("config"),
          "Number of the first field the extractor would refuse, or -1.");
    py::class_<Extractor>(m, "Extractor", "Streaming feature extractor (zelsrFeature*).")
        .def(py::init<const ZelFeatureConfig&>(), py::arg("config"))
        .def_readonly("dim", &Extractor::dim)
        .def("accept", [](Extractor& e, const py::array& x) { e.accept(x); }, py::arg("samples"),
             "Accept int16 or float32 samples.")
        .def("compute", &Extractor::compute, py::arg("samples"),
             "Accept the samples of a whole utterance, end it and return all its frames.")
        .def("read", &Extractor::read, "The frames ready so far, as a (frames, dim) float32 array.")
        .def("flush", &Extractor::flush, "End the utterance.")
        .def("reset", &Extractor::reset, "Discard everything and start a new utterance.");
    m.def("log_add", &logAdd, py::arg("a"), py::arg("b"), py::arg("scale_factor") = 0,
          "ln(exp(a) + exp(b)) element-wise, as a new array in the dtype of a: float32, float64, or int16 / int32 "
          "scaled by 2^-scale_factor (zelsLogAdd_32f, _64f, _16s_Sfs, _32s_Sfs).");
    m.def("log_sum", &logSum, py::arg("a"), py::arg("scale_factor") = 0,
          "ln of the sum of exp(a): a float for float32 / float64 a, an int for int16 / int32 a scaled by "
          "2^-scale_factor (zelsLogSum_32f, _64f, _16s_Sfs, _32s_Sfs).");
    py::class_<MelBank>(m, "MelFilterBank",
                        "Mel filter bank (zelsMelFBankInitAlloc_32f / _16s, zelsEvalFBank_32f / _16s_Sfs / "
                        "_16s32s_Sfs).")
        .def(py::init<int, float, float, float, int, bool, const std::string&>(), py::arg("fft_size"),
             py::arg("sample_rate"), py::arg("low_freq"), py::arg("high_freq"), py::arg("num_filters"),
             py::arg("magnitude_input") = false, py::arg("dtype") = "float32")
        .def_readonly("fft_len", &MelBank::fftLen)
        .def("__call__", &MelBank::eval, py::arg("spectrum"), py::arg("scale_factor") = 0, py::arg("wide") = false,
             "Filter energies of one spectrum (fft_len / 2 + 1 bins), or of one time frame of fft_len samples "
             "with magnitude_input; an int16 bank gives int16 (wide: int32) energies scaled by 2^-scale_factor.");
    py::class_<Lifter>(m, "DCTLifter", "DCT-II and sinusoidal lifter (zelsDCTLifter_32f / _16s_Sfs).")
        .def(py::init<int, int, int, bool, const std::string&>(), py::arg("len_dct"), py::arg("len_cepstrum"),
             py::arg("lifter"), py::arg("c0") = true, py::arg("dtype") = "float32")
        .def("__call__", &Lifter::apply, py::arg("log_energies"), py::arg("scale_factor") = 0,
             "Cepstra of each row (c1..cN, then c0), in the lifter's dtype (int16: scaled by 2^-scale_factor).");
    m.def("deltas", &deltas, py::arg("frames"), py::arg("order") = 2, py::arg("scale") = 0.1, py::arg("scale_factor") = 0,
          "Statics with radius-two deltas (and delta-deltas) appended: float32 (zelsDelta(Delta)_Win2_32f_D2) or "
          "int16 with an integer scale and scale_factor (zelsDelta(Delta)_Win2_16s_D2Sfs).");
    m.def("lpc", &lpc, py::arg("frame"), py::arg("order"),
          "Linear prediction coefficients by autocorrelation (zelsLinearPrediction_Auto_32f).");
    m.def("lp_to_lsp", &lpToLsp, py::arg("lp"), py::arg("n_int") = 128, py::arg("n_div") = 4,
          "Line spectral pairs of LP coefficients, and the number of roots found (zelsLPToLSP_32f).");
    py::class_<Codebook>(m, "Codebook", "VQ codebook with L2 search (zelsCdbkInitAlloc_L2_32f, zelsVQ_32f).")
        .def(py::init<const py::array&, int, int>(), py::arg("vectors"), py::arg("size"), py::arg("hint") = 2,
             "Train (hint 2 or 3) or keep (hint 1) a codebook of `size` entries from (n, width) float32 vectors.")
        .def_property_readonly("size", &Codebook::size)
        .def("search", &Codebook::search, py::arg("frames"), "Index of the nearest entry for each row.");
    m.def("resample", &resample, py::arg("signal"), py::arg("in_rate"), py::arg("out_rate"),
          py::arg("filter_len") = 64, py::arg("rollf") = 0.95f, py::arg("alpha") = 9.0f,
          "Fixed-ratio polyphase resampling of a float32 signal, silence assumed beyond both ends "
          "(zelsResamplePolyphaseFixed_32f).");
    py::class_<NoiseEstimator>(m, "NoiseEstimator", "MCRA noise estimator (zelsInitMCRA_32f, zelsUpdateNoisePSDMCRA_32f_I).")
        .def(py::init<int, int, int>(), py::arg("sample_rate"), py::arg("fft_len"), py::arg("hop") = 0,
             "hop 0: frames shifted by fft_len / 2.")
        .def("update", &NoiseEstimator::update, py::arg("power"),
             "Feed (frames, fft_len / 2 + 1) power spectra; returns the noise estimate after each frame.");
    m.def("svd", &svd, py::arg("matrix"), py::arg("n_iter") = 50,
          "U, singular values (descending) and V of a float64 matrix (zelsSVDSort_64f_D2).");
    m.def("dtw", &dtw, py::arg("a"), py::arg("b"), py::arg("delta") = 0, py::arg("beam") = 1e30f,
          "Dynamic time warping distance between two (frames, width) float32 sequences (zelsDTW_L2_32f_D2).");
}
