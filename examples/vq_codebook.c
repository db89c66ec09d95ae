/* SPDX-License-Identifier: Apache-2.0 */
/* Vector quantization of speech cepstra.
 *
 *   zelsr_vq_codebook [input.wav]
 *
 * Reads mono speech (the bundled recording by default), turns it into 12
 * cepstra and c0 per 10 ms frame with the streaming feature extractor, and
 * trains codebooks on them by repeated splitting: 1, 2, 4, ... 256
 * codewords. For each size it quantizes every frame with the tree search and
 * with an exact search over the same codewords and prints both mean
 * distortions, then shows how the frames spread over the 256 codewords.
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

enum { kStatic = 13 /* 12 cepstra and c0 */, kMaxCodewords = 256 };

static int check(ZelStatus s, const char* what) {
    if (s < 0) fprintf(stderr, "%s failed with status %d\n", what, s);
    return s < 0;
}

/* Mean squared distance of the frames to the codewords the search returns. */
static double meanDistortion(const float* dist, int frames) {
    double s = 0;
    int t;
    for (t = 0; t < frames; ++t) s += (double)dist[t] * dist[t];
    return s / frames;
}

/* The exact search over a codebook's rows: its mean distortion, or -1. */
static double exactDistortion(const ZelCdbkState_32f* cb, const float* cep, int frames, Zel32s* idx, float* dist) {
    int entries = 0;
    float* rows;
    ZelCdbkState_32f* full = NULL;
    double d = -1;
    zelsGetCdbkSize_32f(cb, &entries);
    rows = (float*)malloc(sizeof(float) * (size_t)entries * kStatic);
    if (rows && zelsGetCodebook_32f(cb, rows, kStatic) == zelStsNoErr &&
        !check(zelsCdbkInitAlloc_L2_32f(&full, rows, kStatic, kStatic, entries, entries, 1), "full table") &&
        !check(zelsVQDist_32f(cep, kStatic, idx, dist, frames, full), "exact search"))
        d = meanDistortion(dist, frames);
    zelsCdbkFree_32f(full);
    free(rows);
    return d;
}

int main(int argc, char** argv) {
    const char* wavPath = argc > 1 ? argv[1] : ZELSR_DEMO_WAV;
    int count = 0, rate = 0, frames = 0, dim = 0, size, t, status = 1;
    float* pcm;
    float *cep = NULL, *dist = NULL, *exactDist = NULL;
    Zel32s *idx = NULL, *exact = NULL;
    ZelCdbkState_32f* cb = NULL;

    pcm = exampleReadAudio32f(wavPath, &count, &rate);
    if (!pcm) return 1;
    cep = exampleCepstra(pcm, count, rate, 0, &frames, &dim);
    free(pcm);
    if (!cep) return 1;
    printf("%s: %d frames of %d cepstra\n", wavPath, frames, kStatic);
    dist = (float*)malloc(sizeof(float) * frames);
    exactDist = (float*)malloc(sizeof(float) * frames);
    idx = (Zel32s*)malloc(sizeof(Zel32s) * frames);
    exact = (Zel32s*)malloc(sizeof(Zel32s) * frames);
    if (!dist || !exactDist || !idx || !exact) goto out;

    /* Each doubling of the codebook is one more round of splits and k-means
       passes; the distortion shows what each round bought. */
    printf("\n codewords  entries  mean distortion: tree search, exact search\n");
    for (size = 1; size <= kMaxCodewords; size *= 2) {
        int entries = 0;
        ZelStatus s;
        if (size > frames) break;
        zelsCdbkFree_32f(cb);
        cb = NULL;
        s = zelsCdbkInitAlloc_L2_32f(&cb, cep, kStatic, kStatic, frames, size, 3);
        if (check(s, "codebook training")) goto out;
        zelsGetCdbkSize_32f(cb, &entries);
        if (check(zelsVQDist_32f(cep, kStatic, idx, dist, frames, cb), "tree search")) goto out;
        printf(" %9d  %7d  %10.4f  %10.4f%s\n", size, entries, meanDistortion(dist, frames),
               exactDistortion(cb, cep, frames, exact, exactDist),
               s == zelStsCdbkSizeWarn ? "  (no leaf left to split)" : "");
    }

    /* Usage of the last codebook, and where the tree search and the exact
       one part (exact[] holds the exact indices of the last size). */
    {
        int entries = 0, used = 0, most = 0, c, disagree = 0;
        int* hits;
        double entropy = 0;
        zelsGetCdbkSize_32f(cb, &entries);
        hits = (int*)calloc((size_t)entries, sizeof(int));
        if (!hits) goto out;
        for (t = 0; t < frames; ++t)
            if (idx[t] >= 0 && idx[t] < entries) hits[idx[t]]++;
        for (c = 0; c < entries; ++c) {
            if (hits[c]) {
                const double p = (double)hits[c] / frames;
                ++used;
                entropy -= p * log(p) / log(2.0);
            }
            most = hits[c] > most ? hits[c] : most;
        }
        printf("\nusage of %d codewords: %d used, the busiest holds %d frames, %.2f bits of entropy (%.2f at most)\n",
               entries, used, most, entropy, log((double)entries) / log(2.0));
        printf("frames per codeword:");
        for (c = 0; c < entries; ++c) printf("%s%3d", c % 16 ? " " : "\n  ", hits[c]);
        printf("\n");
        for (t = 0; t < frames; ++t) disagree += exact[t] != idx[t];
        printf("the tree search chose another codeword than the exact search for %d of %d frames\n", disagree, frames);
        free(hits);
    }
    status = 0;
out:
    zelsCdbkFree_32f(cb);
    free(cep);
    free(dist);
    free(exactDist);
    free(idx);
    free(exact);
    return status;
}
