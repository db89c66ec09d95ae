# SPDX-License-Identifier: Apache-2.0
"""Suppression gains against double-precision references: the Wiener gain
x / (1 + x), and the Ephraim-Malah gain with its Bessel functions from scipy."""
import sys

import numpy as np
from scipy import special

from zelsr_ctypes import f32, i32, lib, ptr

rng = np.random.default_rng(5)
failures = []


def check(name, ok):
    failures.extend([] if ok else [name])


def call(fn, ctype, *arrays, out_dtype):
    out = np.empty(arrays[0].shape, out_dtype)
    status = fn(*[ptr(a, ctype) for a in arrays], ptr(out, ctype), len(out))
    return status, out


def em_factor(v):
    """The Ephraim-Malah gain over the Wiener gain, for v = ratio * Wiener gain:
    sqrt(pi) / 2 / sqrt(v) * exp(-v/2) ((1 + v) I0(v/2) + v I1(v/2))."""
    return np.sqrt(np.pi) / 2 / np.sqrt(v) * ((1 + v) * special.i0e(v / 2) + v * special.i1e(v / 2))


# Wiener, float: within 2 ulp of x / (1 + x) over twelve decades.
x = np.concatenate([[0.0], np.logspace(-6, 6, 4001)]).astype(np.float32)
status, g = call(lib.zelsFilterUpdateWiener_32f, f32, x, out_dtype=np.float32)
exact = x.astype(np.float64) / (1.0 + x.astype(np.float64))
check("wiener 32f", status == 0 and np.all(np.abs(g - exact) <= 2 * np.spacing(np.float32(exact))))

# Wiener, Q15 to Q31: every ratio from 0 to 2^26 in steps that cross each
# grid edge; the gain is that of the ratio cut down to its grid, truncated,
# never decreasing, and within 0.09 of the exact gain (the widest gap lies
# between the ratios 4 and 8).
edges = ((1 << np.arange(11, 27))[:, None] + np.array([-1, 0, 1])).ravel()
v = np.unique(np.concatenate([np.arange(0, 1 << 18, 11), np.arange(0, 1 << 26, 2003), edges])).astype(np.int32)
status, gi = call(lib.zelsFilterUpdateWiener_32s, i32, v, out_dtype=np.int32)
grid = np.where(v < 1 << 17, (v >> 11) / 16.0,
                np.where(v < 1 << 21, 4.0 * (v >> 17),
                         np.where(v < 1 << 24, 64.0 * (v >> 21), np.where(v < 1 << 25, 512.0, np.inf))))
want = np.where(np.isinf(grid), 2147483647, np.floor(2.0 ** 31 * grid / (1 + np.where(np.isinf(grid), 0, grid))))
check("wiener 32s grid", status == 0 and np.array_equal(gi.astype(np.float64), want))
check("wiener 32s monotone", np.all(np.diff(gi.astype(np.int64)) >= 0))
ratio = v / 32768.0
check("wiener 32s accuracy", np.max(np.abs(gi / 2.0 ** 31 - ratio / (1 + ratio))) < 0.09)

# Ephraim-Malah, float: products from 2^-22 up; where the product is large
# enough for its Q22 cut to be fine, within 1% of the exact gain.
w = rng.uniform(0.0, 1.0, 20000).astype(np.float32)
r = np.exp(rng.uniform(np.log(3.1e-5), np.log(100.0), 20000)).astype(np.float32)
status, e = call(lib.zelsFilterUpdateEMNS_32f, f32, w, r, out_dtype=np.float32)
p = (r * w).astype(np.float64)
fine = p >= 128 / 2.0 ** 22
check("emns 32f accuracy", status == 0 and np.max(np.abs(e[fine] / (w[fine] * em_factor(p[fine])) - 1)) < 0.01)
# Products on the Q22 grid below 129 are tabulated: within 0.5% there.
u = np.arange(1, 129)
wt = (u / 2.0 ** 22).astype(np.float32)
status, et = call(lib.zelsFilterUpdateEMNS_32f, f32, wt, np.ones(128, np.float32), out_dtype=np.float32)
check("emns 32f table", np.max(np.abs(et / (wt * em_factor(u / 2.0 ** 22)) - 1)) < 0.005)

# Ephraim-Malah, Q31 and Q15: the same gains as the float form, to 1%.
wq = np.round(w.astype(np.float64) * (2.0 ** 31 - 1)).astype(np.int32)
rq = np.maximum(np.round(r.astype(np.float64) * 32768), 1).astype(np.int32)
status, eq = call(lib.zelsFilterUpdateEMNS_32s, i32, wq, rq, out_dtype=np.int32)
fine &= e < 0.99  # below saturation of Q31
check("emns 32s against float", status == 0 and np.max(np.abs(eq[fine] / 2.0 ** 31 / e[fine] - 1)) < 0.01)

if failures:
    print("FAILED:", ", ".join(failures))
    sys.exit(1)
print("filter updates: all checks passed")
