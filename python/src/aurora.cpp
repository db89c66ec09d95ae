// SPDX-License-Identifier: Apache-2.0
// The distributed front end's noise reduction, voice activity detector, wave
// processing and blind equalization. Each binding takes float32 or the
// 16-bit (and, where the library has them, 32-bit) integer forms, chosen by
// the dtype of its first array; results are new arrays.
#include "common.hpp"

namespace zelpy {
namespace {

// Arrays of one element type and the given lengths (-1: any, then the
// length of the first array).
template <class T>
std::vector<py::array_t<T>> sized(std::initializer_list<std::tuple<const py::array*, const char*, py::ssize_t>> list) {
    std::vector<py::array_t<T>> out;
    for (auto& [a, name, n] : list) {
        const py::ssize_t want = n >= 0 ? n : (out.empty() ? -1 : out.front().size());
        out.push_back(want < 0 ? need<T>(*a, name, 1) : needLen<T>(*a, name, want));
    }
    return out;
}

py::array smoothedPower(const py::array& x, const py::object& scaleFactor, bool wide) {
    const Dt d = dispatch("spectrum", x, "float32, int16 or int32");
    const py::ssize_t n = x.ndim() == 1 ? x.shape(0) : 0;
    if (n % 4 != 0) throw py::value_error("spectrum: the length must be a multiple of 4");
    if (d == Dt::F32) {
        auto a = need<float>(x, "spectrum", 1);
        py::array_t<float> out(n / 4 + 1);
        check(zelsSmoothedPowerSpectrumAurora_32f(a.data(), out.mutable_data(), int(n)),
              "zelsSmoothedPowerSpectrumAurora_32f");
        return out;
    }
    if (d == Dt::I16) {
        auto a = need<int16_t>(x, "spectrum", 1);
        py::array_t<int16_t> out(n / 4 + 1);
        check(zelsSmoothedPowerSpectrumAurora_16s(a.data(), out.mutable_data(), int(n)),
              "zelsSmoothedPowerSpectrumAurora_16s");
        return out;
    }
    if (scaleFactor.is_none()) throw py::value_error("scale_factor: needed for an int32 spectrum");
    const int sf = intArg(scaleFactor, "scale_factor");
    auto a = need<int32_t>(x, "spectrum", 1);
    if (wide) {
        py::array_t<int64_t> out(n / 4 + 1);
        check(zelsSmoothedPowerSpectrumAurora_32s64s_Sfs(a.data(), reinterpret_cast<Zel64s*>(out.mutable_data()),
                                                         int(n), sf),
              "zelsSmoothedPowerSpectrumAurora_32s64s_Sfs");
        return out;
    }
    py::array_t<int32_t> out(n / 4 + 1);
    check(zelsSmoothedPowerSpectrumAurora_32s_Sfs(a.data(), out.mutable_data(), int(n), sf),
          "zelsSmoothedPowerSpectrumAurora_32s_Sfs");
    return out;
}

py::array noiseUpdate(const py::array& power, const py::array& noise, int scaleFactor) {
    const Dt d = dispatch("power", power, "float32, int16 or int32");
    auto run = [&](auto tag, auto call, const char* where) {
        using T = decltype(tag);
        auto v = sized<T>({{&power, "power", -1}, {&noise, "noise", -1}});
        py::array_t<T> out(v[0].size());
        check(call(v[0].data(), v[1].data(), out.mutable_data(), int(out.size())), where);
        return py::array(out);
    };
    if (d == Dt::F32)
        return run(float(), [](const float* a, const float* b, float* o, int n) {
            return zelsNoiseSpectrumUpdate_Aurora_32f(a, b, o, n);
        }, "zelsNoiseSpectrumUpdate_Aurora_32f");
    if (d == Dt::I16)
        return run(int16_t(), [&](const int16_t* a, const int16_t* b, int16_t* o, int n) {
            return zelsNoiseSpectrumUpdate_Aurora_16s_Sfs(a, b, o, n, scaleFactor);
        }, "zelsNoiseSpectrumUpdate_Aurora_16s_Sfs");
    return run(int32_t(), [&](const int32_t* a, const int32_t* b, int32_t* o, int n) {
        return zelsNoiseSpectrumUpdate_Aurora_32s_Sfs(a, b, o, n, scaleFactor);
    }, "zelsNoiseSpectrumUpdate_Aurora_32s_Sfs");
}

py::array wienerDesign(const py::array& power, const py::array& noise, const py::array& den) {
    if (dispatch("power", power, "float32 or int16") == Dt::F32) {
        auto v = sized<float>({{&power, "power", -1}, {&noise, "noise", -1}, {&den, "den", -1}});
        py::array_t<float> out(v[0].size());
        check(zelsWienerFilterDesign_Aurora_32f(v[0].data(), v[1].data(), v[2].data(), out.mutable_data(),
                                                int(out.size())),
              "zelsWienerFilterDesign_Aurora_32f");
        return out;
    }
    auto v = sized<int16_t>({{&power, "power", -1}, {&noise, "noise", -1}, {&den, "den", -1}});
    py::array_t<int16_t> out(v[0].size());
    check(zelsWienerFilterDesign_Aurora_16s(v[0].data(), v[1].data(), v[2].data(), out.mutable_data(), int(out.size())),
          "zelsWienerFilterDesign_Aurora_16s");
    return out;
}

py::array taps(const py::array& impulse) {
    if (dispatch("impulse", impulse, "float32 or int16") == Dt::F32) {
        auto a = needLen<float>(impulse, "impulse", 10);
        py::array_t<float> out(17);
        check(zelsTabsCalculation_Aurora_32f(a.data(), out.mutable_data()), "zelsTabsCalculation_Aurora_32f");
        return out;
    }
    auto a = needLen<int16_t>(impulse, "impulse", 10);
    py::array_t<int16_t> out(17);
    check(zelsTabsCalculation_Aurora_16s(a.data(), out.mutable_data()), "zelsTabsCalculation_Aurora_16s");
    return out;
}

py::array residualFilter(const py::array& samples, const py::array& tapsA, int scaleFactor) {
    if (dispatch("samples", samples, "float32 or int16") == Dt::F32) {
        auto v = sized<float>({{&samples, "samples", 96}, {&tapsA, "taps", 17}});
        py::array_t<float> out(80);
        check(zelsResidualFilter_Aurora_32f(v[0].data(), out.mutable_data(), v[1].data()),
              "zelsResidualFilter_Aurora_32f");
        return out;
    }
    auto v = sized<int16_t>({{&samples, "samples", 96}, {&tapsA, "taps", 17}});
    py::array_t<int16_t> out(80);
    check(zelsResidualFilter_Aurora_16s_Sfs(v[0].data(), out.mutable_data(), v[1].data(), scaleFactor),
          "zelsResidualFilter_Aurora_16s_Sfs");
    return out;
}

// The Low (25 bands) or High (3 bands) Mel bank over 65 bins.
struct AuroraBank {
    ZelFBankState_32f* b32 = nullptr;
    ZelFBankState_16s* b16 = nullptr;
    int bands;
    AuroraBank(const std::string& kind, const std::string& dtype) {
        if (kind != "low" && kind != "high") throw py::value_error("kind: 'low' or 'high', got '" + kind + "'");
        if (dtype != "float32" && dtype != "int16")
            throw py::value_error("dtype: 'float32' or 'int16', got '" + dtype + "'");
        const bool low = kind == "low";
        bands = low ? 25 : 3;
        if (dtype == "float32")
            check(low ? zelsMelFBankInitAllocLow_Aurora_32f(&b32) : zelsMelFBankInitAllocHigh_Aurora_32f(&b32),
                  "zelsMelFBankInitAlloc_Aurora_32f");
        else
            check(low ? zelsMelFBankInitAllocLow_Aurora_16s(&b16) : zelsMelFBankInitAllocHigh_Aurora_16s(&b16),
                  "zelsMelFBankInitAlloc_Aurora_16s");
    }
    ~AuroraBank() {
        if (b32) zelsFBankFree_32f(b32);
        if (b16) zelsFBankFree_16s(b16);
    }
    py::array eval(const py::array& spectrum, int scaleFactor) {
        if (b32) {
            auto x = needLen<float>(spectrum, "spectrum", 65);
            py::array_t<float> out(bands);
            check(zelsEvalFBank_32f(x.data(), out.mutable_data(), b32), "zelsEvalFBank_32f");
            return out;
        }
        auto x = needLen<int16_t>(spectrum, "spectrum", 65);
        py::array_t<int16_t> out(bands);
        check(zelsEvalFBank_16s_Sfs(x.data(), out.mutable_data(), b16, scaleFactor), "zelsEvalFBank_16s_Sfs");
        return out;
    }
};

// The detector's record lives in the object, aligned for a 32-bit word.
struct VAD {
    uint32_t record[64];
    bool f32;
    explicit VAD(const std::string& dtype) {
        if (dtype != "float32" && dtype != "int16")
            throw py::value_error("dtype: 'float32' or 'int16', got '" + dtype + "'");
        f32 = dtype == "float32";
        int size = 0;
        check(f32 ? zelsVADGetBufSize_Aurora_32f(&size) : zelsVADGetBufSize_Aurora_16s(&size), "zelsVADGetBufSize_Aurora");
        if (size > int(sizeof record)) throw std::bad_alloc();
        ZelVADState_Aurora* s = state();
        check(f32 ? zelsVADInit_Aurora_32f(s) : zelsVADInit_Aurora_16s(s), "zelsVADInit_Aurora");
    }
    ZelVADState_Aurora* state() { return reinterpret_cast<ZelVADState_Aurora*>(record); }
    int decide(const py::array& mel, const py::array& frame, int hint) {
        Zel32s res = 0;
        if (f32) {
            auto m = needLen<float>(mel, "mel", 25);
            auto x = needLen<float>(frame, "frame", 64);
            check(zelsVADDecision_Aurora_32f(m.data(), x.data(), hint, &res, state()), "zelsVADDecision_Aurora_32f");
        } else {
            auto m = needLen<int16_t>(mel, "mel", 25);
            auto x = needLen<int16_t>(frame, "frame", 64);
            check(zelsVADDecision_Aurora_16s(m.data(), x.data(), hint, &res, state()), "zelsVADDecision_Aurora_16s");
        }
        return res;
    }
    py::list flush() {
        py::list out;
        for (int k = 0; k < 64; ++k) {
            Zel32s res = 0;
            check(f32 ? zelsVADFlush_Aurora_32f(&res, state()) : zelsVADFlush_Aurora_16s(&res, state()),
                  "zelsVADFlush_Aurora");
            if (res == zelVADUndecided) break;
            out.append(int(res));
        }
        return out;
    }
};

py::array waveProcessing(const py::array& frame) {
    if (dispatch("frame", frame, "float32 or int16") == Dt::F32) {
        auto x = needLen<float>(frame, "frame", 200);
        py::array_t<float> out(200);
        check(zelsWaveProcessing_Aurora_32f(x.data(), out.mutable_data()), "zelsWaveProcessing_Aurora_32f");
        return out;
    }
    auto x = needLen<int16_t>(frame, "frame", 200);
    py::array_t<int16_t> out(200);
    check(zelsWaveProcessing_Aurora_16s(x.data(), out.mutable_data()), "zelsWaveProcessing_Aurora_16s");
    return out;
}

py::tuple blindEqualization(const py::array& ref, const py::array& cep, const py::array& bias, double energy) {
    if (dispatch("ref", ref, "float32 or int16") == Dt::F32) {
        auto v = sized<float>({{&ref, "ref", -1}, {&cep, "cep", -1}, {&bias, "bias", -1}});
        auto c = copyOf(v[1]), b = copyOf(v[2]);
        check(zelsBlindEqualization_Aurora_32f(v[0].data(), c.mutable_data(), b.mutable_data(), int(c.size()),
                                               float(energy)),
              "zelsBlindEqualization_Aurora_32f");
        return py::make_tuple(c, b);
    }
    if (energy != double(int(energy))) throw py::value_error("energy: an integer (6 fractional bits) for int16 cepstra");
    auto v = sized<int16_t>({{&ref, "ref", -1}, {&cep, "cep", -1}, {&bias, "bias", -1}});
    auto c = copyOf(v[1]), b = copyOf(v[2]);
    check(zelsBlindEqualization_Aurora_16s(v[0].data(), c.mutable_data(), b.mutable_data(), int(c.size()), int(energy)),
          "zelsBlindEqualization_Aurora_16s");
    return py::make_tuple(c, b);
}

}  // namespace

void bindAurora(py::module_& m) {
    using namespace pybind11::literals;
    m.def("smoothed_power_spectrum", &smoothedPower, "spectrum"_a, "scale_factor"_a = py::none(), "wide"_a = false,
          "len / 4 + 1 smoothed powers of a packed FFT of len values: float32 or int16 in their type "
          "(zelsSmoothedPowerSpectrumAurora_32f, _16s); int32 with a scale_factor to int32 "
          "(_32s_Sfs) or, with wide, to int64 (_32s64s_Sfs).");
    m.def("noise_spectrum_update", &noiseUpdate, "power"_a, "noise"_a, "scale_factor"_a = 0,
          "The next noise estimate, bin by bin (zelsNoiseSpectrumUpdate_Aurora_32f, _16s_Sfs, _32s_Sfs).");
    m.def("wiener_filter_design", &wienerDesign, "power"_a, "noise"_a, "den"_a,
          "Wiener gains from the power, the noise and the last denoised power (zelsWienerFilterDesign_Aurora_32f; "
          "int16: Q14 gains).");
    m.def("aurora_taps", &taps, "impulse"_a,
          "The 17 filter taps from 10 impulse-response values (zelsTabsCalculation_Aurora_32f / _16s).");
    m.def("residual_filter", &residualFilter, "samples"_a, "taps"_a, "scale_factor"_a = 0,
          "80 filtered samples from 96 (16 of history, 80 new) and 17 taps (zelsResidualFilter_Aurora_32f, "
          "_16s_Sfs).");
    py::class_<AuroraBank>(m, "AuroraMelBank",
                           "The Low (25 bands) or High (3 bands) Mel bank of the distributed front end over 65 bins "
                           "(zelsMelFBankInitAllocLow/High_Aurora_32f / _16s, zelsEvalFBank_32f / _16s_Sfs).")
        .def(py::init<const std::string&, const std::string&>(), "kind"_a = "low", "dtype"_a = "float32")
        .def_readonly("bands", &AuroraBank::bands)
        .def("__call__", &AuroraBank::eval, "spectrum"_a, "scale_factor"_a = 0, "Band energies of one spectrum.");
    py::class_<VAD>(m, "VAD",
                    "Voice activity detector of the distributed front end (zelsVADInit/Decision/Flush_Aurora_32f "
                    "/ _16s). Decisions: 1 speech, 2 non-speech, 4 undecided (the first ten frames).")
        .def(py::init<const std::string&>(), "dtype"_a = "float32")
        .def("decide", &VAD::decide, "mel"_a, "frame"_a, "speech_hint"_a = 0,
             "Decision for a frame from its 25 Mel energies and 64 samples.")
        .def("flush", &VAD::flush, "The decisions still held at the end of the stream.");
    m.def("wave_processing", &waveProcessing, "frame"_a,
          "A 200-sample frame weighted around its Teager energy peaks (zelsWaveProcessing_Aurora_32f / _16s).");
    m.def("blind_equalization", &blindEqualization, "ref"_a, "cep"_a, "bias"_a, "energy"_a,
          "(equalized cepstrum, next bias) (zelsBlindEqualization_Aurora_32f; int16 with energy in 6 fractional "
          "bits: _16s).");
}

}  // namespace zelpy
