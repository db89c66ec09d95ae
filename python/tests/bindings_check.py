# SPDX-License-Identifier: Apache-2.0
"""Each binding of the zelsr package gives, bit for bit, what its C function
gives on the same data through ctypes; statuses surface as zelsr.Error and
zelsr.StatusWarning; bad arrays raise before the library is called."""
import ctypes
import sys
import warnings

import numpy as np

import zelsr
from zelsr_ctypes import f32, f64, i32, lib, ptr

c_int, c_float = ctypes.c_int, ctypes.c_float
rng = np.random.default_rng(3)


def f(*shape):
    return rng.standard_normal(shape).astype(np.float32)


def same(a, b):
    assert np.array_equal(np.asarray(a), np.asarray(b), equal_nan=True), (a, b)


def check_log_domain_and_scoring():
    a, b = f(37), f(37)
    ref = b.copy()
    assert lib.zelsLogAdd_32f(ptr(a, f32), ptr(ref, f32), 37, 2) == 0
    same(zelsr.log_add(a, b), ref)
    r = f32()
    assert lib.zelsLogSum_32f(ptr(a, f32), ctypes.byref(r), 37, 2) == 0
    same(np.float32(zelsr.log_sum(a)), np.float32(r.value))
    x, mean, var = f(9, 13), f(13), np.abs(f(13)) + 0.1
    out = np.empty(9, np.float32)
    assert lib.zelsLogGauss_32f_D2(ptr(x, f32), 13, ptr(mean, f32), ptr(var, f32), 13, ptr(out, f32), 9,
                                   c_float(-3.0)) == 0
    same(zelsr.log_gauss(x, mean, var, -3.0), out)
    det = f32()
    assert lib.zelsUpdateGConst_32f(ptr(var, f32), 13, ctypes.byref(det)) == 0
    same(np.float32(zelsr.gconst(var)), np.float32(det.value))
    acc, mean_out = f(13), mean.copy()
    assert lib.zelsUpdateMean_32f(ptr(acc, f32), ptr(mean_out, f32), 13, c_float(4.0)) == 0
    same(zelsr.update_mean(mean, acc, 4.0), mean_out)


def check_front_end():
    bank = ctypes.c_void_p()
    order = c_int()
    assert lib.zelsMelFBankInitAlloc_32f(ctypes.byref(bank), ctypes.byref(order), 512, c_float(16000),
                                         c_float(20), c_float(8000), 23, c_float(1127), c_float(700), 1) == 0
    spectrum, out = np.abs(f(257)), np.empty(23, np.float32)
    assert lib.zelsEvalFBank_32f(ptr(spectrum, f32), ptr(out, f32), bank) == 0
    lib.zelsFBankFree_32f(bank)
    same(zelsr.MelFilterBank(512, 16000, 20, 8000, 23)(spectrum), out)
    lifter = ctypes.c_void_p()
    assert lib.zelsDCTLifterInitAlloc_C0_32f(ctypes.byref(lifter), 23, 12, 22, c_float(1), c_float(1)) == 0
    logmel, cep = f(5, 23), np.empty((5, 13), np.float32)
    for t in range(5):
        assert lib.zelsDCTLifter_32f(ptr(logmel[t], f32), ptr(cep[t], f32), lifter) == 0
    lib.zelsDCTLifterFree_32f(lifter)
    same(zelsr.DCTLifter(23, 12, 22)(logmel), cep)
    st, dd = f(20, 13), np.empty((20, 39), np.float32)
    assert lib.zelsDeltaDelta_Win2_32f_D2(ptr(st, f32), 13, ptr(dd, f32), 39, 20, c_float(0.1), c_float(0.1), 3) == 0
    same(zelsr.deltas(st), dd)
    frame, lp = f(240), np.empty(10, np.float32)
    assert lib.zelsLinearPrediction_Auto_32f(ptr(frame, f32), 240, ptr(lp, f32), 10) == 0
    same(zelsr.lpc(frame, 10), lp)


def check_lsp_vq_resampler():
    lp = zelsr.lpc(f(400), 10)
    lsp, roots = np.empty(10, np.float32), c_int()
    assert lib.zelsLPToLSP_32f(ptr(lp, f32), ptr(lsp, f32), 10, ctypes.byref(roots), 128, 4) == 0
    got, n = zelsr.lp_to_lsp(lp)
    same(got, lsp), same(n, roots.value)
    vectors, frames = f(300, 4), f(50, 4)
    cb = ctypes.c_void_p()
    assert lib.zelsCdbkInitAlloc_L2_32f(ctypes.byref(cb), ptr(vectors, f32), 4, 4, 300, 16, 2) == 0
    idx = np.empty(50, np.int32)
    assert lib.zelsVQ_32f(ptr(frames, f32), 4, ptr(idx, i32), 50, cb) == 0
    lib.zelsCdbkFree_32f(cb)
    book = zelsr.Codebook(vectors, 16)
    assert book.size == 16
    same(book.search(frames), idx)
    x = f(1000)
    resampler = ctypes.c_void_p()
    assert lib.zelsResamplePolyphaseFixedInitAlloc_32f(ctypes.byref(resampler), 16000, 12000, 64, c_float(0.95),
                                                       c_float(9.0), 2) == 0
    padded = np.concatenate([np.zeros(32, np.float32), x, np.zeros(33, np.float32)])
    out, time, n = np.empty(1000 * 3 // 4 + 2, np.float32), ctypes.c_double(32.0), c_int()
    assert lib.zelsResamplePolyphaseFixed_32f(resampler, ptr(padded, f32), 1000, ptr(out, f32), c_float(1.0),
                                              ctypes.byref(time), ctypes.byref(n)) == 0
    lib.zelsResamplePolyphaseFixedFree_32f(resampler)
    same(zelsr.resample(x, 16000, 12000), out[:n.value])
    size = c_int()
    assert lib.zelsGetSizeMCRA_32f(256, ctypes.byref(size)) == 0
    state = (ctypes.c_uint8 * size.value)()
    assert lib.zelsInitMCRA_32f(16000, 256, state) == 0
    power, noise, ref = np.abs(f(40, 129)), np.zeros(129, np.float32), np.empty((40, 129), np.float32)
    for t in range(40):
        assert lib.zelsUpdateNoisePSDMCRA_32f_I(ptr(power[t], f32), state, ptr(noise, f32)) == 0
        ref[t] = noise
    same(zelsr.NoiseEstimator(16000, 256).update(power), ref)


def check_matrix_and_alignment():
    m = rng.standard_normal((6, 4))
    u, w, v = np.empty((6, 4)), np.empty(4), np.empty((4, 4))
    assert lib.zelsSVDSort_64f_D2(ptr(m, f64), ptr(u, f64), 6, ptr(w, f64), ptr(v, f64), 4, 4, 50) == 0
    U, W, V = zelsr.svd(m)
    same(U, u), same(W, w), same(V, v)
    np.testing.assert_allclose(W, np.linalg.svd(m, compute_uv=False), rtol=1e-9)
    a, b, dist = f(12, 5), f(15, 5), f32()
    assert lib.zelsDTW_L2_32f_D2(ptr(a, f32), 12, ptr(b, f32), 15, 5, 5, ctypes.byref(dist), 0, c_float(1e30)) == 0
    same(np.float32(zelsr.dtw(a, b)), np.float32(dist.value))


def check_other_dtypes():
    """The 64-bit and 16/32-bit integer members behind the same bindings."""
    from ccall import D, F, c, same as exact
    a, b = rng.standard_normal(9), rng.standard_normal(9)
    ref = b.copy()
    c("zelsLogAdd_64f", a, ref, 9, 2)
    exact(zelsr.log_add(a, b), ref)
    for dt, name in [(np.int16, "16s"), (np.int32, "32s")]:
        a, b = (rng.integers(-3000, 0, 9).astype(dt) for _ in range(2))
        ref, r = b.copy(), np.empty(1, dt)
        c(f"zelsLogAdd_{name}_Sfs", a, ref, 9, -2, 2)
        exact(zelsr.log_add(a, b, -2), ref)
        c(f"zelsLogSum_{name}_Sfs", a, r, 9, -2, 2)
        assert zelsr.log_sum(a, -2) == r[0]
    bank, order = ctypes.c_void_p(), c_int()
    c("zelsMelFBankInitAlloc_16s", ctypes.byref(bank), ctypes.byref(order), 256, F(8000), F(100), F(3800), 20,
      F(1127), F(700), 1)
    spectrum, o16, o32 = rng.integers(0, 20000, 129, dtype=np.int16), np.empty(20, np.int16), np.empty(20, np.int32)
    c("zelsEvalFBank_16s_Sfs", spectrum, o16, bank, 3)
    c("zelsEvalFBank_16s32s_Sfs", spectrum, o32, bank, 3)
    lib.zelsFBankFree_16s(bank)
    mine = zelsr.MelFilterBank(256, 8000, 100, 3800, 20, dtype="int16")
    exact(mine(spectrum, 3), o16), exact(mine(spectrum, 3, wide=True), o32)
    lifter = ctypes.c_void_p()
    c("zelsDCTLifterInitAlloc_C0_16s", ctypes.byref(lifter), 20, 12, 22, F(1), F(1))
    x, cep = rng.integers(-2000, 2000, (4, 20), dtype=np.int16), np.empty((4, 13), np.int16)
    for t in range(4):
        c("zelsDCTLifter_16s_Sfs", x[t], cep[t], lifter, 2)
    lib.zelsDCTLifterFree_16s(lifter)
    exact(zelsr.DCTLifter(20, 12, 22, dtype="int16")(x, 2), cep)
    st, dd = rng.integers(-2000, 2000, (10, 6), dtype=np.int16), np.empty((10, 18), np.int16)
    c("zelsDeltaDelta_Win2_16s_D2Sfs", st, 6, dd, 18, 10, ctypes.c_int16(3), ctypes.c_int16(3), 3, 1)
    exact(zelsr.deltas(st, 2, 3, 1), dd)
    d1 = np.empty((10, 12), np.int16)
    c("zelsDelta_Win2_16s_D2Sfs", st, 6, d1, 12, 10, ctypes.c_int16(3), 3, 1)
    exact(zelsr.deltas(st, 1, 3, 1), d1)
    for fn, args, kind in [(zelsr.deltas, (st, 2, 0.1), ValueError),
                           (zelsr.DCTLifter(20, 12, 22, dtype="int16"), (f(4, 20),), TypeError),
                           (zelsr.MelFilterBank, (256, 8000, 100, 3800, 20, False, "int8"), ValueError),
                           (zelsr.log_sum, (np.zeros(4, np.uint8),), TypeError)]:
        try:
            fn(*args)
        except kind:
            continue
        raise AssertionError(f"{fn} did not raise {kind.__name__}")


def check_statuses_and_bad_arrays():
    try:
        zelsr.lpc(np.zeros(40, np.float32), 8)  # no energy: no prediction
        raise AssertionError("no error")
    except zelsr.Error as e:
        assert e.code < 0 and e.name.startswith("zelSts") and e.function == "zelsLinearPrediction_Auto_32f", e
    try:
        zelsr.MelFilterBank(512, 16000, 20, 9000, 23)
        raise AssertionError("no error")
    except zelsr.Error as e:
        assert (e.name, e.code) == ("zelStsMelFreqErr", -71)
    with warnings.catch_warnings(record=True) as got:
        warnings.simplefilter("always")
        det = zelsr.gconst(np.array([1, 0, 2], np.float32), direct_var=True)
    assert det == np.inf and len(got) == 1 and got[0].category is zelsr.StatusWarning
    assert got[0].message.name == "zelStsLnZeroArg"
    cases = [(zelsr.log_add, (f(4), f(4).astype(np.float64)), TypeError),
             (zelsr.log_add, (f(4), f(5)), ValueError),
             (zelsr.log_sum, (f(4, 2)[:, 0],), ValueError),
             (zelsr.log_sum, (np.zeros(0, np.float32),), ValueError),
             (zelsr.log_gauss, (f(3, 4), f(5), f(5)), ValueError),
             (zelsr.deltas, (f(3, 4),), ValueError),
             (zelsr.DCTLifter(23, 12, 22), (f(23),), ValueError),
             (zelsr.svd, (f(3, 3),), TypeError),
             (zelsr.dtw, (f(3, 4), f(3, 5)), ValueError),
             (zelsr.Codebook, (f(4, 30).T, 4), ValueError),
             (zelsr.resample, (f(8).astype(np.int16), 2, 1), TypeError)]
    for fn, args, kind in cases:
        try:
            fn(*args)
        except kind:
            continue
        raise AssertionError(f"{fn} did not raise {kind.__name__}")


def main():
    check_log_domain_and_scoring()
    check_front_end()
    check_matrix_and_alignment()
    check_lsp_vq_resampler()
    check_other_dtypes()
    check_statuses_and_bad_arrays()
    print("bindings: every binding equals its C function; statuses and bad arrays surface as exceptions")


if __name__ == "__main__":
    sys.exit(main())
