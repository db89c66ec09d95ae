# SPDX-License-Identifier: Apache-2.0
"""Line spectral pairs against the roots of the sum and difference polynomials,
found by numpy and polished by Newton steps in long double."""
import ctypes
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

import numpy as np  # noqa: E402
from zelsr_ctypes import f32, lib, ptr  # noqa: E402

rng = np.random.default_rng(11)


def stable_lp(order, kmax):
    """A(z) = 1 + sum a z^-k from reflection coefficients below kmax."""
    a = np.zeros(0)
    for _ in range(order):
        k = rng.uniform(-kmax, kmax)
        a = np.concatenate([a + k * a[::-1], [k]])
    return a


def pair_cosines(a_conv, odd):
    """Cosines of the non-trivial unit-circle roots of P and Q, interleaved."""
    full = np.concatenate([[1.0], -a_conv if odd else a_conv, [0.0]]).astype(np.longdouble)
    out = []
    for sign in (1, -1):
        poly = full + sign * full[::-1]
        roots = np.roots(poly.astype(np.float64)).astype(np.clongdouble)
        deriv = np.polyder(poly)
        for _ in range(3):
            roots = roots - np.polyval(poly, roots) / np.polyval(deriv, roots)
        upper = roots[roots.imag > 1e-6]
        out.append(np.sort(upper.real)[::-1])
    p, q = out
    x = np.empty(len(p) + len(q), np.longdouble)
    x[0::2] = p
    x[1::2] = q
    return x


worst = 0.0
for order in range(1, 33):
    for trial in range(3):
        a = stable_lp(order, 0.7)
        odd = order % 2 == 1
        a_conv = (-a if odd else a).astype(np.float32)  # odd orders read 1 - sum a z^-k
        want = pair_cosines(a_conv.astype(np.longdouble), odd)
        got = np.zeros(order, np.float32)
        n = ctypes.c_int(-1)
        status = lib.zelsLPToLSP_32f(ptr(a_conv, f32), ptr(got, f32), order, ctypes.byref(n), 4096, 10)
        assert status == 0 and n.value == order, (order, status, n.value)
        err = float(np.max(np.abs(got.astype(np.longdouble) - want)))
        worst = max(worst, err)
        assert err < 2e-4, (order, trial, err)

print(f"largest pair error {worst:.3g} over orders 1 to 32")
