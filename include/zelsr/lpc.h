/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/lpc.h
 * Linear prediction: LP analysis, conversions, line spectral pairs. Included by zelsr.h. */
#ifndef ZELSR_LPC_H
#define ZELSR_LPC_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Declarations follow as the family lands. */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_LPC_H */
