/* SPDX-License-Identifier: Apache-2.0 */
/* Cepstra of a recording for the example programs, through the library's
   streaming feature extractor (zelsr/features.h): 25 ms Hamming frames every
   10 ms, pre-emphasis 0.97, magnitude spectra, 23 mel filters from 64 Hz,
   log energies floored at 1e-3, 12 cepstra and c0, with the deltas the
   caller asks for. */
#ifndef ZELSR_EXAMPLES_CEPSTRA_H
#define ZELSR_EXAMPLES_CEPSTRA_H

/* Frames of the recording x (count samples at `rate` Hz, on the 16-bit
   scale) as rows of *pDim floats: 13 static values, then 13 deltas if
   deltaOrder is 1 or 2, then 13 delta-deltas if it is 2. Returns the rows
   (free() them) and their number in *pFrames, or NULL after printing why. */
float* exampleCepstra(const float* x, int count, int rate, int deltaOrder, int* pFrames, int* pDim);

#endif
