/* Small file helpers of the demo program: a 16-bit mono WAV reader and a PNG writer. */
#ifndef ZELSR_DEMO_IO_H
#define ZELSR_DEMO_IO_H

#include <stdint.h>

/* Reads a 16-bit PCM WAV file; a stereo file gives its first channel. Returns
   the samples (free() them) and their count in *pCount, or NULL on failure. */
int16_t* demoReadWav(const char* path, int* pCount, int* pSampleRate);

/* Writes an 8-bit RGB image of width x height pixels, rows top to bottom. Returns 0 on success. */
int demoWritePng(const char* path, const uint8_t* rgb, int width, int height);

#endif
