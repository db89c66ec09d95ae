/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/aurora.h
 * The distributed front end: Aurora noise reduction, voice activity, wave processing and equalization. Included by zelsr.h. */
#ifndef ZELSR_AURORA_H
#define ZELSR_AURORA_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declarations follow as the family lands. */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_AURORA_H */
