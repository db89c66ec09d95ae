# SPDX-License-Identifier: Apache-2.0
"""Singular values of zelsSVDSort_64f_D2 against numpy.linalg.svd.

Bound: singular values within 1e-13 * (height + width) * the largest one,
and U diag(W) V' within the same bound of the input."""
import sys

import numpy as np

sys.path.insert(0, __file__.rsplit("/", 3)[0] + "/tests")
from zelsr_ctypes import lib, ptr, f64  # noqa: E402

rng = np.random.default_rng(17)
failures = []


def check(ok, what):
    if not ok:
        failures.append(what)
        print("FAIL:", what)


def svd_sorted(a, n_iter=60):
    h, w = a.shape
    src = np.ascontiguousarray(a, dtype=np.float64)
    u = np.zeros((h, w))
    wv = np.zeros(w)
    v = np.zeros((w, w))
    st = lib.zelsSVDSort_64f_D2(ptr(src, f64), ptr(u, f64), h, ptr(wv, f64), ptr(v, f64), w, w, n_iter)
    return st, u, wv, v


def with_condition(h, w, cond):
    p, _ = np.linalg.qr(rng.standard_normal((h, h)))
    q, _ = np.linalg.qr(rng.standard_normal((w, w)))
    n = min(h, w)
    s = np.zeros((h, w))
    s[np.arange(n), np.arange(n)] = np.logspace(0, -np.log10(cond), n)
    return p @ s @ q.T


cases = [
    ("random 39x39", rng.standard_normal((39, 39))),
    ("random 200x200", rng.standard_normal((200, 200))),
    ("tall 60x20", rng.standard_normal((60, 20))),
    ("wide 20x60", rng.standard_normal((20, 60))),
    ("condition 1e6", with_condition(30, 30, 1e6)),
    ("rank 5 of 25x15", rng.standard_normal((25, 5)) @ rng.standard_normal((5, 15))),
    ("1x1", np.array([[-3.5]])),
    ("1x7", rng.standard_normal((1, 7))),
    ("7x1", rng.standard_normal((7, 1))),
]
worst = 0.0
for name, a in cases:
    h, w = a.shape
    st, u, wv, v = svd_sorted(a)
    check(st == 0, f"{name}: status {st}")
    ref = np.zeros(w)
    s = np.linalg.svd(a, compute_uv=False)
    ref[: len(s)] = s
    bound = 1e-13 * (h + w) * max(ref[0], 1e-300)
    err = np.max(np.abs(wv - ref))
    worst = max(worst, err / max(ref[0], 1e-300))
    check(err <= bound, f"{name}: values off by {err:.3g} (bound {bound:.3g})")
    rebuilt = (u * wv) @ v.T
    check(np.max(np.abs(rebuilt - a)) <= bound, f"{name}: U W V' off by {np.max(np.abs(rebuilt - a)):.3g}")
    check(np.allclose(v.T @ v, np.eye(w), atol=1e-13 * w), f"{name}: V not orthonormal")
    if h >= w:
        check(np.allclose(u.T @ u, np.eye(w), atol=1e-13 * h), f"{name}: U not orthonormal")
print(f"largest singular-value error relative to the largest value: {worst:.3g}")

sys.exit(1 if failures else 0)
