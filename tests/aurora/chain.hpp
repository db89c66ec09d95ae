// SPDX-License-Identifier: Apache-2.0
// A caller's noise-reduction chain for the tests, 8 kHz, 80 new samples a
// frame: Hann-windowed 200-sample frame, 256-point FFT, smoothed power,
// noise update, Wiener gains, Low Mel bank, a mel-warped inverse cosine
// transform to 10 impulse-response values, taps and the residual filter.
#pragma once

#include <math.h>
#include <string.h>

#include <vector>

#include "frame/toolkit.h"
#include "zelsr.h"

namespace zt::aurora {

constexpr int kShift = 80, kWin = 200, kFft = 256, kBins = 65, kBands = 25;

// Plans and banks shared by every stage; read only after construction.
struct Shared {
    ZelFFTSpec_R_32f* fft = nullptr;
    ZelFBankState_32f* low = nullptr;
    float hann[kWin];
    float idct[kBands][10];

    Shared() {
        ownFFTInitAlloc_R_32f(&fft, 8, 8, zelAlgHintAccurate);
        zelsMelFBankInitAllocLow_Aurora_32f(&low);
        for (int i = 0; i < kWin; ++i) hann[i] = float(0.5 - 0.5 * cos(2 * M_PI * (i + 0.5) / kWin));
        Zel32s c[kBands + 2];
        zelsFBankGetCenters_32f(low, c);
        // Band k is centred on bin c[k + 1] of the 65 smoothed bins (62.5 Hz
        // apart); its share of the band is df.
        double fc[kBands], total = 0;
        for (int k = 0; k < kBands; ++k) fc[k] = c[k + 1] * 4000.0 / (kBins - 1);
        for (int k = 0; k < kBands; ++k) {
            const double lo = fc[k > 0 ? k - 1 : 0], hi = fc[k < kBands - 1 ? k + 1 : k];
            const double df = (hi - lo) / 8000.0;
            total += df;
            for (int n = 0; n < 10; ++n)
                idct[k][n] = float(cos(2 * M_PI * n * fc[k] / 8000.0) * df * 0.5 * (1 + cos(2 * M_PI * n / 17)));
        }
        for (auto& row : idct)
            for (float& v : row) v = float(v / total);
    }
    ~Shared() {
        ownFFTFree_R_32f(fft);
        zelsFBankFree_32f(low);
    }
    static Shared& get() {
        static Shared s;
        return s;
    }
};

// Smoothed power of the newest frame in `frame` (kWin samples).
inline void powerSpectrum(const float* frame, float* power) {
    Shared& sh = Shared::get();
    float x[kFft] = {}, X[kFft];
    for (int i = 0; i < kWin; ++i) x[i] = frame[i] * sh.hann[i];
    ownFFTFwd_R_32f(x, X, sh.fft, nullptr);
    zelsSmoothedPowerSpectrumAurora_32f(X, power, kFft);
}

// Log Mel energies of a power spectrum, as the VAD reads them.
inline void logMel(const float* power, float* mel) {
    zelsEvalFBank_32f(power, mel, Shared::get().low);
    for (int k = 0; k < kBands; ++k) mel[k] = logf(1.0f + mel[k]);
}

struct Stage {
    float frame[kWin] = {};
    float history[16] = {};
    float noise[kBins], den[kBins];
    float power[kBins], gain[kBins];
    bool first = true;

    // 80 new samples in, 80 filtered ones out, 8 samples behind. The noise
    // estimate follows only frames that `noiseOnly` calls free of speech:
    // left to itself it would climb towards any steady sound.
    void run(const float* in, float* out, bool noiseOnly = true) {
        Shared& sh = Shared::get();
        memmove(frame, frame + kShift, (kWin - kShift) * sizeof(float));
        memcpy(frame + kWin - kShift, in, kShift * sizeof(float));
        powerSpectrum(frame, power);
        if (first) {
            memcpy(noise, power, sizeof noise);
            memcpy(den, power, sizeof den);
            first = false;
        } else if (noiseOnly) {
            zelsNoiseSpectrumUpdate_Aurora_32f(power, noise, noise, kBins);
        }
        zelsWienerFilterDesign_Aurora_32f(power, noise, den, gain, kBins);
        for (int i = 0; i < kBins; ++i) den[i] = gain[i] * power[i];
        float melGain[kBands], h[10] = {}, taps[17], x[96];
        zelsEvalFBank_32f(gain, melGain, sh.low);
        for (int k = 0; k < kBands; ++k)
            for (int n = 0; n < 10; ++n) h[n] += melGain[k] * sh.idct[k][n];
        zelsTabsCalculation_Aurora_32f(h, taps);
        memcpy(x, history, sizeof history);
        memcpy(x + 16, in, kShift * sizeof(float));
        zelsResidualFilter_Aurora_32f(x, out, taps);
        memcpy(history, in + kShift - 16, sizeof history);
    }
};

}  // namespace zt::aurora
