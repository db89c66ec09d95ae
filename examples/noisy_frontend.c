/* SPDX-License-Identifier: Apache-2.0 */
/* The zelsr noise-robust front end on a noisy recording.
 *
 *   zelsr_noisy_frontend [input.wav [picture.png]]
 *
 * Reads speech (the bundled recording by default), brings it to 8 kHz and
 * adds white noise at 5 dB SNR from a fixed seed, so that every run is the
 * same. Then, every 10 ms, it runs the Aurora chain as a caller assembles
 * it: two Wiener stages (power spectrum, noise update in the frames the voice
 * activity decision finds free of speech, Wiener gains, the Low Mel bank, a
 * mel-warped inverse cosine transform to 10 impulse-response values, taps and
 * the residual filter), wave processing, cepstra from a 23-filter mel bank
 * and the DCT lifter, blind equalization and the voice activity decision.
 * It prints a summary per second and for the whole file, and draws the noisy
 * spectrogram, the denoised spectrogram and the decisions into a PNG picture.
 */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "audio_io.h"
#include "plot.h"
#include "zelsr.h"

#ifndef ZELSR_DEMO_WAV
#define ZELSR_DEMO_WAV "speech16k.wav"
#endif

enum { kShift = 80, kWin = 200, kFft = 256, kBins = 65, kBands = 25, kMel = 23, kCep = 12, kPerSecond = 100 };

static const double kPi = 3.14159265358979323846;

static double now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec + 1e-9 * t.tv_nsec;
}

static int check(ZelStatus s, const char* what) {
    if (s < 0) fprintf(stderr, "%s failed with status %d\n", what, s);
    return s < 0;
}

/* ---- Noise from a fixed seed: xorshift32 and the Box-Muller transform ---- */

static uint32_t seed = 20261123u;
static double uniform01(void) {
    seed ^= seed << 13;
    seed ^= seed >> 17;
    seed ^= seed << 5;
    return (seed + 0.5) / 4294967296.0;
}
static double gaussian(void) { return sqrt(-2.0 * log(uniform01())) * cos(2.0 * kPi * uniform01()); }

/* ---- A 256-point real FFT in the packed layout the power spectrum reads:
        bin 0, the top bin, then re and im of bins 1 .. 127 ---- */

static void fftPacked(const float* x, float* packed) {
    static double cosT[kFft / 2], sinT[kFft / 2];
    static int ready = 0;
    double re[kFft], im[kFft];
    int i, j, k, len;
    if (!ready) {
        for (i = 0; i < kFft / 2; ++i) cosT[i] = cos(2 * kPi * i / kFft), sinT[i] = -sin(2 * kPi * i / kFft);
        ready = 1;
    }
    for (i = 0; i < kFft; ++i) {
        for (j = 0, k = i, len = 1; len < kFft; len <<= 1, k >>= 1) j = (j << 1) | (k & 1);
        re[j] = x[i];
        im[j] = 0.0;
    }
    for (len = 2; len <= kFft; len <<= 1)
        for (i = 0; i < kFft; i += len)
            for (j = 0; j < len / 2; ++j) {
                const int t = j * (kFft / len);
                const double wr = cosT[t], wi = sinT[t];
                const double br = re[i + j + len / 2] * wr - im[i + j + len / 2] * wi;
                const double bi = re[i + j + len / 2] * wi + im[i + j + len / 2] * wr;
                re[i + j + len / 2] = re[i + j] - br, im[i + j + len / 2] = im[i + j] - bi;
                re[i + j] += br, im[i + j] += bi;
            }
    packed[0] = (float)re[0];
    packed[1] = (float)re[kFft / 2];
    for (k = 1; k < kFft / 2; ++k) packed[2 * k] = (float)re[k], packed[2 * k + 1] = (float)im[k];
}

/* ---- 16 kHz to 8 kHz: a 31-tap windowed-sinc low pass at 3.7 kHz ---- */

static float* halfRate(const float* x, int n, int* pOut) {
    float h[31], *y = malloc(sizeof(float) * (size_t)(n / 2 + 1));
    int k, i, m = 0;
    if (!y) return NULL;
    for (k = 0; k < 31; ++k) {
        const double t = k - 15, fc = 3700.0 / 16000.0;
        h[k] = (float)((t == 0 ? 2 * fc : sin(2 * kPi * fc * t) / (kPi * t)) * (0.54 - 0.46 * cos(2 * kPi * k / 30)));
    }
    for (i = 0; i < n; i += 2, ++m) {
        float s = 0;
        for (k = 0; k < 31; ++k)
            if (i + 15 - k >= 0 && i + 15 - k < n) s += h[k] * x[i + 15 - k];
        y[m] = s;
    }
    *pOut = m;
    return y;
}

/* ---- The Wiener stage ---- */

typedef struct {
    float frame[kWin], history[16], noise[kBins], den[kBins], power[kBins], gain[kBins];
    int first;
} Stage;

typedef struct {
    ZelFBankState_32f* low; /* the Low Mel bank of the gains */
    float hann[kWin];
    float idct[kBands][10]; /* mel-warped inverse cosine transform with a Hann taper */
} Tables;

static void powerOf(const Tables* tb, const float* frame, float* power) {
    float x[kFft], X[kFft];
    int i;
    memset(x, 0, sizeof x);
    for (i = 0; i < kWin; ++i) x[i] = frame[i] * tb->hann[i];
    fftPacked(x, X);
    zelsSmoothedPowerSpectrumAurora_32f(X, power, kFft);
}

/* 80 new samples in, 80 filtered out, 8 samples behind. */
static void stageRun(Stage* s, const Tables* tb, const float* in, float* out, int noiseOnly) {
    float melGain[kBands], h[10], taps[17], x[96];
    int i, k, n;
    memmove(s->frame, s->frame + kShift, (kWin - kShift) * sizeof(float));
    memcpy(s->frame + kWin - kShift, in, kShift * sizeof(float));
    powerOf(tb, s->frame, s->power);
    if (s->first) {
        memcpy(s->noise, s->power, sizeof s->noise);
        memcpy(s->den, s->power, sizeof s->den);
        s->first = 0;
    } else if (noiseOnly) {
        zelsNoiseSpectrumUpdate_Aurora_32f(s->power, s->noise, s->noise, kBins);
    }
    zelsWienerFilterDesign_Aurora_32f(s->power, s->noise, s->den, s->gain, kBins);
    for (i = 0; i < kBins; ++i) s->den[i] = s->gain[i] * s->power[i];
    zelsEvalFBank_32f(s->gain, melGain, tb->low);
    for (n = 0; n < 10; ++n) h[n] = 0;
    for (k = 0; k < kBands; ++k)
        for (n = 0; n < 10; ++n) h[n] += melGain[k] * tb->idct[k][n];
    zelsTabsCalculation_Aurora_32f(h, taps);
    memcpy(x, s->history, sizeof s->history);
    memcpy(x + 16, in, kShift * sizeof(float));
    zelsResidualFilter_Aurora_32f(x, out, taps);
    memcpy(s->history, in + kShift - 16, sizeof s->history);
}

static int makeTables(Tables* tb) {
    Zel32s c[kBands + 2];
    double fc[kBands], total = 0;
    int i, k, n;
    if (check(zelsMelFBankInitAllocLow_Aurora_32f(&tb->low), "the Low Mel bank") ||
        check(zelsFBankGetCenters_32f(tb->low, c), "its centres"))
        return 1;
    for (i = 0; i < kWin; ++i) tb->hann[i] = (float)(0.5 - 0.5 * cos(2 * kPi * (i + 0.5) / kWin));
    /* Band k is centred on bin c[k + 1] of the 65 bins, 62.5 Hz apart. */
    for (k = 0; k < kBands; ++k) fc[k] = c[k + 1] * 62.5;
    for (k = 0; k < kBands; ++k) {
        const double df = (fc[k < kBands - 1 ? k + 1 : k] - fc[k > 0 ? k - 1 : 0]) / 8000.0;
        total += df;
        for (n = 0; n < 10; ++n)
            tb->idct[k][n] = (float)(cos(2 * kPi * n * fc[k] / 8000.0) * df * 0.5 * (1 + cos(2 * kPi * n / 17)));
    }
    for (k = 0; k < kBands; ++k)
        for (n = 0; n < 10; ++n) tb->idct[k][n] = (float)(tb->idct[k][n] / total);
    return 0;
}

/* ---- The picture ---- */

/* A dark-blue to yellow ramp for v in 0..1. */
/* ---- Segmental SNR of frames with speech, the clean signal scaled to the
        output by least squares so that level does not count as noise ---- */

static double segSnr(const float* clean, const float* x, int delay, int from, int to, const int* active,
                     double scale) {
    double total = 0;
    int f, i, frames = 0;
    for (f = from; f < to; ++f) {
        double sig = 0, err = 0;
        if (!active[f]) continue;
        for (i = 0; i < kShift; ++i) {
            const int n = f * kShift + i;
            const double c = scale * clean[n], e = x[n + delay] - c;
            sig += c * c;
            err += e * e;
        }
        {
            double v = 10 * log10(sig / (err > 1e-9 ? err : 1e-9));
            total += v < -10 ? -10 : (v > 35 ? 35 : v);
            ++frames;
        }
    }
    return frames ? total / frames : 0.0;
}

static double fitScale(const float* clean, const float* x, int delay, int n) {
    double cx = 0, cc = 0;
    int i;
    for (i = 0; i + delay < n; ++i) cx += (double)clean[i] * x[i + delay], cc += (double)clean[i] * clean[i];
    return cc > 0 ? cx / cc : 1.0;
}

int main(int argc, char** argv) {
    const char* wavPath = argc > 1 ? argv[1] : ZELSR_DEMO_WAV;
    const char* pngPath = argc > 2 ? argv[2] : "zelsr_noisy_frontend.png";
    int count = 0, rate = 0, n8 = 0, frames, f, i, k, order = 0, status = 1, delay = 16;
    float *raw = NULL, *clean = NULL, *noisy = NULL, *denoised = NULL, *noisyDb = NULL, *cleanDb = NULL;
    float *estSnr = NULL, *cepstra = NULL;
    int *decision = NULL, *active = NULL;
    Tables tb = {0};
    Stage stage[2];
    ZelFBankState_32f* mel = NULL;
    ZelDCTLifterState_32f* dct = NULL;
    ZelVADState_Aurora* vad = NULL;
    float waveFrame[kWin], bias[kCep], refCep[kCep];
    double power = 0, sigma, t0, seconds, peak = -1e30, maxFrame = 0, before, after, scaleIn, scaleOut;
    int vadBytes = 0;

    raw = exampleReadAudio32f(wavPath, &count, &rate);
    if (!raw) return 1;
    if (rate == 16000) {
        clean = halfRate(raw, count, &n8);
    } else if (rate == 8000) {
        clean = raw, raw = NULL, n8 = count;
    } else {
        fprintf(stderr, "%s: %d Hz; this front end takes 8 or 16 kHz\n", wavPath, rate);
        goto done;
    }
    frames = n8 / kShift;
    if (!clean || frames < 20) {
        fprintf(stderr, "%s: too short for the front end (%d samples at 8 kHz)\n", wavPath, n8);
        goto done;
    }
    n8 = frames * kShift;

    noisy = malloc(sizeof(float) * (size_t)(n8 + delay));
    denoised = malloc(sizeof(float) * (size_t)(n8 + delay));
    noisyDb = malloc(sizeof(float) * (size_t)frames * kBins);
    cleanDb = malloc(sizeof(float) * (size_t)frames * kBins);
    estSnr = malloc(sizeof(float) * (size_t)frames);
    cepstra = malloc(sizeof(float) * (size_t)frames * (kCep + 1));
    decision = malloc(sizeof(int) * (size_t)frames);
    active = malloc(sizeof(int) * (size_t)frames);
    if (!noisy || !denoised || !noisyDb || !cleanDb || !estSnr || !cepstra || !decision || !active) {
        fprintf(stderr, "out of memory\n");
        goto done;
    }

    /* White noise at 5 dB below the recording's mean power. */
    for (i = 0; i < n8; ++i) power += (double)clean[i] * clean[i];
    sigma = sqrt(power / n8 / pow(10.0, 0.5));
    for (i = 0; i < n8; ++i) noisy[i] = clean[i] + (float)(sigma * gaussian());
    for (i = n8; i < n8 + delay; ++i) noisy[i] = 0.0f;

    if (makeTables(&tb) ||
        check(zelsMelFBankInitAlloc_32f(&mel, &order, kWin, 8000.0f, 64.0f, 4000.0f, kMel, 2595.0f, 700.0f,
                                        zelFBankMelWeights | zelFBankMagnitudeInput),
              "the cepstral mel bank") ||
        check(zelsDCTLifterInitAlloc_C0_32f(&dct, kMel, kCep, 22, 1.0f, 1.0f), "the DCT lifter") ||
        check(zelsVADGetBufSize_Aurora_32f(&vadBytes), "the VAD size query"))
        goto done;
    vad = malloc((size_t)vadBytes);
    if (!vad || check(zelsVADInit_Aurora_32f(vad), "the VAD")) goto done;
    memset(stage, 0, sizeof stage);
    stage[0].first = stage[1].first = 1;
    memset(waveFrame, 0, sizeof waveFrame);
    memset(bias, 0, sizeof bias);
    memset(refCep, 0, sizeof refCep);

    t0 = now();
    for (f = 0; f < frames; ++f) {
        float mid[kShift], logMel[kBands], shaped[kWin], padded[1 << 8], melE[kMel], energy = 0;
        double sumP = 0, sumN = 0;
        Zel32s res = zelVADUndecided;
        /* The noise estimate follows the frames last found free of speech. */
        const int noiseOnly = f == 0 || decision[f - 1] != zelVADSpeech;
        stageRun(&stage[0], &tb, noisy + (size_t)f * kShift, mid, noiseOnly);
        stageRun(&stage[1], &tb, mid, denoised + (size_t)f * kShift, noiseOnly);

        zelsEvalFBank_32f(stage[0].power, logMel, tb.low);
        for (k = 0; k < kBands; ++k) logMel[k] = logf(1.0f + logMel[k]);
        if (check(zelsVADDecision_Aurora_32f(logMel, stage[0].frame + kWin - 64, 0, &res, vad), "the decision"))
            goto done;
        decision[f] = res;
        for (k = 0; k < kBins; ++k) sumP += stage[0].power[k], sumN += stage[0].noise[k];
        estSnr[f] = (float)(10 * log10((sumP > sumN ? sumP - sumN : 1e-3 * sumN) / (sumN > 0 ? sumN : 1e-30)));

        memmove(waveFrame, waveFrame + kShift, (kWin - kShift) * sizeof(float));
        memcpy(waveFrame + kWin - kShift, denoised + (size_t)f * kShift, kShift * sizeof(float));
        zelsWaveProcessing_Aurora_32f(waveFrame, shaped);
        memset(padded, 0, sizeof padded);
        for (i = 0; i < kWin; ++i) {
            padded[i] = shaped[i] * (float)(0.54 - 0.46 * cos(2 * kPi * i / (kWin - 1)));
            energy += shaped[i] * shaped[i];
        }
        zelsEvalFBank_32f(padded, melE, mel);
        for (k = 0; k < kMel; ++k) melE[k] = logf(melE[k] + 1.0f);
        zelsDCTLifter_32f(melE, cepstra + (size_t)f * (kCep + 1), dct);
        zelsBlindEqualization_Aurora_32f(refCep, cepstra + (size_t)f * (kCep + 1), bias, kCep, logf(energy + 1.0f));
    }
    seconds = now() - t0;
    for (i = n8; i < n8 + delay; ++i) denoised[i] = 0.0f;

    /* Spectrograms for the picture: the noisy input and the denoised output, aligned. */
    for (f = 0; f < frames; ++f) {
        float frame[kWin], p[kBins];
        double e = 0;
        for (k = 0; k < 2; ++k) {
            const float* src = k == 0 ? noisy : denoised;
            const int shift = k == 0 ? 0 : delay;
            for (i = 0; i < kWin; ++i) {
                const int n = f * kShift + kShift - kWin + i + shift;
                frame[i] = n >= 0 && n < n8 + delay ? src[n] : 0.0f;
            }
            powerOf(&tb, frame, p);
            for (i = 0; i < kBins; ++i) {
                const float v = 10.0f * log10f(p[i] + 1e-3f);
                (k == 0 ? noisyDb : cleanDb)[(size_t)f * kBins + i] = v;
                peak = v > peak ? v : peak;
            }
        }
        for (i = 0; i < kShift; ++i) e += (double)clean[f * kShift + i] * clean[f * kShift + i];
        maxFrame = e > maxFrame ? e : maxFrame;
    }
    for (f = 0; f < frames; ++f) {
        double e = 0;
        for (i = 0; i < kShift; ++i) e += (double)clean[f * kShift + i] * clean[f * kShift + i];
        active[f] = e > 1e-3 * maxFrame; /* within 30 dB of the loudest frame */
    }

    scaleIn = fitScale(clean, noisy, 0, n8);
    scaleOut = fitScale(clean, denoised, delay, n8);
    printf("zelsr %s, noisy front end on %s: %d frames of 10 ms at 8 kHz, white noise at 5 dB SNR\n",
           zelsrGetLibVersion()->Version, wavPath, frames);
    printf("  second  speech  non-speech  undecided  est. SNR  segSNR noisy -> denoised\n");
    for (f = 0; f < frames; f += kPerSecond) {
        const int to = f + kPerSecond < frames ? f + kPerSecond : frames;
        int counts[3] = {0, 0, 0};
        double snr = 0;
        for (k = f; k < to; ++k) {
            counts[decision[k] == zelVADSpeech ? 0 : decision[k] == zelVADNonSpeech ? 1 : 2]++;
            snr += estSnr[k];
        }
        printf("  %6d  %6d  %10d  %9d  %5.1f dB  %6.1f dB -> %5.1f dB\n", f / kPerSecond + 1, counts[0], counts[1],
               counts[2], snr / (to - f), segSnr(clean, noisy, 0, f, to, active, scaleIn),
               segSnr(clean, denoised, delay, f, to, active, scaleOut));
    }
    before = segSnr(clean, noisy, 0, 0, frames, active, scaleIn);
    after = segSnr(clean, denoised, delay, 0, frames, active, scaleOut);
    printf("segmental SNR over the frames with speech: %.2f dB noisy, %.2f dB denoised (%+.2f dB)\n", before, after,
           after - before);
    printf("blind equalization: bias of c1 .. c3 at the end %.3f %.3f %.3f\n", bias[0], bias[1], bias[2]);
    printf("processing: %.1f ms for %.2f s of audio, real-time factor %.4f\n", 1e3 * seconds, frames / 100.0,
           seconds / (frames / 100.0));

    {
        /* The decisions as a one-row panel: 1 speech, 0 non-speech, 0.5 undecided. */
        float* marks = malloc(sizeof(float) * (size_t)frames);
        ExamplePanel panels[3] = {{"noisy log power spectrum (dB)", NULL, kBins, "Hz", 0, 4000},
                                  {"denoised log power spectrum (dB)", NULL, kBins, "Hz", 0, 4000},
                                  {"voice activity: speech 1, non-speech 0, undecided 0.5", NULL, 1, "", 0, 1}};
        if (!marks) goto done;
        for (f = 0; f < frames; ++f)
            marks[f] = decision[f] == zelVADSpeech ? 1.0f : decision[f] == zelVADNonSpeech ? 0.0f : 0.5f;
        panels[0].data = noisyDb;
        panels[1].data = cleanDb;
        panels[2].data = marks;
        i = examplePlotPanels(pngPath, panels, 3, frames, kShift / 8000.0);
        free(marks);
        if (i != 0) goto done;
        printf("picture: %s (noisy spectrogram, denoised spectrogram, speech decisions)\n", pngPath);
    }
    status = 0;

done:
    free(raw);
    free(clean);
    free(noisy);
    free(denoised);
    free(noisyDb);
    free(cleanDb);
    free(estSnr);
    free(cepstra);
    free(decision);
    free(active);
    free(vad);
    if (tb.low) zelsFBankFree_32f(tb.low);
    if (mel) zelsFBankFree_32f(mel);
    if (dct) zelsDCTLifterFree_32f(dct);
    return status;
}
