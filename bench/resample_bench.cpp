// SPDX-License-Identifier: Apache-2.0
// One minute of audio, 48 kHz -> 16 kHz and 44.1 kHz -> 16 kHz, through the
// polyphase resampler (fixed and general ratio) beside speexdsp,
// libsamplerate and soxr. Each setting reports its throughput (input
// samples per second) and its stopband attenuation, measured once on tones
// above the output band: the worst output level of a full-scale tone between
// 0.55 and 0.98 of the input's Nyquist frequency, in dB below the tone.
#include <benchmark/benchmark.h>
#include <samplerate.h>
#include <soxr.h>
#include <speex/speex_resampler.h>

#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "frame/dispatch.hpp"
#include "zelsr.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

// Resamples a whole signal in one go; a converter is made once per setting.
using Converter = std::function<void(const std::vector<float>& in, std::vector<float>& out)>;
using Factory = std::function<Converter(int inRate, int outRate)>;

std::vector<float> noise(size_t n) {
    std::mt19937 g(11);
    std::uniform_real_distribution<float> d(-0.5f, 0.5f);
    std::vector<float> x(n);
    for (float& v : x) v = d(g);
    return x;
}

double attenuationDb(const Converter& conv, int inRate, int outRate) {
    double worst = 0;
    std::vector<float> x(inRate / 4), y;
    const double lo = 0.55 * outRate, hi = 0.49 * inRate;
    for (int k = 0; k < 24; ++k) {
        const double f = lo + (hi - lo) * k / 23;
        for (size_t i = 0; i < x.size(); ++i) x[i] = float(std::sin(2 * kPi * f / inRate * double(i)));
        conv(x, y);
        // Skip the ends, where the converters see the start and end of the tone.
        double s = 0;
        size_t from = y.size() / 8, to = y.size() - y.size() / 8, cnt = 0;
        for (size_t i = from; i < to; ++i, ++cnt) s += double(y[i]) * y[i];
        const double amp = std::sqrt(2 * s / double(cnt ? cnt : 1));
        worst = std::max(worst, amp);
    }
    return -20 * std::log10(std::max(worst, 1e-12));
}

// ---- zelsr

Factory zelsrFixed(int len, float alpha, int hint) {
    return [=](int inRate, int outRate) -> Converter {
        ZelResamplingPolyphaseFixed* raw = nullptr;
        zelsResamplePolyphaseFixedInitAlloc_32f(&raw, inRate, outRate, len, 0.95f, alpha, hint);
        std::shared_ptr<ZelResamplingPolyphaseFixed> resampler(raw, zelsResamplePolyphaseFixedFree_32f);
        const int pad = len / 2 + 4;
        return [=](const std::vector<float>& in, std::vector<float>& out) {
            std::vector<float> src(in.size() + 2 * pad, 0.0f);
            std::copy(in.begin(), in.end(), src.begin() + pad);
            out.resize(size_t(double(in.size()) * outRate / inRate) + 4);
            double t = pad;
            int n = 0;
            zelsResamplePolyphaseFixed_32f(resampler.get(), src.data(), int(in.size()), out.data(), 1.0f, &t, &n);
            out.resize(n);
        };
    };
}

Factory zelsrGeneral(float window, int nStep, float alpha) {
    return [=](int inRate, int outRate) -> Converter {
        ZelResamplingPolyphase* raw = nullptr;
        zelsResamplePolyphaseInitAlloc_32f(&raw, window, nStep, 0.95f, alpha, zelAlgHintFast);
        std::shared_ptr<ZelResamplingPolyphase> resampler(raw, zelsResamplePolyphaseFree_32f);
        const double factor = double(outRate) / inRate;
        const int pad = int(window / factor) + 4;
        return [=](const std::vector<float>& in, std::vector<float>& out) {
            std::vector<float> src(in.size() + 2 * pad, 0.0f);
            std::copy(in.begin(), in.end(), src.begin() + pad);
            out.resize(size_t(double(in.size()) * factor) + 4);
            double t = pad;
            int n = 0;
            zelsResamplePolyphase_32f(resampler.get(), src.data(), int(in.size()), out.data(), factor, 1.0f, &t, &n);
            out.resize(n);
        };
    };
}

// The same converter with the exported functions held to the baseline
// instruction set (SSE4.1), to show what the AVX2 kernel adds.
Factory onBaseline(Factory f) {
    return [=](int inRate, int outRate) -> Converter {
        const Converter c = f(inRate, outRate);
        return [=](const std::vector<float>& in, std::vector<float>& out) {
            const zel::Isa previous = zel::setMaxIsaForTesting(zel::Isa::kBaseline);
            c(in, out);
            zel::setMaxIsaForTesting(previous);
        };
    };
}

// ---- peers

Factory speex(int quality) {
    return [=](int inRate, int outRate) -> Converter {
        return [=](const std::vector<float>& in, std::vector<float>& out) {
            int err = 0;
            SpeexResamplerState* st = speex_resampler_init(1, inRate, outRate, quality, &err);
            speex_resampler_skip_zeros(st);
            out.resize(size_t(double(in.size()) * outRate / inRate) + 4);
            spx_uint32_t inLen = spx_uint32_t(in.size()), outLen = spx_uint32_t(out.size());
            speex_resampler_process_float(st, 0, in.data(), &inLen, out.data(), &outLen);
            out.resize(outLen);
            speex_resampler_destroy(st);
        };
    };
}

Factory libsamplerate(int converter) {
    return [=](int inRate, int outRate) -> Converter {
        return [=](const std::vector<float>& in, std::vector<float>& out) {
            out.resize(size_t(double(in.size()) * outRate / inRate) + 4);
            SRC_DATA d{};
            d.data_in = in.data();
            d.data_out = out.data();
            d.input_frames = long(in.size());
            d.output_frames = long(out.size());
            d.src_ratio = double(outRate) / inRate;
            d.end_of_input = 1;
            src_simple(&d, converter, 1);
            out.resize(size_t(d.output_frames_gen));
        };
    };
}

Factory soxr(unsigned long recipe) {
    return [=](int inRate, int outRate) -> Converter {
        return [=](const std::vector<float>& in, std::vector<float>& out) {
            out.resize(size_t(double(in.size()) * outRate / inRate) + 4);
            const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
            const soxr_quality_spec_t q = soxr_quality_spec(recipe, 0);
            size_t done = 0;
            soxr_oneshot(inRate, outRate, 1, in.data(), in.size(), nullptr, out.data(), out.size(), &done, &io, &q,
                         nullptr);
            out.resize(done);
        };
    };
}

struct Setting {
    const char* name;
    Factory make;
};

void run(benchmark::State& state, const Setting& s, int inRate, int outRate) {
    const Converter conv = s.make(inRate, outRate);
    const std::vector<float> x = noise(size_t(inRate) * 60);
    std::vector<float> y;
    for (auto _ : state) {
        conv(x, y);
        benchmark::DoNotOptimize(y.data());
        benchmark::ClobberMemory();
    }
    state.counters["in_samples"] = benchmark::Counter(double(state.iterations()) * x.size(), benchmark::Counter::kIsRate);
    state.counters["atten_dB"] = attenuationDb(conv, inRate, outRate);
}

const int registered = [] {
    // Filter lengths: speexdsp at quality q uses a base length (64 at 4, 96 at
    // 6) stretched by inRate/outRate when it reduces the rate, so zelsr's
    // fixed filter is given the same taps per output.
    for (auto [inRate, outRate] : {std::pair{48000, 16000}, std::pair{44100, 16000}}) {
        const double stretch = double(inRate) / outRate;
        const int taps64 = int(64 * stretch + 7) & ~7, taps96 = int(96 * stretch + 7) & ~7;
        const std::vector<Setting> settings = {
            {"zelsr_fixed_len64q_alpha8", zelsrFixed(taps64, 8.0f, zelAlgHintFast)},
            {"zelsr_fixed_len64q_alpha8_baseline_isa", onBaseline(zelsrFixed(taps64, 8.0f, zelAlgHintFast))},
            {"speexdsp_q4", speex(4)},
            {"zelsr_fixed_len96q_alpha10", zelsrFixed(taps96, 10.0f, zelAlgHintFast)},
            {"speexdsp_q6", speex(6)},
            {"zelsr_fixed_len96q_alpha10_accurate", zelsrFixed(taps96, 10.0f, zelAlgHintAccurate)},
            {"zelsr_general_w96_alpha10", zelsrGeneral(96.0f, 128, 10.0f)},
            {"libsamplerate_fastest", libsamplerate(SRC_SINC_FASTEST)},
            {"soxr_lq", soxr(SOXR_LQ)},
            {"soxr_mq", soxr(SOXR_MQ)},
        };
        for (const Setting& s : settings) {
            const std::string name = "Resample" + std::to_string(inRate) + "to" + std::to_string(outRate) + "/" + s.name;
            benchmark::RegisterBenchmark(name.c_str(), [s, inRate, outRate](benchmark::State& st) {
                run(st, s, inRate, outRate);
            })->Unit(benchmark::kMillisecond)->MinTime(0.5);
        }
    }
    return 0;
}();

}  // namespace
