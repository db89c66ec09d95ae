# SPDX-License-Identifier: Apache-2.0
"""Calls into the C library for the binding checks: numpy arrays pass as
pointers to their data, Python ints as int, and floats must say their width
(F for Zel32f, D for Zel64f), so that a check states the C call it means."""
import ctypes

import numpy as np

from zelsr_ctypes import lib

F, D = ctypes.c_float, ctypes.c_double


def c(name, *args, status=0):
    """Calls lib.name(*args) and checks the status it returns."""
    conv = []
    for a in args:
        if isinstance(a, np.ndarray):
            assert a.flags["C_CONTIGUOUS"]
            conv.append(ctypes.c_void_p(a.ctypes.data))
        elif isinstance(a, bool) or not (isinstance(a, (int, ctypes._SimpleCData, ctypes.Array)) or
                                          type(a).__name__ == "CArgObject"):  # ctypes.byref
            raise TypeError(f"{name}: say the C type of {a!r}")
        else:
            conv.append(ctypes.c_int(a) if isinstance(a, int) else a)
    got = getattr(lib, name)(*conv)
    assert got == status, (name, got)
    return got


def same(a, b):
    """Equal bit for bit, dtype included (NaN equal to NaN)."""
    a, b = np.asarray(a), np.asarray(b)
    assert a.dtype == b.dtype and a.shape == b.shape, (a.dtype, b.dtype, a.shape, b.shape)
    assert np.array_equal(a.reshape(-1).view(np.uint8), b.reshape(-1).view(np.uint8)), (a, b)


def raises(kind, fn, *args, **kw):
    try:
        fn(*args, **kw)
    except kind as e:
        return e
    raise AssertionError(f"{getattr(fn, '__name__', fn)} did not raise {kind.__name__}")
