# SPDX-License-Identifier: Apache-2.0
"""Passband ripple and stopband attenuation of the resampler, measured on
sines with numpy, against what a Kaiser window of its alpha and length gives."""
import ctypes
import sys

import numpy as np

from zelsr_ctypes import f32, f64, i32, lib, ptr

c_void_pp = ctypes.POINTER(ctypes.c_void_p)


def fixed_state(rin, rout, taps, rollf, alpha, hint):
    resampler = ctypes.c_void_p()
    st = lib.zelsResamplePolyphaseFixedInitAlloc_32f(ctypes.byref(resampler), rin, rout, taps, f32(rollf), f32(alpha),
                                                     hint)
    assert st == 0, st
    return resampler


def general_state(window, nstep, rollf, alpha, hint):
    resampler = ctypes.c_void_p()
    st = lib.zelsResamplePolyphaseInitAlloc_32f(ctypes.byref(resampler), f32(window), nstep, f32(rollf), f32(alpha),
                                                hint)
    assert st == 0, st
    return resampler


def run(kind, resampler, x, ratio, pad):
    """The whole of x in one call, with `pad` zeros of history on each side."""
    src = np.concatenate([np.zeros(pad), x, np.zeros(pad)]).astype(np.float32)
    dst = np.zeros(int(len(x) * ratio) + 8, dtype=np.float32)
    t = f64(pad)
    n = i32(0)
    if kind == "fixed":
        st = lib.zelsResamplePolyphaseFixed_32f(resampler, ptr(src, f32), len(x), ptr(dst, f32), f32(1.0),
                                                ctypes.byref(t), ctypes.byref(n))
    else:
        st = lib.zelsResamplePolyphase_32f(resampler, ptr(src, f32), len(x), ptr(dst, f32), f64(ratio), f32(1.0),
                                           ctypes.byref(t), ctypes.byref(n))
    assert st == 0, st
    return dst[: n.value]


def amplitudes(y, freqs, rate, skip):
    """Amplitudes of the components at `freqs`, fitted together by least
    squares (so that a strong tone does not leak into a weak one's estimate),
    edges skipped."""
    k = np.arange(len(y))[skip:-skip]
    cols = []
    for f in freqs:
        w = 2 * np.pi * f / rate * k
        cols += [np.cos(w), np.sin(w)]
    coef = np.linalg.lstsq(np.stack(cols, axis=1), y[skip:-skip], rcond=None)[0]
    return [float(np.hypot(coef[2 * i], coef[2 * i + 1])) for i in range(len(freqs))]


def kaiser_attenuation(alpha):
    """Stopband attenuation in dB that a Kaiser window of this alpha gives."""
    return alpha / 0.1102 + 8.7


def check(kind, resampler, rin, rout, taps, rollf, alpha):
    ratio = rout / rin
    rng = np.random.default_rng(7)
    n = 8192
    k = np.arange(n)
    low = min(rin, rout) / 2
    # Kaiser: transition width in Hz for a filter of `taps` input samples.
    a_db = kaiser_attenuation(alpha)
    width = (a_db - 7.95) / (14.36 * taps) * rin
    edge = rollf * low
    ripple_bound = 10 ** (-(a_db - 6) / 20)

    # Outputs within a filter length of either end see the zeros around the tone.
    skip = int(taps * max(1.0, ratio)) + 8
    worst_pass = 0.0
    worst_stop = 0.0
    for f in np.linspace(50, edge - width / 2, 12):
        y = run(kind, resampler, np.sin(2 * np.pi * f / rin * k + rng.uniform(0, 6)), ratio, taps)
        # Upsampling: the image of the tone at rin - f is what the filter removes.
        image = rout > rin and rin - f > edge + width / 2
        a = amplitudes(y, [f, rin - f] if image else [f], rout, skip)
        worst_pass = max(worst_pass, abs(a[0] - 1.0))
        if image:
            worst_stop = max(worst_stop, a[1])
    for f in np.linspace(edge + width / 2, rin / 2 * 0.98, 12) if rin > rout else []:
        y = run(kind, resampler, np.sin(2 * np.pi * f / rin * k + rng.uniform(0, 6)), ratio, taps)
        rms = float(np.sqrt(np.mean(y[skip:-skip] ** 2)) * np.sqrt(2))
        worst_stop = max(worst_stop, rms)
    att = -20 * np.log10(max(worst_stop, 1e-12))
    print(f"{kind} {rin}->{rout} taps {taps} alpha {alpha}: passband deviation {worst_pass:.2e} "
          f"(bound {ripple_bound:.1e}), stopband {att:.1f} dB (Kaiser {a_db:.1f} dB)")
    ok = worst_pass <= ripple_bound and att >= a_db - 6
    return ok


def main():
    ok = True
    for hint in (1, 2):  # fast and accurate
        for rin, rout, taps, alpha in ((48000, 16000, 96, 8.0), (44100, 16000, 96, 8.0), (16000, 8000, 64, 6.0),
                                       (8000, 16000, 64, 6.0)):
            ok &= check("fixed", fixed_state(rin, rout, taps, 0.95, alpha, hint), rin, rout, taps, 0.95, alpha)
        for rin, rout in ((48000, 16000), (44100, 16000), (8000, 16000)):
            ok &= check("general", general_state(96, 256, 0.95, 8.0, hint), rin, rout, 96, 0.95, 8.0)
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
