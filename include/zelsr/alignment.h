/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/alignment.h
 * Alignment: dynamic time warping. Included by zelsr.h. */
#ifndef ZELSR_ALIGNMENT_H
#define ZELSR_ALIGNMENT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declarations follow as the family lands. */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_ALIGNMENT_H */
