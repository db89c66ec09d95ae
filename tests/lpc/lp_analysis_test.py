# SPDX-License-Identifier: Apache-2.0
"""Durbin and Schur against scipy's Toeplitz solver, orders 1 to 80."""
import ctypes
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))

import numpy as np  # noqa: E402
from scipy.linalg import solve_toeplitz  # noqa: E402
from zelsr_ctypes import f32, lib, ptr  # noqa: E402

rng = np.random.default_rng(5)
worst_a = worst_k = 0.0
for order in list(range(1, 34)) + [40, 63, 64, 80]:
    x = np.zeros(600)
    e = rng.standard_normal(600)
    for n in range(1, 600):
        x[n] = 0.7 * x[n - 1] + e[n]
    r = np.array([x[: 600 - k] @ x[k:] for k in range(order + 1)]).astype(np.float32)
    # Normal equations of A(z) = 1 + sum a z^-k: T a = -r[1:].
    want = solve_toeplitz(r[:order].astype(np.float64), -r[1:].astype(np.float64))
    a = np.zeros(order, np.float32)
    k = np.zeros(order, np.float32)
    err = f32()
    assert lib.zelsDurbin_32f(ptr(r, f32), ptr(a, f32), order, ctypes.byref(err)) == 0
    assert lib.zelsSchur_32f(ptr(r, f32), ptr(k, f32), order, ctypes.byref(err)) == 0
    worst_a = max(worst_a, np.max(np.abs(a - want) / (1 + np.abs(want))))
    # The last reflection coefficient is the top coefficient of that order.
    worst_k = max(worst_k, abs(k[-1] - want[-1]))
    # The minimum error energy: r0 + sum a_k r_k.
    e_want = r[0] + r[1:].astype(np.float64) @ want
    assert abs(err.value - e_want) <= 1e-4 * r[0], (order, err.value, e_want)

print(f"largest relative coefficient error {worst_a:.3g}, top reflection error {worst_k:.3g}")
assert worst_a < 3e-3 and worst_k < 3e-4
