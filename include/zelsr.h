/* SPDX-License-Identifier: Apache-2.0 */
/* zelsr: signal-processing and statistical primitives for speech recognition.
 *
 * Every function is a computation on buffers the caller owns, or on an opaque
 * state. All but zelsrGetLibVersion return a ZelStatus: 0 for success, a
 * negative code for an error (the output is left untouched), a positive code
 * for a warning (the result is written and the warning describes it).
 *
 * D2 matrices are one block with a step counted in elements; D2L matrices are
 * tables of row pointers. Buffers aligned to 16 bytes select faster kernels
 * but never a different result, unless a function says so.
 */
#ifndef ZELSR_H
#define ZELSR_H

#include "zelsr/types.h"
#include "zelsr/frame.h"
#include "zelsr/scoring.h"
#include "zelsr/frontend.h"
#include "zelsr/lpc.h"
#include "zelsr/aurora.h"
#include "zelsr/noise.h"
#include "zelsr/vq.h"
#include "zelsr/estimation.h"
#include "zelsr/matrix.h"
#include "zelsr/alignment.h"
#include "zelsr/resample.h"
#include "zelsr/features.h"

#endif /* ZELSR_H */
