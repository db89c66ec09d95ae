/* SPDX-License-Identifier: Apache-2.0 */
#include "audio_io.h"

#include <sndfile.h>
#include <stdio.h>
#include <stdlib.h>

/* Opens a file for reading and checks it is something we can use. */
static SNDFILE* openAudio(const char* path, SF_INFO* info) {
    SNDFILE* f;
    info->format = 0;
    f = sf_open(path, SFM_READ, info);
    if (!f) {
        fprintf(stderr, "%s: cannot read audio: %s\n", path, sf_strerror(NULL));
        return NULL;
    }
    if (info->frames <= 0 || info->channels <= 0 || info->frames > 0x7fffffff / info->channels) {
        fprintf(stderr, "%s: %s\n", path, info->frames <= 0 ? "holds no samples" : "is too long");
        sf_close(f);
        return NULL;
    }
    return f;
}

float* exampleReadAudio32f(const char* path, int* pCount, int* pSampleRate) {
    SF_INFO info;
    SNDFILE* f = openAudio(path, &info);
    float *all, *mono;
    sf_count_t got, i;
    if (!f) return NULL;
    all = malloc(sizeof(float) * (size_t)info.frames * (size_t)info.channels);
    mono = malloc(sizeof(float) * (size_t)info.frames);
    if (!all || !mono) {
        fprintf(stderr, "%s: out of memory\n", path);
        free(all), free(mono), sf_close(f);
        return NULL;
    }
    got = sf_readf_float(f, all, info.frames);
    sf_close(f);
    if (got <= 0) {
        fprintf(stderr, "%s: read no samples\n", path);
        free(all), free(mono);
        return NULL;
    }
    for (i = 0; i < got; ++i) mono[i] = all[i * info.channels] * 32768.0f;
    free(all);
    *pCount = (int)got;
    *pSampleRate = info.samplerate;
    return mono;
}

int16_t* exampleReadAudio16(const char* path, int* pCount, int* pSampleRate) {
    SF_INFO info;
    SNDFILE* f = openAudio(path, &info);
    int16_t *all, *mono;
    sf_count_t got, i;
    if (!f) return NULL;
    all = malloc(sizeof(int16_t) * (size_t)info.frames * (size_t)info.channels);
    mono = malloc(sizeof(int16_t) * (size_t)info.frames);
    if (!all || !mono) {
        fprintf(stderr, "%s: out of memory\n", path);
        free(all), free(mono), sf_close(f);
        return NULL;
    }
    got = sf_readf_short(f, all, info.frames);
    sf_close(f);
    if (got <= 0) {
        fprintf(stderr, "%s: read no samples\n", path);
        free(all), free(mono);
        return NULL;
    }
    for (i = 0; i < got; ++i) mono[i] = all[i * info.channels];
    free(all);
    *pCount = (int)got;
    *pSampleRate = info.samplerate;
    return mono;
}

int exampleWriteWav16(const char* path, const int16_t* samples, int count, int sampleRate) {
    SF_INFO info = {0};
    SNDFILE* f;
    info.samplerate = sampleRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    f = sf_open(path, SFM_WRITE, &info);
    if (!f) {
        fprintf(stderr, "%s: cannot write audio: %s\n", path, sf_strerror(NULL));
        return -1;
    }
    if (sf_writef_short(f, samples, count) != count) {
        fprintf(stderr, "%s: write failed: %s\n", path, sf_strerror(f));
        sf_close(f);
        return -1;
    }
    return sf_close(f) == 0 ? 0 : -1;
}
