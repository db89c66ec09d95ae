/* SPDX-License-Identifier: Apache-2.0 */
/* Audio file helpers of the example programs, on libsndfile: WAV, FLAC and
   whatever else libsndfile reads, in any sample format. */
#ifndef ZELSR_EXAMPLES_AUDIO_IO_H
#define ZELSR_EXAMPLES_AUDIO_IO_H

#include <stdint.h>

/* Reads the first channel of an audio file as 16-bit samples (libsndfile
   scales other formats to full 16-bit range). Returns the samples (free()
   them) with their count and rate, or NULL after printing why to stderr. */
int16_t* exampleReadAudio16(const char* path, int* pCount, int* pSampleRate);

/* The same as floats on the 16-bit scale (-32768..32767), without rounding. */
float* exampleReadAudio32f(const char* path, int* pCount, int* pSampleRate);

/* Writes mono 16-bit PCM WAV. Returns 0, or -1 after printing why to stderr. */
int exampleWriteWav16(const char* path, const int16_t* samples, int count, int sampleRate);

#endif
