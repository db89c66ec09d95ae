/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/noise.h
 * Noise tracking: the MCRA estimator and filter updates. Included by zelsr.h. */
#ifndef ZELSR_NOISE_H
#define ZELSR_NOISE_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declarations follow as the family lands. */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_NOISE_H */
