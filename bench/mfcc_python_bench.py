#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""zelsr.mfcc beside the same features computed with numpy and scipy in the
same process, on one minute of 16 kHz audio; then the Dask corpus run on two
workers. Run from a build tree: PYTHONPATH=build/python bench/mfcc_python_bench.py
"""
import os
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
import scipy.fft

import zelsr


def numpy_mfcc(x, rate=16000, nfilt=23, ncep=12, lifter=22):
    """The same front end in vectorised numpy/scipy: 25 ms Hamming frames every
    10 ms, pre-emphasis 0.97, power spectrum, 23 mel filters, log, DCT-II,
    lifter, c0 last, radius-two deltas and delta-deltas."""
    n, hop, fft = 400, 160, 512
    frames = np.lib.stride_tricks.sliding_window_view(x.astype(np.float32), n)[::hop]
    y = frames - 0.97 * np.concatenate([frames[:, :1], frames[:, :-1]], axis=1)
    y *= np.hamming(n).astype(np.float32)
    power = np.abs(scipy.fft.rfft(y, fft, axis=1)) ** 2
    mel = lambda f: 1127.0 * np.log1p(f / 700.0)
    m = np.linspace(mel(20.0), mel(rate / 2), nfilt + 2)
    c = np.floor(fft / rate * 700.0 * np.expm1(m / 1127.0)).astype(int)
    bm = mel(np.arange(fft // 2 + 1) * rate / fft)
    W = np.zeros((nfilt, fft // 2 + 1), np.float32)
    for i in range(1, nfilt + 1):
        k = np.arange(c[i - 1] + 1, c[i] + 1)
        W[i - 1, k] = (bm[k] - m[i - 1]) / (m[i] - m[i - 1])
        k = np.arange(c[i] + 1, c[i + 1] + 1)
        W[i - 1, k] = (m[i + 1] - bm[k]) / (m[i + 1] - m[i])
    logmel = np.log(np.maximum(power @ W.T, 1.1920929e-7))
    cep = scipy.fft.dct(logmel, type=2, axis=1)[:, :ncep + 1] / 2
    cep *= 1 + lifter / 2 * np.sin(np.pi * np.arange(ncep + 1) / lifter)
    static = np.concatenate([cep[:, 1:], cep[:, :1]], axis=1)

    def delta(v):
        p = np.pad(v, ((2, 2), (0, 0)), mode="edge")
        return ((p[3:-1] - p[1:-3]) + 2 * (p[4:] - p[:-4])) / 10

    d = delta(static)
    return np.concatenate([static, d, delta(d)], axis=1).astype(np.float32)


def median_times(fns, repeat=15):
    """Median wall time of each function over `repeat` rounds, after one call
    to warm up; the functions take turns within a round, so that a change in
    the machine's load falls on all of them alike."""
    times = [[] for _ in fns]
    for fn in fns:
        fn()
    for _ in range(repeat):
        for fn, ts in zip(fns, times):
            t = time.perf_counter()
            fn()
            ts.append(time.perf_counter() - t)
    return [statistics.median(ts) for ts in times]


def main():
    rng = np.random.default_rng(0)
    t = np.arange(16000 * 60) / 16000
    x = (3000 * np.sin(2 * np.pi * (150 + 50 * np.sin(t)) * t) + rng.normal(0, 300, t.size)).astype(np.int16)
    a, b = zelsr.mfcc(x), numpy_mfcc(x)
    assert a.shape == b.shape
    err = np.abs(a - b).max() / np.abs(b).max()
    tz, tn = median_times([lambda: zelsr.mfcc(x), lambda: numpy_mfcc(x)])
    print(f"one minute of audio, {a.shape[0]} frames x {a.shape[1]}, medians of 15: zelsr.mfcc {tz * 1e3:.2f} ms, "
          f"numpy/scipy {tn * 1e3:.2f} ms, ratio {tn / tz:.1f}x (largest difference {err:.1e} of the range)")

    script = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "examples", "python",
                          "corpus_features.py")
    try:
        import dask.distributed  # noqa: F401
    except ImportError:
        print("Dask is not installed: no corpus run")
        return 0
    from scipy.io import wavfile
    with tempfile.TemporaryDirectory() as tmp:
        corpus = os.path.join(tmp, "corpus")
        os.makedirs(corpus)
        for k in range(200):  # 200 utterances of 10 s: 2000 s of audio
            start = int(rng.integers(0, x.size - 160000))
            wavfile.write(os.path.join(corpus, f"utt{k:03d}.wav"), 16000, x[start:start + 160000])
        run = subprocess.run([sys.executable, script, corpus, os.path.join(tmp, "out"), "--workers", "2"],
                             capture_output=True, text=True)
        print("Dask corpus run:", run.stdout.strip() or run.stderr.strip())
    return 0


if __name__ == "__main__":
    sys.exit(main())
