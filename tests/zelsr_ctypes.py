# SPDX-License-Identifier: Apache-2.0
"""The library under test, reached through ctypes, for the numpy/scipy checks."""
import ctypes
import os

import numpy as np

lib = ctypes.CDLL(os.environ["ZELSR_LIB"])


def ptr(a, ctype):
    """A pointer to the first element of a C-contiguous numpy array."""
    assert a.flags["C_CONTIGUOUS"]
    return a.ctypes.data_as(ctypes.POINTER(ctype))


f32 = ctypes.c_float
f64 = ctypes.c_double
i16 = ctypes.c_int16
i32 = ctypes.c_int32
