/* SPDX-License-Identifier: Apache-2.0 */
#include "cepstra.h"

#include <stdio.h>
#include <stdlib.h>

#include <zelsr.h>

float* exampleCepstra(const float* x, int count, int rate, int deltaOrder, int* pFrames, int* pDim) {
    ZelFeatureConfig config;
    ZelFeatureState* state = NULL;
    float* rows = NULL;
    int field = -1, dim = 0, ready = 0, read = 0;
    ZelStatus s = zelsrFeatureDefaultConfig(&config);
    config.sampleRate = (float)rate;
    config.deltaOrder = deltaOrder;
    /* The demo's front end: magnitudes, filters from 64 Hz, a floor of 1e-3. */
    config.powerSpectrum = 0;
    config.lowFreq = 64.0f;
    config.logFloor = 1e-3f;
    if (s >= 0) s = zelsrFeatureCheckConfig(&config, &field);
    if (s >= 0 && field >= 0) {
        fprintf(stderr, "feature configuration: field %d refused (a rate of %d Hz?)\n", field, rate);
        return NULL;
    }
    /* The whole recording in one block: frames come out the same in any. */
    if (s >= 0) s = zelsrFeatureInitAlloc(&state, &config);
    if (s >= 0) s = zelsrFeatureAccept_32f(state, x, count);
    if (s >= 0) s = zelsrFeatureFlush(state);
    if (s >= 0) s = zelsrFeatureGetDim(state, &dim);
    if (s >= 0) s = zelsrFeatureGetReady(state, &ready);
    if (s >= 0 && ready < 1) {
        fprintf(stderr, "the recording is shorter than one frame\n");
        s = zelStsSizeErr;
    }
    if (s >= 0) {
        rows = (float*)malloc(sizeof(float) * (size_t)dim * (size_t)ready);
        if (!rows) fprintf(stderr, "out of memory\n");
    }
    if (s >= 0 && rows) s = zelsrFeatureRead(state, rows, dim, ready, &read);
    if (s < 0) fprintf(stderr, "feature extraction failed with status %d\n", s);
    zelsrFeatureFree(state);
    if (s < 0 || !rows) {
        free(rows);
        return NULL;
    }
    *pFrames = read;
    *pDim = dim;
    return rows;
}
