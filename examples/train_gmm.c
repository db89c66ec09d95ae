/* SPDX-License-Identifier: Apache-2.0 */
/* Trains a diagonal Gaussian mixture on speech features with the library alone.
 *
 *   zelsr_train_gmm [input.wav [model.txt]]
 *
 * Reads mono speech (the bundled recording by default) and turns it into
 * 39-dimensional features with the streaming feature extractor: 25 ms frames
 * every 10 ms, a 23-filter mel bank, 12 cepstra and c0, deltas and
 * delta-deltas. Then it
 * trains a mixture by expectation-maximisation, growing it from 1 to 16
 * components by splitting every component in two:
 *
 *   E step  zelsLogGaussMultiMix_64f_D2 scores a frame against every
 *           component, zelsLogGaussMixture_64f_D2 gives its log-likelihood,
 *           and their difference the posterior of each component;
 *   M step  zelsMeanVarAcc_64f collects the posterior-weighted moments,
 *           zelsUpdateWeight_64f, zelsUpdateVar_64f (under a variance floor)
 *           and zelsUpdateMean_64f re-estimate, and zelsUpdateGConst_64f
 *           gives each component's constant term for the next E step;
 *   growth  zelsGaussianSplit_64f moves the halves of a component 0.2
 *           standard deviations apart.
 *
 * It prints the average log-likelihood per frame at every iteration; within
 * one mixture size it never falls. With a second argument it writes the
 * features, the mixture as the last size started from and the trained one,
 * as plain text, so that another tool can train from the same start.
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

enum {
    kDim = 39, /* 13 cepstra, their deltas and delta-deltas */
    kMaxMix = 16,
    kIterations = 8
};

static const double kSplitOffset = 0.2;     /* standard deviations between a component and each half */
static const double kVarFloorShare = 0.01;  /* variance floor: this share of the global variance */
static const double kWeightFloor = 1e-8;

static int check(ZelStatus s, const char* what) {
    if (s < 0) fprintf(stderr, "%s failed with status %d\n", what, s);
    return s < 0;
}

/* ---- Features ------------------------------------------------------------ */

/* Cepstra with deltas, kDim doubles per frame; NULL after printing why. */
static double* computeFeatures(const char* wavPath, int* pFrames) {
    int count = 0, rate = 0, frames = 0, dim = 0, j;
    float* pcm = exampleReadAudio32f(wavPath, &count, &rate);
    float* feat = pcm ? exampleCepstra(pcm, count, rate, 2, &frames, &dim) : NULL;
    double* out = NULL;

    free(pcm);
    if (!feat) return NULL;
    printf("%s: %d samples at %d Hz, %d frames of %d features\n", wavPath, count, rate, frames, dim);
    if (dim != kDim || frames < 4 * kMaxMix) {
        fprintf(stderr, "%s: need at least %d frames of %d features\n", wavPath, 4 * kMaxMix, kDim);
    } else if (!(out = (double*)malloc(sizeof(double) * kDim * frames))) {
        fprintf(stderr, "out of memory\n");
    } else {
        for (j = 0; j < kDim * frames; ++j) out[j] = feat[j];
        *pFrames = frames;
    }
    free(feat);
    return out;
}

/* ---- The mixture ---------------------------------------------------------- */

typedef struct {
    int size;
    double weight[kMaxMix];
    double mean[kMaxMix][kDim];
    double var[kMaxMix][kDim];
    double invVar[kMaxMix][kDim]; /* what the scoring functions take */
    double val[kMaxMix];          /* log weight - G / 2 */
} Mixture;

/* The constant term of each component from its weight and variances. */
static int refreshConstants(Mixture* g) {
    int k, j;
    for (k = 0; k < g->size; ++k) {
        double det;
        for (j = 0; j < kDim; ++j) g->invVar[k][j] = 1.0 / g->var[k][j];
        if (check(zelsUpdateGConst_64f(g->invVar[k], kDim, &det), "Gaussian constant")) return 1;
        g->val[k] = log(g->weight[k]) - 0.5 * det;
    }
    return 0;
}

/* Every component becomes two, each with half its weight. */
static int splitAll(Mixture* g) {
    int k, n = g->size;
    for (k = 0; k < n; ++k) {
        if (check(zelsGaussianSplit_64f(g->mean[k], g->var[k], g->mean[n + k], g->var[n + k], kDim, kSplitOffset),
                  "split"))
            return 1;
        g->weight[k] *= 0.5;
        g->weight[n + k] = g->weight[k];
    }
    g->size = 2 * n;
    return refreshConstants(g);
}

/* Statistics of one pass over the frames. */
typedef struct {
    double occ[kMaxMix];
    double meanAcc[kMaxMix][kDim];
    double varAcc[kMaxMix][kDim];
} Stats;

/* E step: the average log-likelihood per frame under g, and (with stats)
   the posterior-weighted moments of every component around its mean. */
static int expectation(const Mixture* g, const double* x, int frames, Stats* stats, double* pAverage) {
    double total = 0.0;
    int t, k;
    if (stats) memset(stats, 0, sizeof *stats);
    for (t = 0; t < frames; ++t) {
        const double* frame = x + (size_t)t * kDim;
        double score[kMaxMix], ll;
        memcpy(score, g->val, sizeof(double) * g->size);
        if (check(zelsLogGaussMultiMix_64f_D2(&g->mean[0][0], &g->invVar[0][0], kDim, frame, kDim, score, g->size),
                  "component scores") ||
            check(zelsLogGaussMixture_64f_D2(frame, &g->mean[0][0], &g->invVar[0][0], g->size, kDim, kDim, g->val, &ll),
                  "mixture score"))
            return 1;
        total += ll;
        if (!stats) continue;
        for (k = 0; k < g->size; ++k) {
            const double post = exp(score[k] - ll);
            stats->occ[k] += post;
            if (check(zelsMeanVarAcc_64f(frame, g->mean[k], stats->meanAcc[k], stats->varAcc[k], kDim, post),
                      "accumulation"))
                return 1;
        }
    }
    *pAverage = total / frames;
    return 0;
}

/* M step. A component that collected no occupation keeps its mean and
   variance (the updates report zelStsZeroOcc and leave them). */
static int maximisation(Mixture* g, const Stats* s, const double* varFloor) {
    double occTotal = 0.0, weightSum;
    int k;
    for (k = 0; k < g->size; ++k) occTotal += s->occ[k];
    if (check(zelsUpdateWeight_64f(s->occ, g->weight, g->size, &weightSum, occTotal, kWeightFloor), "weights"))
        return 1;
    for (k = 0; k < g->size; ++k) {
        /* The variance is taken around the new mean, from the statistics
           around the old one, so it comes before the mean moves. */
        if (check(zelsUpdateVar_64f(s->meanAcc[k], s->varAcc[k], varFloor, g->var[k], kDim, s->occ[k], s->occ[k]),
                  "variances") ||
            check(zelsUpdateMean_64f(s->meanAcc[k], g->mean[k], kDim, s->occ[k]), "means"))
            return 1;
    }
    return refreshConstants(g);
}

static void writeMixture(FILE* f, const char* label, const Mixture* g) {
    int k, j;
    fprintf(f, "%s %d\n", label, g->size);
    for (k = 0; k < g->size; ++k) {
        fprintf(f, "%.17g", g->weight[k]);
        for (j = 0; j < kDim; ++j) fprintf(f, " %.17g", g->mean[k][j]);
        for (j = 0; j < kDim; ++j) fprintf(f, " %.17g", g->var[k][j]);
        fprintf(f, "\n");
    }
}

int main(int argc, char** argv) {
    const char* wavPath = argc > 1 ? argv[1] : ZELSR_DEMO_WAV;
    const char* dumpPath = argc > 2 ? argv[2] : NULL;
    static Mixture g, start;
    static Stats stats;
    double varFloor[kDim], average = 0.0, zeros[kDim] = {0};
    int frames = 0, t, j, it, status = 1;
    double* x = computeFeatures(wavPath, &frames);
    FILE* dump = NULL;

    if (!x) return 1;
    /* One component: the global mean and variance, from the same
       accumulators with every frame at weight 1. */
    memset(&g, 0, sizeof g);
    g.size = 1;
    g.weight[0] = 1.0;
    for (t = 0; t < frames; ++t)
        if (check(zelsMeanVarAcc_64f(x + (size_t)t * kDim, zeros, stats.meanAcc[0], stats.varAcc[0], kDim, 1.0),
                  "accumulation"))
            goto out;
    for (j = 0; j < kDim; ++j) varFloor[j] = 0.0;
    if (check(zelsUpdateVar_64f(stats.meanAcc[0], stats.varAcc[0], varFloor, g.var[0], kDim, frames, frames),
              "variance") ||
        check(zelsUpdateMean_64f(stats.meanAcc[0], g.mean[0], kDim, frames), "mean"))
        goto out;
    for (j = 0; j < kDim; ++j) varFloor[j] = kVarFloorShare * g.var[0][j];
    if (refreshConstants(&g)) goto out;

    for (;;) {
        double previous = -HUGE_VAL;
        if (g.size == kMaxMix) start = g;
        /* A single Gaussian is at its maximum after the first pass. */
        const int iterations = g.size == 1 ? 1 : kIterations;
        for (it = 0; it < iterations; ++it) {
            if (expectation(&g, x, frames, &stats, &average)) goto out;
            printf("components %2d  iteration %d  average log-likelihood %.6f%s\n", g.size, it + 1, average,
                   average < previous - 1e-9 * fabs(previous) ? "  (fell!)" : "");
            previous = average;
            if (maximisation(&g, &stats, varFloor)) goto out;
        }
        if (g.size == kMaxMix) break;
        if (splitAll(&g)) goto out;
    }
    if (expectation(&g, x, frames, NULL, &average)) goto out;
    printf("trained %d components: average log-likelihood %.6f\n", g.size, average);

    if (dumpPath) {
        dump = fopen(dumpPath, "w");
        if (!dump) {
            perror(dumpPath);
            goto out;
        }
        fprintf(dump, "features %d %d\n", frames, kDim);
        for (t = 0; t < frames; ++t)
            for (j = 0; j < kDim; ++j) fprintf(dump, "%.9g%c", x[(size_t)t * kDim + j], j + 1 < kDim ? ' ' : '\n');
        fprintf(dump, "iterations %d\nfloor", kIterations);
        for (j = 0; j < kDim; ++j) fprintf(dump, " %.17g", varFloor[j]);
        fprintf(dump, "\n");
        writeMixture(dump, "start", &start);
        writeMixture(dump, "trained", &g);
        fprintf(dump, "average %.17g\n", average);
        if (fclose(dump) != 0) {
            perror(dumpPath);
            goto out;
        }
        printf("wrote %s\n", dumpPath);
    }
    status = 0;
out:
    free(x);
    return status;
}
