/* SPDX-License-Identifier: Apache-2.0 */
/* Sample-rate conversion of a 16-bit WAV file.
 *
 *   zelsr_resample [in.wav [out.wav [rate]]]
 *
 * Converts the first channel of in.wav (the bundled recording by default) to
 * `rate` Hz (8000 by default) and writes out.wav (zelsr_resampled.wav). The
 * samples pass through a fixed-ratio polyphase state in blocks of 4096, as a
 * streaming caller would feed them: the caller keeps the history and the
 * lookahead that the filter reads around each output, and moves the time
 * back by whatever its buffer drops.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "audio_io.h"
#include "zelsr.h"

#ifndef ZELSR_DEMO_WAV
#define ZELSR_DEMO_WAV "speech16k.wav"
#endif

enum { kTaps = 64, kBlock = 4096 };

int main(int argc, char** argv) {
    const char* inPath = argc > 1 ? argv[1] : ZELSR_DEMO_WAV;
    const char* outPath = argc > 2 ? argv[2] : "zelsr_resampled.wav";
    const int outRate = argc > 3 ? atoi(argv[3]) : 8000;
    /* Samples the filter reads on each side of an output, with a margin for
       the phase rounding of the time. */
    const int reach = ((kTaps + 3) & ~3) / 2 + 2;
    int count = 0, inRate = 0, consumed = 0, filled, produced = 0, status = 1, capacity, outCap;
    int16_t *pcm, *buf = NULL, *out = NULL;
    ZelResamplingPolyphaseFixed* resampler = NULL;
    double t;
    ZelStatus s;

    if (outRate < 1000 || outRate > 384000) {
        fprintf(stderr, "usage: %s [in.wav [out.wav [rate]]], rate in Hz from 1000 to 384000\n", argv[0]);
        return 1;
    }
    pcm = exampleReadAudio16(inPath, &count, &inRate);
    if (!pcm) return 1;

    s = zelsResamplePolyphaseFixedInitAlloc_16s(&resampler, inRate, outRate, kTaps, 0.95f, 9.0f, zelAlgHintFast);
    if (s < 0) {
        fprintf(stderr, "resampler %d -> %d Hz: status %d\n", inRate, outRate, s);
        goto done;
    }
    capacity = 2 * reach + kBlock;
    outCap = (int)((double)count * outRate / inRate) + 16;
    buf = (int16_t*)calloc((size_t)capacity, sizeof(int16_t));
    out = (int16_t*)malloc(sizeof(int16_t) * (size_t)outCap);
    if (!buf || !out) goto done;

    /* buf[0] starts `reach` zeros before the first sample, and time counts
       from buf[0]. */
    filled = reach;
    t = reach;
    while (consumed < count + reach) {
        /* Append the next block, or zeros once the input has run out, so that
           the last outputs have their lookahead. */
        int n = capacity - filled, k, len, got = 0, drop;
        if (n > count + reach - consumed) n = count + reach - consumed;
        for (k = 0; k < n; ++k, ++consumed) buf[filled + k] = consumed < count ? pcm[consumed] : 0;
        filled += n;

        /* Outputs up to the last position whose lookahead is in the buffer,
           and none at or beyond the end of the input. */
        len = filled - reach - (int)t;
        if (consumed >= count + reach) len = count - (consumed - filled) - (int)t;
        if (len > 0) {
            if (produced + len * (double)outRate / inRate + 2 > outCap) break;
            s = zelsResamplePolyphaseFixed_16s(resampler, buf, len, out + produced, 1.0f, &t, &got);
            if (s < 0) {
                fprintf(stderr, "resampling: status %d\n", s);
                goto done;
            }
            produced += got;
        }
        /* Keep `reach` samples of history before the next output. */
        drop = (int)t - reach;
        if (drop > 0) {
            memmove(buf, buf + drop, sizeof(int16_t) * (size_t)(filled - drop));
            filled -= drop;
            t -= drop;
        }
    }
    if (exampleWriteWav16(outPath, out, produced, outRate) == 0) {
        printf("%s: %d samples at %d Hz -> %s: %d samples at %d Hz (%.3f s)\n", inPath, count, inRate, outPath,
               produced, outRate, (double)produced / outRate);
        status = 0;
    }
done:
    zelsResamplePolyphaseFixedFree_16s(resampler);
    free(buf);
    free(out);
    free(pcm);
    return status;
}
