/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/estimation.h
 * Model estimation: accumulators, updates, Gaussian split, merge and distance. Included by zelsr.h. */
#ifndef ZELSR_ESTIMATION_H
#define ZELSR_ESTIMATION_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declarations follow as the family lands. */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_ESTIMATION_H */
