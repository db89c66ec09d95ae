/* SPDX-License-Identifier: Apache-2.0 */
/* The zelsr demo: a feature front end from a WAV file to cepstra with deltas.
 *
 *   zelsr_demo [input.wav [picture.png]]
 *
 * Reads 16-bit mono speech (the bundled recording by default), cuts it into
 * 25 ms frames every 10 ms, windows them, runs a 23-filter mel bank on their
 * FFT magnitudes, takes logarithms, turns them into 12 cepstra and c0 with a
 * DCT and lifter, and appends deltas and delta-deltas block by block as a
 * streaming caller would. It prints a summary and draws the log mel
 * spectrogram above the cepstra into a PNG picture with a time axis.
 */
#include <math.h>
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

enum { kFilters = 23, kCepstra = 12, kStatic = kCepstra + 1, kRow = 3 * kStatic, kHistory = 6 };

static double now(void) {
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec + 1e-9 * t.tv_nsec;
}

static int check(ZelStatus s, const char* what) {
    if (s < 0) fprintf(stderr, "%s failed with status %d\n", what, s);
    return s < 0;
}

int main(int argc, char** argv) {
    const char* wavPath = argc > 1 ? argv[1] : ZELSR_DEMO_WAV;
    const char* pngPath = argc > 2 ? argv[2] : "zelsr_features.png";
    const ZelLibraryVersion* v = zelsrGetLibVersion();
    int count = 0, rate = 0, order = 0, fftLen, win, hop, frames, t, j, done, block, status = 1;
    int16_t* pcm;
    ZelFBankState_32f* bank = NULL;
    ZelDCTLifterState_32f* lifter = NULL;
    float *window = NULL, *frame = NULL, *logMel = NULL, *cep = NULL, *feat = NULL;
    double started, elapsed, sum[kRow] = {0}, sq[kRow] = {0};

    printf("%s %s (%d.%d.%d.%d, built %s)\n", v->Name, v->Version, v->major, v->minor, v->majorBuild, v->build,
           v->BuildDate);
    pcm = exampleReadAudio16(wavPath, &count, &rate);
    if (!pcm) return 1;
    win = rate / 40;  /* 25 ms */
    hop = rate / 100; /* 10 ms */
    frames = count < win ? 0 : 1 + (count - win) / hop;
    printf("%s: %d samples at %d Hz (%.2f s), %d frames\n", wavPath, count, rate, (double)count / rate, frames);
    if (frames < kHistory) {
        fprintf(stderr, "need at least %d frames\n", kHistory);
        free(pcm);
        return 1;
    }

    started = now();
    /* A mel bank that takes time frames and forms their FFT magnitudes itself. */
    if (check(zelsMelFBankInitAlloc_32f(&bank, &order, win, (float)rate, 64.0f, rate / 2.0f, kFilters, 1127.0f, 700.0f,
                                        zelFBankMelWeights | zelFBankMagnitudeInput),
              "mel bank"))
        goto out;
    if (check(zelsDCTLifterInitAlloc_C0_32f(&lifter, kFilters, kCepstra, 22, 1.0f, 1.0f), "DCT lifter")) goto out;
    fftLen = 1 << order;
    window = (float*)malloc(sizeof(float) * win);
    frame = (float*)malloc(sizeof(float) * fftLen);
    logMel = (float*)malloc(sizeof(float) * kFilters * frames);
    cep = (float*)malloc(sizeof(float) * kStatic * frames);
    feat = (float*)malloc(sizeof(float) * kRow * frames);
    if (!window || !frame || !logMel || !cep || !feat) goto out;
    for (j = 0; j < win; ++j) window[j] = (float)(0.54 - 0.46 * cos(2 * 3.14159265358979323846 * j / (win - 1)));
    /* Zero padding to the FFT length; the filter bank does not write its input. */
    memset(frame + win, 0, sizeof(float) * (fftLen - win));

    for (t = 0; t < frames; ++t) {
        const int16_t* x = pcm + (size_t)t * hop;
        float energy[kFilters];
        /* Pre-emphasis and Hamming window. The first sample is its own
           predecessor; the rest is one loop without a test in it, which the
           compiler turns into vector code (this loop took a third of the run
           while it tested j for every sample). */
        frame[0] = window[0] * (x[0] - 0.97f * x[0]);
        for (j = 1; j < win; ++j) frame[j] = window[j] * (x[j] - 0.97f * x[j - 1]);
        if (check(zelsEvalFBank_32f(frame, energy, bank), "filter bank")) goto out;
        for (j = 0; j < kFilters; ++j) logMel[t * kFilters + j] = logf(energy[j] > 1e-3f ? energy[j] : 1e-3f);
        if (check(zelsDCTLifter_32f(logMel + t * kFilters, cep + t * kStatic, lifter), "DCT lifter")) goto out;
    }

    /* Deltas as a streaming caller computes them: blocks of varying size, each call
       seeing the previous rows of the same output matrix as its history. */
    for (done = 0, block = 37; done < frames; done += block, block = block == 37 ? 64 : 37) {
        int first = done == 0, last = done + block >= frames;
        int mode = (first ? zelBeginStream : 0) | (last ? zelEndStream : 0);
        if (last) block = frames - done;
        if (check(zelsDeltaDelta_Win2_32f_D2(cep + (size_t)done * kStatic, kStatic,
                                             feat + (size_t)(first ? 0 : done - kHistory) * kRow, kRow, block,
                                             1.0f / 10, 1.0f / 10, mode),
                  "deltas"))
            goto out;
    }
    elapsed = now() - started;

    for (t = 0; t < frames; ++t)
        for (j = 0; j < kRow; ++j) {
            sum[j] += feat[t * kRow + j];
            sq[j] += (double)feat[t * kRow + j] * feat[t * kRow + j];
        }
    printf("features: %d frames x %d (12 cepstra and c0, deltas, delta-deltas)\n", frames, kRow);
    printf("%-8s %10s %10s %10s %10s %10s %10s\n", "coeff", "mean", "std", "d mean", "d std", "dd mean", "dd std");
    for (j = 0; j < kStatic; ++j) {
        int k;
        char label[8];
        snprintf(label, sizeof label, j < kCepstra ? "c%d" : "c0", j + 1);
        printf("%-8s", label);
        for (k = 0; k < 3; ++k) {
            int c = k * kStatic + j;
            double m = sum[c] / frames;
            printf(" %10.3f %10.3f", m, sqrt(sq[c] / frames - m * m > 0 ? sq[c] / frames - m * m : 0));
        }
        printf("\n");
    }
    printf("processing time %.2f ms for %.2f s of audio: real-time factor %.5f\n", elapsed * 1e3,
           (double)count / rate, elapsed / ((double)count / rate));

    {
        /* The cepstra c1..c12 of each row, without c0 and the deltas. */
        float* c12 = (float*)malloc(sizeof(float) * kCepstra * frames);
        ExamplePanel panels[2] = {{"log mel filter-bank energies", NULL, kFilters, "filter", 1, kFilters},
                                  {"cepstra c1..c12", NULL, kCepstra, "coefficient", 1, kCepstra}};
        if (!c12) goto out;
        for (t = 0; t < frames; ++t) memcpy(c12 + t * kCepstra, feat + (size_t)t * kRow, sizeof(float) * kCepstra);
        panels[0].data = logMel;
        panels[1].data = c12;
        if (examplePlotPanels(pngPath, panels, 2, frames, (double)hop / rate) == 0)
            printf("wrote %s: log mel spectrogram (top) and cepstra c1..c12 (bottom) over time\n", pngPath);
        free(c12);
    }
    status = 0;
out:
    zelsDCTLifterFree_32f(lifter);
    zelsFBankFree_32f(bank);
    free(window);
    free(frame);
    free(logMel);
    free(cep);
    free(feat);
    free(pcm);
    return status;
}
