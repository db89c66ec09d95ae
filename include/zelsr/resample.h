/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/resample.h
 * Resampling: the polyphase resampler. Included by zelsr.h. */
#ifndef ZELSR_RESAMPLE_H
#define ZELSR_RESAMPLE_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declarations follow as the family lands. */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_RESAMPLE_H */
