/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/vq.h
 * Vector quantization: codebooks, search, vector forming. Included by zelsr.h. */
#ifndef ZELSR_VQ_H
#define ZELSR_VQ_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declarations follow as the family lands. */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_VQ_H */
