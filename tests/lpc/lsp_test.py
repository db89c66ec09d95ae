# SPDX-License-Identifier: Apache-2.0
"""Line spectral pairs against the roots of the sum and difference polynomials,
found by numpy and polished by Newton steps in long double, and back to the
LP vector against the products of the pairs' factors in long double."""
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


def rebuild(x):
    """The LP vector of pairs x by full polynomial products in long double, and
    the largest coefficient of any partial product: multiplying out in single
    precision loses about that many units of FLT_EPSILON per factor."""
    n, largest = len(x), 1.0
    poly = [np.ones(1, np.longdouble), np.ones(1, np.longdouble)]  # P, Q

    def times(i, f):
        nonlocal largest
        poly[i] = np.convolve(poly[i], np.array(f, np.longdouble))
        largest = max(largest, float(np.max(np.abs(poly[i]))))

    for i, v in enumerate(x.astype(np.longdouble)):
        times(i % 2, [1, -2 * v, 1])
    if n % 2 == 0:
        times(0, [1, 1])
        times(1, [1, -1])
    else:
        times(1, [1, 0, -1])
    return (poly[0][1:n + 1] + poly[1][1:n + 1]) / 2 * (-1 if n % 2 else 1), largest


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
        # Back to the LP vector: the pairs found rebuild the filter, and the
        # single-precision product stays within its rounding (which at order
        # 32 with clustered pairs reaches 1e-1).
        back = np.zeros(order, np.float32)
        assert lib.zelsLSPToLP_32f(ptr(got, f32), ptr(back, f32), order) == 0
        rebuilt, largest = rebuild(got)
        assert np.all(np.abs(rebuilt - a_conv) <= 2e-5 * order * (1 + np.abs(a_conv))), (order, trial)
        assert np.all(np.abs(back - rebuilt) <= 32.0 * order * np.finfo(np.float32).eps * largest), (order, trial)

print(f"largest pair error {worst:.3g} over orders 1 to 32")
