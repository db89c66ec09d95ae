/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/frame.h
 * The version query. Included by zelsr.h. */
#ifndef ZELSR_FRAME_H
#define ZELSR_FRAME_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Version query                                                             */
/* ======================================================================== */

/** A constant record of the library; the caller never frees it. */
ZELSR_API const ZelLibraryVersion* zelsrGetLibVersion(void);

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_FRAME_H */
