// SPDX-License-Identifier: Apache-2.0
// The Aurora front end per 10 ms frame at 8 kHz on the bundled recording:
// two Wiener stages (power spectrum, noise update, gains, Low Mel bank,
// impulse response, taps, residual filter), wave processing, cepstra from a
// 23-filter mel bank and the DCT lifter, blind equalization and the voice
// activity decision. Beside it the same chain as straightforward per-stage
// loops, with FFTW for the transforms. Counters: frames/s, the speed over
// the straightforward chain ("x_plain") and the real-time factor ("rtf",
// processing time over the recording's duration).
#include <benchmark/benchmark.h>
#include <fftw3.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <vector>

#include "baseline.hpp"
#include "frame/toolkit.h"
#include "zelsr.h"

namespace {

constexpr int kShift = 80, kWin = 200, kFft = 256, kBins = 65, kBands = 25, kMel = 23, kCep = 13;
constexpr int kFullBins = kFft / 2 + 1;

// ---- The recording, at 8 kHz ------------------------------------------------------

std::vector<float> readWav16(const std::string& path) {
    std::vector<float> out;
    FILE* f = fopen(path.c_str(), "rb");
    if (!f) return out;
    unsigned char h[12];
    if (fread(h, 1, 12, f) == 12 && !memcmp(h, "RIFF", 4) && !memcmp(h + 8, "WAVE", 4)) {
        unsigned char c[8];
        while (fread(c, 1, 8, f) == 8) {
            const uint32_t n = c[4] | c[5] << 8 | c[6] << 16 | uint32_t(c[7]) << 24;
            if (memcmp(c, "data", 4)) {
                fseek(f, long(n + (n & 1)), SEEK_CUR);
                continue;
            }
            std::vector<int16_t> s(n / 2);
            out.assign(s.begin(), s.begin() + fread(s.data(), 2, s.size(), f));
            for (size_t i = 0; i < out.size(); ++i) out[i] = s[i];
            break;
        }
    }
    fclose(f);
    return out;
}

// 16 kHz to 8 kHz through a 31-tap windowed-sinc low pass at 3.7 kHz.
std::vector<float> halfRate(const std::vector<float>& x) {
    float h[31];
    for (int k = 0; k < 31; ++k) {
        const double t = k - 15, fc = 3700.0 / 16000.0;
        h[k] = float((t == 0 ? 2 * fc : sin(2 * M_PI * fc * t) / (M_PI * t)) * (0.54 - 0.46 * cos(2 * M_PI * k / 30)));
    }
    std::vector<float> y;
    for (size_t n = 0; n < x.size(); n += 2) {
        float s = 0;
        for (int k = 0; k < 31; ++k)
            if (n + 15 >= size_t(k) && n + 15 - k < x.size()) s += h[k] * x[n + 15 - k];
        y.push_back(s);
    }
    return y;
}

struct Recording {
    std::vector<float> x;
    double seconds = 0;
    Recording() {
        std::string dir = __FILE__;
        dir = dir.substr(0, dir.find_last_of('/') + 1);
        x = halfRate(readWav16(dir + "../examples/data/speech16k.wav"));
        if (x.empty()) x.assign(32000, 0.0f);  // no recording: two seconds of silence
        x.resize(x.size() / kShift * kShift);
        seconds = x.size() / 8000.0;
    }
};
const Recording& recording() {
    static Recording r;
    return r;
}

// ---- What both chains share: windows, the inverse cosine table, reference cepstra --

struct Tables {
    float hann[kWin], hamming[kWin];
    float idct[kBands][10];
    float refCep[kCep - 1];
    Tables() {
        for (int i = 0; i < kWin; ++i) {
            hann[i] = float(0.5 - 0.5 * cos(2 * M_PI * (i + 0.5) / kWin));
            hamming[i] = float(0.54 - 0.46 * cos(2 * M_PI * i / (kWin - 1)));
        }
        ZelFBankState_32f* low = nullptr;
        zelsMelFBankInitAllocLow_Aurora_32f(&low);
        Zel32s c[kBands + 2];
        zelsFBankGetCenters_32f(low, c);
        zelsFBankFree_32f(low);
        double fc[kBands], total = 0;
        for (int k = 0; k < kBands; ++k) fc[k] = c[k + 1] * 62.5;
        for (int k = 0; k < kBands; ++k) {
            const double df = (fc[k < kBands - 1 ? k + 1 : k] - fc[k > 0 ? k - 1 : 0]) / 8000.0;
            total += df;
            for (int n = 0; n < 10; ++n)
                idct[k][n] = float(cos(2 * M_PI * n * fc[k] / 8000.0) * df * 0.5 * (1 + cos(2 * M_PI * n / 17)));
        }
        for (auto& row : idct)
            for (float& v : row) v = float(v / total);
        for (int i = 0; i < kCep - 1; ++i) refCep[i] = 0.0f;
    }
};
const Tables& tables() {
    static Tables t;
    return t;
}

// ---- The library chain --------------------------------------------------------

struct LibStage {
    float frame[kWin] = {}, history[16] = {}, noise[kBins], den[kBins], power[kBins], gain[kBins];
    bool first = true;
};

struct Lib {
    ZelFFTSpec_R_32f* fft = nullptr;
    ZelFBankState_32f* low = nullptr;
    ZelFBankState_32f* mel = nullptr;
    ZelDCTLifterState_32f* dct = nullptr;
    std::vector<Zel8u> vadMem = std::vector<Zel8u>(64);
    ZelVADState_Aurora* vad = nullptr;
    LibStage stage[2];
    float waveFrame[kWin] = {}, bias[kCep - 1] = {};
    Zel32s decision = zelVADUndecided;
    Zel8u work[4096];

    Lib() {
        int order = 0;
        ownFFTInitAlloc_R_32f(&fft, 8, 8, zelAlgHintAccurate);
        zelsMelFBankInitAllocLow_Aurora_32f(&low);
        zelsMelFBankInitAlloc_32f(&mel, &order, kFft, 8000.0f, 64.0f, 4000.0f, kMel, 2595.0f, 700.0f,
                                  zelFBankMelWeights);
        zelsDCTLifterInitAlloc_C0_32f(&dct, kMel, kCep - 1, 22, 1.0f, 1.0f);
        vad = reinterpret_cast<ZelVADState_Aurora*>(vadMem.data());
        zelsVADInit_Aurora_32f(vad);
    }
    ~Lib() {
        ownFFTFree_R_32f(fft);
        zelsFBankFree_32f(low);
        zelsFBankFree_32f(mel);
        zelsDCTLifterFree_32f(dct);
    }

    void spectrum(const float* frame, const float* window, float* power) {
        alignas(16) float x[kFft] = {}, X[kFft];
        for (int i = 0; i < kWin; ++i) x[i] = frame[i] * window[i];
        ownFFTFwd_R_32f(x, X, fft, work);
        zelsSmoothedPowerSpectrumAurora_32f(X, power, kFft);
    }

    void wiener(LibStage& s, const float* in, float* out, bool noiseOnly) {
        memmove(s.frame, s.frame + kShift, (kWin - kShift) * 4);
        memcpy(s.frame + kWin - kShift, in, kShift * 4);
        spectrum(s.frame, tables().hann, s.power);
        if (s.first) {
            memcpy(s.noise, s.power, sizeof s.noise);
            memcpy(s.den, s.power, sizeof s.den);
            s.first = false;
        } else if (noiseOnly) {
            zelsNoiseSpectrumUpdate_Aurora_32f(s.power, s.noise, s.noise, kBins);
        }
        zelsWienerFilterDesign_Aurora_32f(s.power, s.noise, s.den, s.gain, kBins);
        for (int i = 0; i < kBins; ++i) s.den[i] = s.gain[i] * s.power[i];
        float melGain[kBands], h[10] = {}, taps[17], x[96];
        zelsEvalFBank_32f(s.gain, melGain, low);
        for (int k = 0; k < kBands; ++k)
            for (int n = 0; n < 10; ++n) h[n] += melGain[k] * tables().idct[k][n];
        zelsTabsCalculation_Aurora_32f(h, taps);
        memcpy(x, s.history, sizeof s.history);
        memcpy(x + 16, in, kShift * 4);
        zelsResidualFilter_Aurora_32f(x, out, taps);
        memcpy(s.history, in + kShift - 16, sizeof s.history);
    }

    void frameOf(const float* in, float* cep) {
        float mid[kShift], out[kShift];
        const bool noiseOnly = decision != zelVADSpeech;
        wiener(stage[0], in, mid, noiseOnly);
        wiener(stage[1], mid, out, noiseOnly);

        // The voice activity decision reads the noisy frame's log Mel energies.
        float logMel[kBands];
        zelsEvalFBank_32f(stage[0].power, logMel, low);
        for (float& v : logMel) v = logf(1.0f + v);
        zelsVADDecision_Aurora_32f(logMel, stage[0].frame + kWin - 64, 0, &decision, vad);

        memmove(waveFrame, waveFrame + kShift, (kWin - kShift) * 4);
        memcpy(waveFrame + kWin - kShift, out, kShift * 4);
        float shaped[kWin], power[kBins], mel[kMel];
        zelsWaveProcessing_Aurora_32f(waveFrame, shaped);
        alignas(16) float x[kFft] = {}, X[kFft + 2], powers[kFullBins];
        float energy = 0;
        for (int i = 0; i < kWin; ++i) x[i] = shaped[i] * tables().hamming[i], energy += shaped[i] * shaped[i];
        ownFFTFwd_RUnfolded_32f(x, X, fft, work);
        for (int k = 0; k < kFullBins; ++k) powers[k] = X[2 * k] * X[2 * k] + X[2 * k + 1] * X[2 * k + 1];
        (void)power;
        zelsEvalFBank_32f(powers, mel, this->mel);
        for (float& v : mel) v = logf(v + 1.0f);
        zelsDCTLifter_32f(mel, cep, dct);
        zelsBlindEqualization_Aurora_32f(tables().refCep, cep, bias, kCep - 1, logf(energy + 1.0f));
    }
};

// ---- The straightforward chain -----------------------------------------------------

struct PlainBank {
    int nFilter;
    std::vector<std::vector<float>> w;  // dense rows over the spectrum
};

PlainBank dense(const ZelFBankState_32f* b, int nFilter, int bins) {
    PlainBank p{nFilter, std::vector<std::vector<float>>(nFilter, std::vector<float>(bins, 0.0f))};
    std::vector<float> unit(bins, 0.0f), out(nFilter);
    for (int k = 0; k < bins; ++k) {
        unit[k] = 1.0f;
        zelsEvalFBank_32f(unit.data(), out.data(), b);
        unit[k] = 0.0f;
        for (int i = 0; i < nFilter; ++i) p.w[i][k] = out[i];
    }
    return p;
}

void applyBank(const PlainBank& b, const float* x, float* y) {
    for (int i = 0; i < b.nFilter; ++i) {
        float s = 0;
        for (size_t k = 0; k < b.w[i].size(); ++k) s += b.w[i][k] * x[k];
        y[i] = s;
    }
}

struct PlainVad {
    float floorV = 0, floorE = 0, floorL = 0, meanE = 0, last = 0;
    int n = 0, hang = 0, hangLength = 23, shortHang = 0, ringAt = 0;
    bool latch = false;
    int ring[7] = {};
    int decide(const float* mel, const float* x) {
        ++n;
        double s = 0, q = 0, m = 0;
        for (int i = 0; i < 64; ++i) s += x[i], q += x[i] * x[i];
        for (int k = 0; k < 25; ++k) m += mel[k];
        const float v = float(q / 64 - s * s / 4096), e = float(m * m - 3);
        if (n < 15) floorV = std::max(floorV, v);
        if (v < 1.5f * floorV && v > 0.85f * floorV) floorV = 0.8f * floorV + 0.2f * v;
        if (v < 0.25f * floorV) floorV = 0.97f * floorV + 0.03f * v;
        if (n == 1) floorE = e;
        if (n < 15) {
            meanE = ((n - 1) * meanE + e) * 1.1f / n;
            if (e / meanE > 2.5f) latch = true;
            if (!latch) floorE = std::max(floorE, e);
        }
        if (e < 1.5f * floorE && e > 0.75f * floorE) floorE = 0.8f * floorE + 0.2f * e;
        if (!(e > 0.5f * floorE)) floorE = 0.97f * floorE + 0.03f * e;
        const float b = (mel[1] + mel[2] + mel[3]) / 3, l = 0.75f * b + 0.25f * last;
        last = b;
        if (n < 15) floorL = std::max(floorL, l);
        if (l < 1.5f * floorL && l > 0.75f * floorL) floorL = 0.8f * floorL + 0.2f * l;
        if (!(l > 0.5f * floorL)) floorL = 0.97f * floorL + 0.03f * l;
        if (n < 11) return zelVADUndecided;
        ringAt = (ringAt + 1) % 7;
        ring[ringAt] = v > 1.65f * floorV || e > 1.65f * floorE || l > 3.25f * floorL;
        int r = 0, run = 0;
        for (int k = 1; k <= 7; ++k) run = ring[(ringAt + k) % 7] ? run + 1 : 0, r = std::max(r, run);
        if (r >= 4) {
            hang = hangLength;
            if (n < 36) hangLength = 40;
        }
        if (r < 3) {
            if (hang) --hang;
            if (shortHang) --shortHang;
        } else {
            shortHang = 5;
        }
        return shortHang == 0 && hang == 0 && r < 3 ? zelVADNonSpeech : zelVADSpeech;
    }
};

struct Plain {
    float* in = nullptr;
    fftwf_complex* out = nullptr;
    fftwf_plan plan = nullptr;
    PlainBank low, mel;
    float cosines[kCep][kMel];
    LibStage stage[2];
    PlainVad vad;
    float waveFrame[kWin] = {}, bias[kCep - 1] = {};
    int decision = zelVADUndecided;

    Plain() {
        in = fftwf_alloc_real(kFft);
        out = fftwf_alloc_complex(kFullBins);
        plan = fftwf_plan_dft_r2c_1d(kFft, in, out, FFTW_MEASURE);
        const Lib lib;
        low = dense(lib.low, kBands, kBins);
        mel = dense(lib.mel, kMel, kFullBins);
        for (int i = 0; i < kCep; ++i)
            for (int j = 0; j < kMel; ++j) cosines[i][j] = float(cos(M_PI * i * (j + 0.5) / kMel));
    }
    ~Plain() {
        fftwf_destroy_plan(plan);
        fftwf_free(in);
        fftwf_free(out);
    }

    // Power of bin pairs of a windowed frame.
    void spectrum(const float* frame, const float* window, float* power) {
        memset(in, 0, kFft * 4);
        for (int i = 0; i < kWin; ++i) in[i] = frame[i] * window[i];
        fftwf_execute(plan);
        for (int k = 0; k < kBins; ++k) {
            const float a = out[2 * k][0] * out[2 * k][0] + out[2 * k][1] * out[2 * k][1];
            const float b = k < kBins - 1 ? out[2 * k + 1][0] * out[2 * k + 1][0] + out[2 * k + 1][1] * out[2 * k + 1][1] : a;
            power[k] = 0.5f * (a + b);
        }
    }

    void wiener(LibStage& s, const float* x, float* y, bool noiseOnly) {
        memmove(s.frame, s.frame + kShift, (kWin - kShift) * 4);
        memcpy(s.frame + kWin - kShift, x, kShift * 4);
        spectrum(s.frame, tables().hann, s.power);
        for (int i = 0; i < kBins; ++i) {
            const float a = s.power[i];
            if (s.first) s.noise[i] = s.den[i] = a;
            else if (noiseOnly) {
                const float b = s.noise[i];
                s.noise[i] = a + b > 0 ? b * (0.9f + 0.1f * a / (a + b) * (1 + b / (b + 0.1f * a))) : 0.0f;
            }
            const float b = s.noise[i];
            const float sn = (0.02f * std::max(a - b, 0.0f) + 0.98f * s.den[i]) / b;
            const float w = sn / (sn + 1);
            const float t = std::max(w * a / b, 0.07943282f);
            s.gain[i] = t / (t + 1);
            s.den[i] = s.gain[i] * a;
        }
        s.first = false;
        float melGain[kBands], h[10] = {}, taps[17], buf[96];
        applyBank(low, s.gain, melGain);
        for (int k = 0; k < kBands; ++k)
            for (int n = 0; n < 10; ++n) h[n] += melGain[k] * tables().idct[k][n];
        taps[8] = h[0], taps[7] = h[1], taps[16] = h[9];
        for (int k = 2; k <= 8; ++k) taps[8 - k] = taps[7 + k] = h[k];
        memcpy(buf, s.history, sizeof s.history);
        memcpy(buf + 16, x, kShift * 4);
        for (int i = 0; i < kShift; ++i) {
            float acc = 0;
            for (int j = 0; j < 17; ++j) acc += buf[i + j] * taps[j];
            y[i] = acc;
        }
        memcpy(s.history, x + kShift - 16, sizeof s.history);
    }

    void waveProcess(const float* x, float* y) {
        float E[kWin], S[kWin], W[kWin];
        for (int i = 0; i < kWin; ++i)
            E[i] = i == 0 ? fabsf((x[0] - x[1]) * x[0])
                          : i == kWin - 1 ? fabsf((x[i] - x[i - 1]) * x[i]) : fabsf(x[i] * x[i] - x[i - 1] * x[i + 1]);
        for (int i = 0; i < kWin; ++i) {
            S[i] = 0;
            for (int j = i - 4; j <= i + 4; ++j) S[i] += E[std::min(std::max(j, 0), kWin - 1)];
        }
        auto argmax = [&](int a, int b) { return int(std::max_element(S + a, S + b) - S); };
        std::vector<int> P{argmax(0, kWin)};
        for (int p = P[0]; p < 175;) P.push_back(p = argmax(p + 25, p < 121 ? p + 80 : kWin));
        for (int p = P[0]; p > 25;) P.insert(P.begin(), p = argmax(p - std::min(p, 79), p - 24));
        std::sort(P.begin(), P.end());
        std::fill(W, W + kWin, 0.8f);
        const int m = int(P.size()) - 1;
        for (int i = 0; i <= m; ++i) {
            const int d = i < m ? P[i + 1] - P[i] : P[m] - P[m - 1];
            const int a = std::max(P[i] - 4, 0), b = std::min(P[i] + int(0.8f * d) - 4, kWin);
            for (int k = a; k < b; ++k) W[k] = 1.2f;
            if (a > 0) W[a - 1] = W[a] = 1.0f;
            if (b < kWin) W[b - 1] = W[b] = 1.0f;
        }
        for (int i = 0; i < kWin; ++i) y[i] = W[i] * x[i];
    }

    void frameOf(const float* x, float* cep) {
        float mid[kShift], y[kShift];
        const bool noiseOnly = decision != zelVADSpeech;
        wiener(stage[0], x, mid, noiseOnly);
        wiener(stage[1], mid, y, noiseOnly);
        float logMel[kBands];
        applyBank(low, stage[0].power, logMel);
        for (float& v : logMel) v = logf(1.0f + v);
        decision = vad.decide(logMel, stage[0].frame + kWin - 64);

        memmove(waveFrame, waveFrame + kShift, (kWin - kShift) * 4);
        memcpy(waveFrame + kWin - kShift, y, kShift * 4);
        float shaped[kWin], powers[kFullBins], melE[kMel];
        waveProcess(waveFrame, shaped);
        memset(in, 0, kFft * 4);
        float energy = 0;
        for (int i = 0; i < kWin; ++i) in[i] = shaped[i] * tables().hamming[i], energy += shaped[i] * shaped[i];
        fftwf_execute(plan);
        for (int k = 0; k < kFullBins; ++k) powers[k] = out[k][0] * out[k][0] + out[k][1] * out[k][1];
        applyBank(mel, powers, melE);
        for (float& v : melE) v = logf(v + 1.0f);
        for (int i = 1; i < kCep; ++i) {
            float s = 0;
            for (int j = 0; j < kMel; ++j) s += melE[j] * cosines[i][j];
            cep[i - 1] = s * float(1 + 11 * sin(M_PI * i / 22));
        }
        float c0 = 0;
        for (int j = 0; j < kMel; ++j) c0 += melE[j];
        cep[kCep - 1] = c0;
        const float g = std::min(std::max(logf(energy + 1.0f) - 3.296875f, 0.0f), 1.0f) * 0.0087890625f;
        for (int i = 0; i < kCep - 1; ++i) {
            const float e = cep[i] - bias[i];
            cep[i] = e;
            bias[i] += g * (e - tables().refCep[i]);
        }
    }
};

// One call runs the whole recording through a chain that goes on from where
// the last call left it.
template <class Chain>
void runChain(benchmark::State& st, bool baseline) {
    const Recording& r = recording();
    const int frames = int(r.x.size()) / kShift;
    float cep[kCep];
    Chain chain;
    const double calls = zb::callsPerSecond(st, [&] {
        for (int f = 0; f < frames; ++f) chain.frameOf(&r.x[size_t(f) * kShift], cep);
        benchmark::DoNotOptimize(cep);
    });
    zb::baselineRatio(st, "aurora_chain", baseline, calls);
    st.counters["frames/s"] = calls * frames;
    st.counters["us/frame"] = 1e6 / (calls * frames);
    st.counters["rtf"] = 1.0 / (calls * r.seconds);
}

void BM_Plain_AuroraChain_PerFrame(benchmark::State& st) { runChain<Plain>(st, true); }
void BM_zelsAurora_Chain_PerFrame(benchmark::State& st) { runChain<Lib>(st, false); }

BENCHMARK(BM_Plain_AuroraChain_PerFrame)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_zelsAurora_Chain_PerFrame)->Unit(benchmark::kMillisecond);

}  // namespace
