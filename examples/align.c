/* SPDX-License-Identifier: Apache-2.0 */
/* Alignment of a recording with a slowed-down copy of itself.
 *
 *   zelsr_align [input.wav [speed]]
 *
 * Reads mono speech (the bundled recording by default), makes a copy
 * played at `speed` (0.9 by default: longer and lower) with the library's
 * general-ratio resampler, computes 12 cepstra and c0 for every 25 ms frame
 * of both with the streaming feature extractor, and aligns the two sequences with dynamic time
 * warping. The library returns the cost of the best alignment; the program
 * traces that path with a plain dynamic program of its own under the same
 * band and moves, and prints how far the path strays from the straight line
 * between the two ends, which a uniform change of speed should follow.
 */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "audio_io.h"
#include "cepstra.h"
#include "zelsr.h"

#ifndef ZELSR_DEMO_WAV
#define ZELSR_DEMO_WAV "speech16k.wav"
#endif

enum { kStatic = 13 /* 12 cepstra and c0 */, kBand = 20 };

/* The input played at `speed`: count / speed samples at the same rate. */
static float* slowDown(const float* x, int count, double speed, int* pCount) {
    const int pad = 64;
    ZelResamplingPolyphase* resampler = NULL;
    float *src = NULL, *dst = NULL;
    double t = pad;
    int n = 0;
    if (zelsResamplePolyphaseInitAlloc_32f(&resampler, 64.0f, 256, 0.95f, 9.0f, zelAlgHintFast) < 0) return NULL;
    src = (float*)calloc((size_t)count + 2 * pad, sizeof(float));
    dst = (float*)malloc(sizeof(float) * ((size_t)(count / speed) + 16));
    if (src && dst) {
        memcpy(src + pad, x, sizeof(float) * count);
        if (zelsResamplePolyphase_32f(resampler, src, count, dst, 1.0 / speed, 1.0f, &t, &n) < 0) {
            free(dst);
            dst = NULL;
        }
    }
    zelsResamplePolyphaseFree_32f(resampler);
    free(src);
    *pCount = n;
    return dst;
}

static double distance(const float* a, const float* b) {
    double s = 0;
    int k;
    for (k = 0; k < kStatic; ++k) s += (double)(a[k] - b[k]) * (a[k] - b[k]);
    return sqrt(s);
}

/* The path of the library's dynamic program (moves of 0, 1 or 2 columns per
   row, the parallelogram band widened by `delta`), traced back into
   pathCol[row]; returns its cost. rows has n >= m vectors. */
static double tracePath(const float* rows, int n, const float* cols, int m, int delta, int* pathCol) {
    double* D = (double*)malloc(sizeof(double) * n * m);
    signed char* from = (signed char*)malloc((size_t)n * m);
    double best = HUGE_VAL;
    int i, j, end = 0;
    if (!D || !from) {
        free(D);
        free(from);
        return HUGE_VAL;
    }
    for (i = 0; i < n; ++i) {
        int upper = 3 * i < 2 * m - n ? delta + 2 * i : m + delta + (int)floor((i - n - 1) / 2.0);
        int lower = 3 * i > 2 * (2 * n - m) - 2 ? m - 2 * n - delta + 2 * i + 1 : i / 2 - delta;
        if (i == 0) upper = delta;
        for (j = 0; j < m; ++j) {
            double p = i == 0 ? 0 : HUGE_VAL;
            int k;
            D[i * m + j] = HUGE_VAL;
            if (j < lower || j > upper) continue;
            for (k = 0; i > 0 && k < 3 && j - k >= 0; ++k)
                if (D[(i - 1) * m + j - k] < p) {
                    p = D[(i - 1) * m + j - k];
                    from[i * m + j] = (signed char)k;
                }
            if (p < HUGE_VAL) D[i * m + j] = p + distance(rows + i * kStatic, cols + j * kStatic);
        }
    }
    for (j = 0; j < m; ++j)
        if (D[(n - 1) * m + j] < best) best = D[(n - 1) * m + (end = j)];
    for (i = n - 1, j = end; i >= 0; --i) {
        pathCol[i] = j;
        if (i > 0) j -= from[i * m + j];
    }
    free(D);
    free(from);
    return best;
}

int main(int argc, char** argv) {
    const char* wavPath = argc > 1 ? argv[1] : ZELSR_DEMO_WAV;
    const double speed = argc > 2 ? atof(argv[2]) : 0.9;
    int count = 0, rate = 0, slowCount = 0, n = 0, m = 0, dim = 0, nr, nc, i, status = 1, worstRow = 0;
    float *pcm = NULL, *slow = NULL, *a = NULL, *b = NULL, *rows, *cols, cost = 0, costBeam = 0;
    int* path = NULL;
    double traced, worst = 0, sum = 0;

    if (!(speed >= 0.55 && speed <= 1.8)) {
        fprintf(stderr, "usage: %s [input.wav [speed]], speed from 0.55 to 1.8\n", argv[0]);
        return 1;
    }
    pcm = exampleReadAudio32f(wavPath, &count, &rate);
    if (!pcm) return 1;
    slow = slowDown(pcm, count, speed, &slowCount);
    a = exampleCepstra(pcm, count, rate, 0, &m, &dim);
    b = slow ? exampleCepstra(slow, slowCount, rate, 0, &n, &dim) : NULL;
    if (!a || !b) {
        fprintf(stderr, "%s: too short or not processable\n", wavPath);
        goto out;
    }
    printf("%s: %d frames; played at %.2fx: %d frames\n", wavPath, m, speed, n);
    /* The longer sequence gives the rows: nr of them, nc columns. */
    rows = n >= m ? b : a;
    cols = n >= m ? a : b;
    nr = n >= m ? n : m;
    nc = n >= m ? m : n;

    if (zelsDTW_L2_32f_D2(rows, nr, cols, nc, kStatic, kStatic, &cost, kBand, 1e30f) < 0 ||
        zelsDTW_L2_32f_D2(rows, nr, cols, nc, kStatic, kStatic, &costBeam, kBand, 200.0f) < 0)
        goto out;
    path = (int*)malloc(sizeof(int) * nr);
    if (!path) goto out;
    traced = tracePath(rows, nr, cols, nc, kBand < m ? kBand : m - 1, path);
    printf("alignment cost %.3f (%.4f per frame); with a beam of 200: %.3f; traced path %.3f\n", cost, cost / nr,
           costBeam, traced);

    /* Deviation of the path from the straight line between its ends. */
    for (i = 0; i < nr; ++i) {
        const double diagonal = (double)i * (nc - 1) / (nr - 1 > 0 ? nr - 1 : 1);
        const double dev = fabs(path[i] - diagonal);
        sum += dev;
        if (dev > worst) worst = dev, worstRow = i;
    }
    printf("path deviation from the diagonal: mean %.2f frames, largest %.1f frames (at %.2f s)\n", sum / nr, worst,
           worstRow * 0.01);
    status = 0;
out:
    free(path);
    free(a);
    free(b);
    free(slow);
    free(pcm);
    return status;
}
