#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Gaussian and mixture scoring and model estimation from Python: every dtype
a binding dispatches to gives, bit for bit, what its C member gives on the
same data; statuses and bad arrays surface as exceptions and warnings."""
import ctypes
import sys
import warnings

import numpy as np

import zelsr
from ccall import D, F, c, raises, same

rng = np.random.default_rng(11)
f32 = lambda *s: rng.standard_normal(s).astype(np.float32)
f64 = lambda *s: rng.standard_normal(s)
i16 = lambda *s: rng.integers(-3000, 3000, s, dtype=np.int16)
pos = lambda *s: (np.abs(f32(*s)) + 0.2).astype(np.float32)


def check_frame_scores():
    h, w = 9, 13
    for x, mean, var, kind in [(f32(h, w), f32(w), pos(w), "32f"), (f64(h, w), f64(w), np.abs(f64(w)) + 0.2, "64f")]:
        out = np.empty(h, x.dtype)
        val = F(-3.0) if kind == "32f" else D(-3.0)
        c(f"zelsLogGauss_{kind}_D2", x, w, mean, var, w, out, h, val)
        same(zelsr.log_gauss(x, mean, var, -3.0), out)
        c(f"zelsLogGauss_IdVar_{kind}_D2", x, w, mean, w, out, h, val)
        same(zelsr.log_gauss(x, mean, None, -3.0), out)
    x, mean, var, out = i16(h, w), i16(w), rng.integers(1, 60, w, dtype=np.int16), np.empty(h, np.float32)
    for low, name in [(False, "Scaled"), (True, "LowScaled")]:
        c(f"zelsLogGauss_{name}_16s32f_D2", x, w, mean, var, w, out, h, F(5.0), 3)
        same(zelsr.log_gauss(x, mean, var, 5.0, scale_factor=3, low=low), out)
        c(f"zelsLogGauss_IdVar{name}_16s32f_D2", x, w, mean, w, out, h, F(5.0), 3)
        same(zelsr.log_gauss(x, mean, None, 5.0, scale_factor=3, low=low), out)
    out = np.empty(h, np.int32)
    for low, name in [(False, ""), (True, "Low_")]:
        c(f"zelsLogGauss_{name}16s32s_D2Sfs", x, w, mean, var, w, out, h, -7, 2)
        same(zelsr.log_gauss(x, mean, var, -7, scale_factor=2, low=low, out_dtype="int32"), out)
        c(f"zelsLogGauss_IdVar{name.rstrip('_')}_16s32s_D2Sfs", x, w, mean, w, out, h, -7, 2)
        same(zelsr.log_gauss(x, mean, None, -7, scale_factor=2, low=low, out_dtype="int32"), out)


def check_mixtures():
    g, w, n = 7, 5, 4
    for dt, kind in [(np.float32, "32f"), (np.float64, "64f")]:
        x, mean, var, vals = (f32(n, w).astype(dt), f32(g, w).astype(dt), pos(g, w).astype(dt),
                              f32(g).astype(dt))
        one = np.empty(1, dt)
        for idvar, name in [(False, kind), (True, "IdVar_" + kind)]:
            ref = []
            for t in range(n):
                if idvar:
                    c(f"zelsLogGaussMixture_{name}_D2", x[t], mean, g, w, w, vals, one)
                else:
                    c(f"zelsLogGaussMixture_{name}_D2", x[t], mean, var, g, w, w, vals, one)
                ref.append(one[0])
            v = None if idvar else var
            same(zelsr.log_gauss_mixture(x, mean, v, vals), np.array(ref, dt))
            assert zelsr.log_gauss_mixture(x[2], mean, v, vals) == ref[2]
    # Lists of rows reach the row-table members without a copy.
    import ctypes
    for dt, kind in [(np.float32, "32f"), (np.float64, "64f")]:
        x, vals, one = f32(w).astype(dt), f32(g).astype(dt), np.empty(1, dt)
        means, varis = [f32(w).astype(dt) for _ in range(g)], [pos(w).astype(dt) for _ in range(g)]
        table = lambda rows: (ctypes.c_void_p * g)(*[r.ctypes.data for r in rows])
        c(f"zelsLogGaussMixture_{kind}_D2L", x, table(means), table(varis), g, w, vals, one)
        assert zelsr.log_gauss_mixture(x, means, varis, vals) == one[0]
        c(f"zelsLogGaussMixture_IdVar_{kind}_D2L", x, table(means), g, w, vals, one)
        assert zelsr.log_gauss_mixture(x, tuple(means), None, vals) == one[0]
    x, vals, one = i16(w), f32(g), np.empty(1, np.float32)
    means, varis = [i16(w) for _ in range(g)], [rng.integers(1, 40, w, dtype=np.int16) for _ in range(g)]
    c("zelsLogGaussMixture_LowScaled_16s32f_D2L", x, table(means), table(varis), g, w, vals, one, 3)
    assert np.float32(zelsr.log_gauss_mixture(x, means, varis, vals, 3, True)) == one[0]
    c("zelsLogGaussMixture_IdVarScaled_16s32f_D2L", x, table(means), g, w, vals, one, 3)
    assert np.float32(zelsr.log_gauss_mixture(x, means, None, vals, 3)) == one[0]
    x, mean, var, vals, one = i16(w), i16(g, w), rng.integers(1, 40, (g, w), dtype=np.int16), f32(g), np.empty(1, np.float32)
    for low, name in [(False, "Scaled"), (True, "LowScaled")]:
        c(f"zelsLogGaussMixture_{name}_16s32f_D2", x, mean, var, g, w, w, vals, one, 4)
        assert np.float32(zelsr.log_gauss_mixture(x, mean, var, vals, scale_factor=4, low=low)) == one[0]
        c(f"zelsLogGaussMixture_IdVar{name}_16s32f_D2", x, mean, g, w, w, vals, one, 4)
        assert np.float32(zelsr.log_gauss_mixture(x, mean, None, vals, scale_factor=4, low=low)) == one[0]
    # Selected Gaussians: the boolean mask packs into bit rows, high bit first.
    g, n = 11, 6
    select = rng.random((n, g)) < 0.5
    select[3] = False
    bits = np.packbits(select, axis=1)
    x, mean, var, vals, out = f32(n, w), f32(g, w), pos(g, w), f32(g), np.empty(n, np.float32)
    c("zelsLogGaussMixture_Select_32f_D2", x, mean, var, w, w, vals, bits, g, out, n, F(-1e9))
    same(zelsr.log_gauss_mixture_select(x, mean, var, vals, select, -1e9), out)
    assert out[3] == np.float32(-1e9)
    c("zelsLogGaussMixture_SelectIdVar_32f_D2", x, mean, w, w, vals, bits, g, out, n, F(-1e9))
    same(zelsr.log_gauss_mixture_select(x, mean, None, vals, select, -1e9), out)
    x, mean, var = i16(n, w), i16(g, w), rng.integers(1, 40, (g, w), dtype=np.int16)
    c("zelsLogGaussMixture_SelectScaled_16s32f_D2", x, mean, var, w, w, vals, bits, g, out, n, F(-7.0), 2)
    same(zelsr.log_gauss_mixture_select(x, mean, var, vals, select, -7.0, scale_factor=2), out)
    c("zelsLogGaussMixture_SelectIdVarScaled_16s32f_D2", x, mean, w, w, vals, bits, g, out, n, F(-7.0), 2)
    same(zelsr.log_gauss_mixture_select(x, mean, None, vals, select, -7.0, scale_factor=2), out)


def check_accumulators_and_updates():
    n = 10
    for dt, kind, T in [(np.float32, "32f", F), (np.float64, "64f", D)]:
        x, mean, ma, va = (a.astype(dt) for a in (f32(n), f32(n), f32(n), pos(n)))
        ma2, va2 = ma.copy(), va.copy()
        c(f"zelsMeanVarAcc_{kind}", x, mean, ma2, va2, n, T(0.3))
        assert zelsr.mean_var_acc(x, mean, ma, va, 0.3) is None
        same(ma, ma2), same(va, va2)
        out = mean.copy()
        c(f"zelsUpdateMean_{kind}", ma, out, n, T(4.0))
        same(zelsr.update_mean(mean, ma, 4.0), out)
        vfloor, out = (pos(n) * 0.1).astype(dt), np.empty(n, dt)
        c(f"zelsUpdateVar_{kind}", ma, va, vfloor, out, n, T(4.0), T(3.0))
        same(zelsr.update_var(ma, va, vfloor, 4.0, 3.0), out)
        acc, wsum = pos(n).astype(dt), np.empty(1, dt)
        c(f"zelsUpdateWeight_{kind}", acc, out, n, wsum, T(9.0), T(0.05))
        wts, s = zelsr.update_weight(acc, 9.0, 0.05)
        same(wts, out), same(dt(s), wsum[0])
        det = np.empty(1, dt)
        for direct, name in [(False, ""), (True, "_DirectVar")]:
            c(f"zelsUpdateGConst{name}_{kind}", va, n, det)
            same(dt(zelsr.gconst(va, direct_var=direct)), det[0])
        for half, name in [(False, "WeightedSum"), (True, "WeightedSumHalf")]:
            c(f"zelsWeightedSum{'Half' if half else ''}_{kind}", x, mean, out, n, T(0.25), T(0.5))
            same(zelsr.weighted_sum(x, mean, 0.25, 0.5, half=half), out)
    a, b, out = i16(16), i16(16), np.empty(16, np.int16)
    c("zelsWeightedSum_16s", a, b, out, 16, F(0.25), F(0.5))
    same(zelsr.weighted_sum(a, b, 0.25, 0.5), out)
    mean, sq, out = f32(n), pos(n) * 4, np.empty(n, np.float32)
    c("zelsNewVar_32f", mean, sq, out, n, F(0.5), F(2.0))
    same(zelsr.new_var(mean, sq, 0.5, 2.0), out)
    mean, sq, out = rng.integers(-200, 200, n, dtype=np.int32), rng.integers(0, 90000, n, dtype=np.int32), np.empty(n, np.int32)
    c("zelsNewVar_32s_Sfs", mean, sq, out, n, F(0.5), F(2.0), 1)
    same(zelsr.new_var(mean, sq, 0.5, 2.0, scale_factor=1), out)
    x, s1, s2 = f32(20, 6), np.empty(6, np.float32), np.empty(6, np.float32)
    c("zelsSumMeanVar_32f", x, 6, 20, s1, s2, 6)
    got = zelsr.sum_mean_var(x)
    same(got[0], s1), same(got[1], s2)
    x = i16(20, 6)
    c("zelsSumMeanVar_16s32f", x, 6, 20, s1, s2, 6)
    got = zelsr.sum_mean_var(x)
    same(got[0], s1), same(got[1], s2)
    t1, t2 = np.empty(6, np.int32), np.empty(6, np.int32)
    c("zelsSumMeanVar_16s32s_Sfs", x, 6, 20, t1, t2, 6, 8)
    got = zelsr.sum_mean_var(x, scale_factor=8)
    same(got[0], t1), same(got[1], t2)
    for x, mean, kind in [(f32(15, 5), f32(5), "32f64f"), (i16(15, 5), i16(5), "16s64f")]:
        cov = np.zeros((5, 5))
        c(f"zelsAccCovarianceMatrix_{kind}_D2", x, 5, 15, mean, cov, 5, 5, D(1.0))
        c(f"zelsAccCovarianceMatrix_{kind}_D2", x, 5, 15, mean, cov, 5, 5, D(0.5))
        acc = zelsr.acc_covariance(x, mean)
        assert zelsr.acc_covariance(x, mean, acc, 0.5) is not None
        same(acc, cov)
    x, out = f32(9), np.empty(9, np.float32)
    c("zelsScaleLM_32f", x, out, 9, F(-0.5), F(3.0), F(1.0))
    same(zelsr.scale_lm(x, -0.5, 3.0, 1.0), out)
    x, out = i16(9), np.empty(9, np.int32)
    c("zelsScaleLM_16s32s", x, out, 9, ctypes.c_int16(-100), ctypes.c_int16(7), 1000)
    same(zelsr.scale_lm(x, -100, 7, 1000), out)


def check_split_merge_distance():
    n = 7
    for dt, kind, T in [(np.float32, "32f", F), (np.float64, "64f", D)]:
        m1, v1, m2, v2 = f32(n).astype(dt), pos(n).astype(dt), f32(n).astype(dt), pos(n).astype(dt)
        a, b, c2 = m1.copy(), np.empty(n, dt), np.empty(n, dt)
        c(f"zelsGaussianSplit_{kind}", a, v1, b, c2, n, T(0.2))
        got = zelsr.gaussian_split(m1, v1, 0.2)
        same(got[0], a), same(got[1], b), same(got[2], c2)
        det = np.empty(1, dt)
        c(f"zelsGaussianMerge_{kind}", m1, v1, m2, v2, a, b, n, det, T(2.0), T(3.0))
        got = zelsr.gaussian_merge(m1, v1, m2, v2, 2.0, 3.0)
        same(got[0], a), same(got[1], b), same(dt(got[2]), det[0])
        c(f"zelsGaussianDist_{kind}", m1, v1, m2, v2, n, det, T(2.0), T(-4.0), T(3.0), T(-5.0))
        same(dt(zelsr.gaussian_dist(m1, v1, m2, v2, 2.0, -4.0, 3.0, -5.0)), det[0])
        s, q = np.empty(n, dt), np.empty(n, dt)
        for direct, name in [(False, ""), (True, "_DirectVar")]:
            c(f"zelsDcsClustLAccumulate{name}_{kind}", m1, v1, s, q, n, T(6.0))
            got = zelsr.cluster_accumulate(m1, v1, 6.0, direct_var=direct)
            same(got[0], s), same(got[1], q)
        r = np.empty(1)
        c(f"zelsDcsClustLCompute_{'64f' if kind == '64f' else '32f64f'}", s, q, n, r, T(6.0))
        assert zelsr.cluster_likelihood(s, q, 6.0) == r[0]
    m1, v1, m2, v2 = pos(n), pos(n), pos(n), pos(n)
    r32, r64 = np.empty(1, np.float32), np.empty(1)
    c("zelsBhatDist_32f", m1, v1, m2, v2, n, r32)
    same(np.float32(zelsr.bhat_dist(m1, v1, m2, v2)), r32[0])
    c("zelsBhatDist_32f64f", m1, v1, m2, v2, n, r64)
    assert zelsr.bhat_dist(m1, v1, m2, v2, double=True) == r64[0]
    c("zelsBhatDistSLog_32f", m1, v1, m2, v2, n, r32, F(0.5), F(-0.25))
    same(np.float32(zelsr.bhat_dist(m1, v1, m2, v2, 0.5, -0.25)), r32[0])
    c("zelsBhatDistSLog_32f64f", m1, v1, m2, v2, n, r64, F(0.5), F(-0.25))
    assert zelsr.bhat_dist(m1, v1, m2, v2, 0.5, -0.25, double=True) == r64[0]


def check_statuses_and_bad_arrays():
    with warnings.catch_warnings(record=True) as got:
        warnings.simplefilter("always")
        mean = f32(4)
        same(zelsr.update_mean(mean, f32(4), 0.0), mean)
        fl = pos(4)
        same(zelsr.update_var(f32(4), pos(4), fl, 0.0, 1.0), fl)
    assert [w.message.name for w in got] == ["zelStsZeroOcc", "zelStsZeroOcc"]
    e = raises(zelsr.Error, zelsr.update_mean, f32(4), f32(4), -1.0)
    assert e.name == "zelStsNegOccErr" and e.function == "zelsUpdateMean_32f"
    x = f32(6, 4)
    ro = np.zeros(4, np.float32)
    ro.flags.writeable = False
    for kind, fn, args in [
            (TypeError, zelsr.log_gauss, (x, f32(4).astype(np.float64), pos(4))),  # mixed dtypes
            (TypeError, zelsr.log_gauss, (x.astype(np.int32), f32(4), pos(4))),
            (ValueError, zelsr.log_gauss, (x, f32(5), pos(5))),
            (ValueError, zelsr.log_gauss, (i16(6, 4), i16(4), None, 0.5, 0, False, "int32")),
            (ValueError, zelsr.log_gauss, (x, f32(4), None, 0.0, 0, False, "int32")),
            (ValueError, zelsr.log_gauss, (x[:, ::2], f32(2), pos(2))),            # not contiguous
            (ValueError, zelsr.log_gauss_mixture, (f32(4), f32(3, 4), pos(3, 5), f32(3))),
            (ValueError, zelsr.log_gauss_mixture, (f32(4), f32(3, 4), pos(3, 4), f32(2))),
            (ValueError, zelsr.log_gauss_mixture, (f32(4), [f32(4), f32(5)], None, f32(2))),
            (ValueError, zelsr.log_gauss_mixture, (f32(4), [], None, f32(2))),
            (TypeError, zelsr.log_gauss_mixture, (f32(4), [f32(4)], pos(1, 4), f32(1))),
            (TypeError, zelsr.log_gauss_mixture, (f32(4), [[1.0, 2.0, 3.0, 4.0]], None, f32(1))),
            (ValueError, zelsr.log_gauss_mixture, (np.zeros((0, 4), np.float32), f32(3, 4), None, f32(3))),
            (ValueError, zelsr.log_gauss_mixture_select, (x, f32(3, 4), None, f32(3), np.ones((6, 2), bool))),
            (TypeError, zelsr.log_gauss_mixture_select, (x, f32(3, 4), None, f32(3), np.ones((6, 3), np.int8))),
            (ValueError, zelsr.mean_var_acc, (f32(4), f32(4), ro, np.zeros(4, np.float32), 1.0)),
            (ValueError, zelsr.mean_var_acc, (f32(4), f32(5), np.zeros(4, np.float32), np.zeros(4, np.float32), 1.0)),
            (TypeError, zelsr.weighted_sum, (f32(4), f64(4), 1.0, 1.0)),
            (ValueError, zelsr.acc_covariance, (x, f32(4), np.zeros((3, 3)))),
            (ValueError, zelsr.scale_lm, (i16(4), 0.5, 2, 0)),
            (ValueError, zelsr.sum_mean_var, (x, 3)),
            (ValueError, zelsr.bhat_dist, (pos(4), pos(4), pos(4), pos(4), 1.0)),
            (TypeError, zelsr.gaussian_merge, (f32(4), pos(4), f32(4), pos(4).astype(np.float64), 1.0, 1.0))]:
        raises(kind, fn, *args)


def main():
    check_frame_scores()
    check_mixtures()
    check_accumulators_and_updates()
    check_split_merge_distance()
    check_statuses_and_bad_arrays()
    print("scoring and estimation bindings: every dtype equals its C member; bad arrays raise")


if __name__ == "__main__":
    sys.exit(main())
