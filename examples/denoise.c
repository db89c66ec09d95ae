/* SPDX-License-Identifier: Apache-2.0 */
/* The zelsr denoiser: noise tracking and suppression gains on speech.
 *
 *   zelsr_denoise [-g wiener|emns] [-s snr_dB] [-n] [-o out.wav] [-p out.png] [input.wav]
 *
 * Reads mono speech (the bundled recording by default) and mixes in white
 * noise from a fixed seed at snr_dB (0 by default) over the whole file. The
 * mixture is cut into frames of about 32 ms with 50% overlap under a
 * square-root Hann window and transformed. Per frame, the MCRA estimator
 * tracks the noise power of each bin; the a priori signal-to-noise ratio
 * follows by the decision-directed rule, and zelsFilterUpdateWiener_32f gives
 * the Wiener gain, which zelsFilterUpdateEMNS_32f turns into the
 * Ephraim-Malah gain when -g emns is given. The gained spectrum is
 * transformed back and overlap-added under the same window, which restores
 * the signal exactly where the gain is 1.
 *
 * It writes the denoised WAV (-o, default zelsr_denoised.wav), a PNG of the
 * clean, noisy and denoised spectrograms (-p, default zelsr_denoise.png), and
 * prints the segmental SNR of the noisy and the denoised signal against the
 * clean one. With -n the input counts as noisy already: nothing is mixed in,
 * the first panel shows the input and no SNR is printed.
 *
 * The library keeps its FFT private, so this program carries a small radix-2
 * transform of its own.
 */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "audio_io.h"
#include "plot.h"
#include "zelsr.h"

#ifndef ZELSR_DEMO_WAV
#define ZELSR_DEMO_WAV "speech16k.wav"
#endif

static const double kPi = 3.14159265358979323846;

/* ---- A plain complex radix-2 FFT, in place; sign -1 forward, +1 inverse. */
static void fft(double* re, double* im, int n, int sign) {
    int i, j, len;
    for (i = 1, j = 0; i < n; ++i) {
        int bit = n >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j ^= bit;
        if (i < j) {
            double t = re[i]; re[i] = re[j]; re[j] = t;
            t = im[i]; im[i] = im[j]; im[j] = t;
        }
    }
    for (len = 2; len <= n; len <<= 1) {
        double ang = sign * 2.0 * kPi / len;
        int half = len / 2, k;
        for (i = 0; i < n; i += len)
            for (k = 0; k < half; ++k) {
                double wr = cos(ang * k), wi = sin(ang * k);
                double xr = re[i + k + half] * wr - im[i + k + half] * wi;
                double xi = re[i + k + half] * wi + im[i + k + half] * wr;
                re[i + k + half] = re[i + k] - xr;
                im[i + k + half] = im[i + k] - xi;
                re[i + k] += xr;
                im[i + k] += xi;
            }
    }
}

/* ---- White Gaussian noise from a fixed seed (xorshift64 and Box-Muller). */
static uint64_t gSeed = 0x9e3779b97f4a7c15ull;
static double uniform01(void) {
    gSeed ^= gSeed << 13;
    gSeed ^= gSeed >> 7;
    gSeed ^= gSeed << 17;
    return ((gSeed >> 11) + 0.5) * (1.0 / 9007199254740992.0);
}
static double gaussian(void) { return sqrt(-2.0 * log(uniform01())) * cos(2.0 * kPi * uniform01()); }

/* ---- Segmental SNR: the mean over 16 ms frames of the frame's SNR in dB,
   each limited to -10..35 dB, as speech enhancement is usually scored. */
static double segmentalSnr(const float* clean, const float* test, int count, int frameLen) {
    double sum = 0;
    int frames = 0, t, i;
    for (t = 0; t + frameLen <= count; t += frameLen, ++frames) {
        double s = 1e-10, e = 1e-10, snr;
        for (i = t; i < t + frameLen; ++i) {
            s += (double)clean[i] * clean[i];
            e += ((double)clean[i] - test[i]) * ((double)clean[i] - test[i]);
        }
        snr = 10.0 * log10(s / e);
        sum += snr < -10 ? -10 : snr > 35 ? 35 : snr;
    }
    return frames ? sum / frames : 0.0;
}

static int failed(ZelStatus s, const char* what) {
    if (s < 0) fprintf(stderr, "%s failed with status %d\n", what, s);
    return s < 0;
}

static void usage(void) {
    fprintf(stderr, "usage: zelsr_denoise [-g wiener|emns] [-s snr_dB] [-n] [-o out.wav] [-p out.png] [input.wav]\n");
}

/* Power spectrum in dB of one frame for the picture. */
static void toDb(const float* power, float* row, int bins) {
    int k;
    for (k = 0; k < bins; ++k) row[k] = (float)(10.0 * log10(power[k] + 1e-3));
}

int main(int argc, char** argv) {
    const char* inPath = ZELSR_DEMO_WAV;
    const char* outPath = "zelsr_denoised.wav";
    const char* pngPath = "zelsr_denoise.png";
    int useEmns = 0, noisyInput = 0, count = 0, rate = 0, a;
    double snrDb = 0.0;
    float *clean, *noisy, *denoised;
    int16_t* out16;
    int n, hop, bins, frames, t, k, i, stateSize = 0, status = 1;
    double *re, *im, *window;
    float *power, *noise, *prevClean, *xi, *gamma, *gain, *wiener, *picture[3];
    ZelMCRAState* state;

    for (a = 1; a < argc; ++a) {
        if (!strcmp(argv[a], "-g") && a + 1 < argc) {
            ++a;
            if (!strcmp(argv[a], "emns")) useEmns = 1;
            else if (strcmp(argv[a], "wiener")) { usage(); return 2; }
        } else if (!strcmp(argv[a], "-s") && a + 1 < argc) {
            char* end;
            snrDb = strtod(argv[++a], &end);
            if (*end) { usage(); return 2; }
        } else if (!strcmp(argv[a], "-n")) {
            noisyInput = 1;
        } else if (!strcmp(argv[a], "-o") && a + 1 < argc) {
            outPath = argv[++a];
        } else if (!strcmp(argv[a], "-p") && a + 1 < argc) {
            pngPath = argv[++a];
        } else if (argv[a][0] == '-') {
            usage();
            return 2;
        } else {
            inPath = argv[a];
        }
    }

    clean = exampleReadAudio32f(inPath, &count, &rate);
    if (!clean) return 1;
    if (rate < 8000 || rate > 48000) {
        fprintf(stderr, "%s: a sampling rate of %d Hz is outside 8000..48000\n", inPath, rate);
        free(clean);
        return 1;
    }
    /* Frames of the first power of two from 24 ms on (512 at 16 kHz), every
       half frame. */
    for (n = 8; n * 1000 < rate * 24 && n < 8192; n *= 2) {}
    hop = n / 2;
    bins = n / 2 + 1;
    frames = (count + hop - 1) / hop + 1;

    noisy = calloc((size_t)(frames + 1) * hop, sizeof(float));
    denoised = calloc((size_t)(frames + 1) * hop, sizeof(float));
    out16 = malloc((size_t)count * sizeof(int16_t) + 1);
    re = malloc(sizeof(double) * n), im = malloc(sizeof(double) * n), window = malloc(sizeof(double) * n);
    power = malloc(sizeof(float) * bins), noise = malloc(sizeof(float) * bins);
    prevClean = calloc(bins, sizeof(float)), xi = malloc(sizeof(float) * bins);
    gamma = malloc(sizeof(float) * bins), gain = malloc(sizeof(float) * bins), wiener = malloc(sizeof(float) * bins);
    for (i = 0; i < 3; ++i) picture[i] = malloc(sizeof(float) * (size_t)frames * bins);
    if (failed(zelsGetSizeMCRA_32f(n, &stateSize), "zelsGetSizeMCRA_32f")) return 1;
    state = malloc((size_t)stateSize);
    if (!noisy || !denoised || !out16 || !re || !im || !window || !power || !noise || !prevClean || !xi || !gamma ||
        !gain || !wiener || !picture[0] || !picture[1] || !picture[2] || !state) {
        fprintf(stderr, "out of memory\n");
        return 1;
    }

    /* The mixture, delayed by one hop so that the first frame already covers
       the first samples; the noise scaled to the asked SNR over the file. */
    {
        double signal = 0, noiseEnergy = 0, scale;
        float* white = malloc(sizeof(float) * (size_t)(count > 0 ? count : 1));
        if (!white) { fprintf(stderr, "out of memory\n"); return 1; }
        for (i = 0; i < count; ++i) {
            white[i] = (float)gaussian();
            signal += (double)clean[i] * clean[i];
            noiseEnergy += (double)white[i] * white[i];
        }
        scale = noisyInput || noiseEnergy == 0 ? 0.0 : sqrt(signal / noiseEnergy * pow(10.0, -snrDb / 10.0));
        for (i = 0; i < count; ++i) noisy[hop + i] = clean[i] + (float)(scale * white[i]);
        free(white);
    }

    /* Square-root periodic Hann: analysis times synthesis sums to 1 at 50% overlap. */
    for (i = 0; i < n; ++i) window[i] = sqrt(0.5 - 0.5 * cos(2.0 * kPi * i / n));
    if (failed(zelsInitMCRA_32f(rate, n, state), "zelsInitMCRA_32f")) return 1;

    /* The first update seeds the tracked minimum. One frame's power scatters
       widely about the noise level, and a bin seeded low would count as
       speech and hold its estimate down until two minimum windows had passed,
       so the seed is the mean power of the first 20 frames. */
    memset(noise, 0, sizeof(float) * bins);
    for (t = 0; t < frames && t < 20; ++t) {
        const float* frame = noisy + (size_t)t * hop;
        for (i = 0; i < n; ++i) re[i] = frame[i] * window[i], im[i] = 0.0;
        fft(re, im, n, -1);
        for (k = 0; k < bins; ++k) noise[k] += (float)((re[k] * re[k] + im[k] * im[k]) / 20.0);
    }
    memcpy(power, noise, sizeof(float) * bins);
    if (failed(zelsUpdateNoisePSDMCRA_32f_I(power, state, noise), "zelsUpdateNoisePSDMCRA_32f_I")) return 1;

    for (t = 0; t < frames; ++t) {
        const float* frame = noisy + (size_t)t * hop;
        for (i = 0; i < n; ++i) re[i] = frame[i] * window[i], im[i] = 0.0;
        fft(re, im, n, -1);
        for (k = 0; k < bins; ++k) power[k] = (float)(re[k] * re[k] + im[k] * im[k]);
        if (failed(zelsUpdateNoisePSDMCRA_32f_I(power, state, noise), "zelsUpdateNoisePSDMCRA_32f_I")) return 1;

        /* Decision-directed a priori ratio: mostly last frame's clean
           estimate, a little of this frame's excess over the noise. */
        for (k = 0; k < bins; ++k) {
            double lambda = noise[k] > 1e-6f ? noise[k] : 1e-6;
            double post = power[k] / lambda, excess = post - 1.0 > 0.0 ? post - 1.0 : 0.0;
            double prior = t == 0 ? excess : 0.98 * prevClean[k] / lambda + 0.02 * excess;
            xi[k] = (float)(prior > 0.003 ? prior : 0.003); /* -25 dB floor against musical noise */
            gamma[k] = (float)post;
        }
        if (failed(zelsFilterUpdateWiener_32f(xi, wiener, bins), "zelsFilterUpdateWiener_32f")) return 1;
        if (useEmns) {
            if (failed(zelsFilterUpdateEMNS_32f(wiener, gamma, gain, bins), "zelsFilterUpdateEMNS_32f")) return 1;
        } else {
            memcpy(gain, wiener, sizeof(float) * bins);
        }
        for (k = 0; k < bins; ++k) {
            double g = gain[k] < 1.0f ? gain[k] : 1.0;
            prevClean[k] = (float)(g * g * power[k]);
            re[k] *= g, im[k] *= g;
            if (k > 0 && k < n / 2) re[n - k] = re[k], im[n - k] = -im[k];
        }
        toDb(power, picture[1] + (size_t)t * bins, bins);
        toDb(prevClean, picture[2] + (size_t)t * bins, bins);

        fft(re, im, n, +1);
        for (i = 0; i < n; ++i) denoised[(size_t)t * hop + i] += (float)(re[i] / n * window[i]);
    }

    /* The clean spectrogram on the same frames, for the picture. */
    {
        float* padded = calloc((size_t)(frames + 1) * hop, sizeof(float));
        if (!padded) { fprintf(stderr, "out of memory\n"); return 1; }
        memcpy(padded + hop, noisyInput ? noisy + hop : clean, sizeof(float) * (size_t)count);
        for (t = 0; t < frames; ++t) {
            for (i = 0; i < n; ++i) re[i] = padded[(size_t)t * hop + i] * window[i], im[i] = 0.0;
            fft(re, im, n, -1);
            for (k = 0; k < bins; ++k) power[k] = (float)(re[k] * re[k] + im[k] * im[k]);
            toDb(power, picture[0] + (size_t)t * bins, bins);
        }
        free(padded);
    }

    for (i = 0; i < count; ++i) {
        double v = floor(denoised[hop + i] + 0.5);
        out16[i] = (int16_t)(v > 32767 ? 32767 : v < -32768 ? -32768 : v);
    }
    if (exampleWriteWav16(outPath, out16, count, rate) == 0) printf("wrote %s: denoised with the %s gain\n", outPath, useEmns ? "Ephraim-Malah" : "Wiener");
    else goto done;

    {
        ExamplePanel panels[3] = {
            {noisyInput ? "input (dB)" : "clean (dB)", picture[0], bins, "Hz", 0.0f, rate / 2.0f},
            {"noisy (dB)", picture[1], bins, "Hz", 0.0f, rate / 2.0f},
            {useEmns ? "denoised, Ephraim-Malah gain (dB)" : "denoised, Wiener gain (dB)", picture[2], bins, "Hz", 0.0f,
             rate / 2.0f},
        };
        if (examplePlotPanels(pngPath, panels, 3, frames, (double)hop / rate) == 0)
            printf("wrote %s: spectrograms of the clean, noisy and denoised signal\n", pngPath);
        else
            goto done;
    }

    printf("%d samples at %d Hz, %d-point frames every %d samples, %s gain\n", count, rate, n, hop,
           useEmns ? "Ephraim-Malah" : "Wiener");
    if (!noisyInput) {
        const int segment = rate * 16 / 1000;
        printf("input SNR %.1f dB\n", snrDb);
        printf("segmental SNR: noisy %.2f dB, denoised %.2f dB\n", segmentalSnr(clean, noisy + hop, count, segment),
               segmentalSnr(clean, denoised + hop, count, segment));
    }
    status = 0;
done:
    free(clean), free(noisy), free(denoised), free(out16), free(re), free(im), free(window), free(power);
    free(noise), free(prevClean), free(xi), free(gamma), free(gain), free(wiener), free(state);
    for (i = 0; i < 3; ++i) free(picture[i]);
    return status;
}
