# SPDX-License-Identifier: Apache-2.0
"""zelsr.mfcc and zelsr.fbank against a numpy implementation of the same
front end, streaming against one call, and the exceptions of bad input."""
import sys
import warnings

import numpy as np

import zelsr


def reference(x, rate=16000.0, frame_ms=25.0, shift_ms=10.0, pre=0.97, nfilt=23, low=20.0, ncep=12, lifter=22):
    """Log mel energies and MFCC with c0, deltas and delta-deltas, in float64."""
    n = int(round(frame_ms * rate / 1000)); hop = int(round(shift_ms * rate / 1000))
    fft = 1 << int(np.ceil(np.log2(n)))
    high = rate / 2
    frames = np.lib.stride_tricks.sliding_window_view(x.astype(np.float64), n)[::hop]
    y = frames - pre * np.concatenate([frames[:, :1], frames[:, :-1]], axis=1)
    y = y * (0.54 - 0.46 * np.cos(2 * np.pi * np.arange(n) / (n - 1)))
    power = np.abs(np.fft.rfft(y, fft)) ** 2
    # Triangles on the mel scale 1127 ln(1 + f / 700), centres truncated to bins.
    mel = lambda f: 1127.0 * np.log1p(f / 700.0)
    m = np.float32(mel(low)) + np.arange(nfilt + 2) * (np.float32(mel(high)) - np.float32(mel(low))) / (nfilt + 1)
    c = np.floor(fft / rate * 700.0 * (np.exp(m / 1127.0) - 1)).astype(int)
    bins_mel = mel(np.arange(fft // 2 + 1) * rate / fft)
    W = np.zeros((nfilt, fft // 2 + 1))
    for i in range(1, nfilt + 1):
        k = np.arange(c[i - 1] + 1, c[i] + 1)
        W[i - 1, k] = (bins_mel[k] - m[i - 1]) / (m[i] - m[i - 1])
        k = np.arange(c[i] + 1, c[i + 1] + 1)
        W[i - 1, k] = (m[i + 1] - bins_mel[k]) / (m[i + 1] - m[i])
    logmel = np.log(np.maximum(power @ W.T, 1.1920929e-7))
    i = np.arange(ncep + 1)[:, None]
    dct = np.cos(np.pi * i * (np.arange(nfilt) + 0.5) / nfilt)
    lift = 1 + lifter / 2 * np.sin(np.pi * np.arange(ncep + 1) / lifter)
    cep = (logmel @ dct.T) * lift
    static = np.concatenate([cep[:, 1:], cep[:, :1] / lift[0]], axis=1)

    def delta(v):
        p = np.pad(v, ((2, 2), (0, 0)), mode="edge")
        return ((p[3:-1] - p[1:-3]) + 2 * (p[4:] - p[:-4])) / 10

    d = delta(static)
    return logmel, np.concatenate([static, d, delta(d)], axis=1)


def test_against_numpy(x):
    logmel, full = reference(x)
    got = zelsr.fbank(x)
    assert got.shape == logmel.shape, (got.shape, logmel.shape)
    np.testing.assert_allclose(got, logmel, rtol=1e-4, atol=1e-4)
    got = zelsr.mfcc(x)
    assert got.shape == full.shape
    np.testing.assert_allclose(got, full, rtol=1e-3, atol=2e-3 * np.abs(full).max())


def test_streaming(x):
    rng = np.random.default_rng(5)
    for kind, opts in (("mfcc", {}), ("fbank", dict(energy="log", delta_order=1, cmvn="sliding", cmvn_window=50)),
                       ("mfcc", dict(cmvn="utterance", norm_variance=True, window="povey"))):
        whole = (zelsr.mfcc if kind == "mfcc" else zelsr.fbank)(x, **opts)
        ex = zelsr.FeatureExtractor(kind, **opts)
        parts, at = [], 0
        data = x if kind == "fbank" else x.astype(np.float32)
        while at < len(data):
            n = int(rng.integers(1, 900))
            parts.append(ex.accept(data[at:at + n]))
            at += n
        parts.append(ex.flush())
        assert np.array_equal(np.concatenate(parts), whole), kind


def test_threads(x):
    """Extraction runs without the interpreter's lock: threads at once give
    the frames of one thread, and threads sharing one extractor take turns."""
    from concurrent.futures import ThreadPoolExecutor
    parts = [x[k * 4000:(k + 2) * 4000] for k in range(8)]
    serial = [zelsr.mfcc(p) for p in parts]
    with ThreadPoolExecutor(4) as pool:
        for got, want in zip(pool.map(zelsr.mfcc, parts), serial):
            assert np.array_equal(got, want)
        shared = zelsr.FeatureExtractor()
        frames = list(pool.map(shared.accept, [x[k * 1000:(k + 1) * 1000] for k in range(16)]))
    assert sum(len(f) for f in frames) + len(shared.flush()) == len(zelsr.mfcc(x[:16000]))


def test_bad_input(x):
    def raises(kind, fn, *args, **kw):
        try:
            fn(*args, **kw)
        except kind as e:
            return str(e)
        raise AssertionError(f"{fn.__name__}{args!r}{kw!r} did not raise {kind.__name__}")

    assert "dtype" in raises(TypeError, zelsr.mfcc, x.astype(np.float64))
    assert "dtype" in raises(TypeError, zelsr.mfcc, [1, 2, 3])
    assert "C-contiguous" in raises(ValueError, zelsr.mfcc, x[::2])
    assert "dimension" in raises(ValueError, zelsr.mfcc, x.reshape(2, -1))
    assert "empty" in raises(ValueError, zelsr.mfcc, x[:0])
    for field, value in (("num_filters", 0), ("sample_rate", -1.0), ("high_freq", 9000.0), ("num_ceps", 40),
                         ("frame_shift_ms", 0.0), ("cmvn_window", 0)):
        msg = raises(ValueError, zelsr.mfcc, x, **({"cmvn": "sliding"} if field == "cmvn_window" else {}),
                     **{field: value})
        assert field in msg, msg
    assert "window" in raises(ValueError, zelsr.mfcc, x, window="kaiser")
    assert "bogus" in raises(TypeError, zelsr.FeatureExtractor, "mfcc", bogus=1)
    # Shorter than a frame: no frames, not an error.
    assert zelsr.mfcc(x[:100]).shape == (0, 39)
    ex = zelsr.FeatureExtractor()
    ex.flush()
    err = raises(zelsr.Error, ex.accept, x)
    e = None
    try:
        ex.accept(x)
    except zelsr.Error as caught:
        e = caught
    assert e.name == "zelStsContextMatchErr" and e.code == -17, err


def main():
    rng = np.random.default_rng(1)
    t = np.arange(16000 * 3) / 16000.0
    x = (3000 * np.sin(2 * np.pi * (200 + 300 * t) * t) * (np.sin(2 * np.pi * 1.5 * t) > 0)
         + rng.normal(0, 200, t.size)).astype(np.int16)
    test_against_numpy(x)
    test_streaming(x)
    test_threads(x)
    test_bad_input(x)
    print("features: numpy reference, streaming and bad input all agree")


if __name__ == "__main__":
    warnings.simplefilter("error")
    sys.exit(main())
