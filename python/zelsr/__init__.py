# SPDX-License-Identifier: Apache-2.0
"""zelsr: speech features and the primitives under them, on numpy arrays.

    >>> import numpy as np, zelsr
    >>> audio = np.zeros(16000, dtype=np.int16)
    >>> zelsr.mfcc(audio).shape          # 25 ms frames every 10 ms, 39 values
    (98, 39)

Arrays go to the C library as they are: they must have the dtype, shape and
C-contiguous layout a function names (``np.ascontiguousarray(x, np.float32)``
makes one). A negative status raises :class:`Error`, a positive one issues a
:class:`StatusWarning`.
"""
from typing import Optional, Union

import numpy as np

from ._status import Error, StatusWarning
from ._zelsr import (
    acc_covariance, aurora_taps, AuroraMelBank, bhat_dist, blind_equalization, cluster_accumulate,
    cluster_likelihood, Codebook, DCTLifter, deltas, dtw, gaussian_dist, gaussian_merge, gaussian_split, gconst,
    log_add, log_gauss, log_gauss_mixture, log_gauss_mixture_select, log_sum, lp_to_lsp, lpc, mean_var_acc,
    MelFilterBank, new_var, noise_spectrum_update, NoiseEstimator, resample, residual_filter, scale_lm,
    smoothed_power_spectrum, status_name, sum_mean_var, svd, update_mean, update_var, update_weight, VAD,
    wave_processing, weighted_sum, wiener_filter_design)
from . import _zelsr

__all__ = ["Error", "StatusWarning", "FeatureExtractor", "mfcc", "fbank"] + [
    "acc_covariance", "aurora_taps", "AuroraMelBank", "bhat_dist", "blind_equalization", "cluster_accumulate",
    "cluster_likelihood", "Codebook", "DCTLifter", "deltas", "dtw", "gaussian_dist", "gaussian_merge",
    "gaussian_split", "gconst", "log_add", "log_gauss", "log_gauss_mixture", "log_gauss_mixture_select", "log_sum",
    "lp_to_lsp", "lpc", "mean_var_acc", "MelFilterBank", "new_var", "noise_spectrum_update", "NoiseEstimator",
    "resample", "residual_filter", "scale_lm", "smoothed_power_spectrum", "status_name", "sum_mean_var", "svd",
    "update_mean", "update_var", "update_weight", "VAD", "wave_processing", "weighted_sum", "wiener_filter_design"]

# Field order of the C configuration record; zelsrFeatureCheckConfig reports
# the refused field by this number.
_FIELDS = ("sample_rate", "frame_length_ms", "frame_shift_ms", "preemphasis", "window", "fft_size",
           "power_spectrum", "num_filters", "low_freq", "high_freq", "log_floor", "output", "num_ceps",
           "lifter", "energy", "delta_order", "cmvn", "norm_variance", "cmvn_window")
_CHOICES = {
    "window": {"hamming": 0, "hann": 1, "povey": 2},
    "energy": {"none": 0, "c0": 1, "log": 2},
    "cmvn": {"none": 0, "sliding": 1, "utterance": 2},
    "output": {"mfcc": 0, "fbank": 1},
}

Audio = np.ndarray


def _config(output: str, **options) -> "_zelsr.FeatureConfig":
    cfg = _zelsr.FeatureConfig()
    cfg.output = _CHOICES["output"][output]
    if output == "fbank":
        cfg.energy, cfg.delta_order = 0, 0
    for key, value in options.items():
        if key not in _FIELDS or key == "output":
            raise TypeError(f"unknown feature option {key!r}")
        if key in _CHOICES:
            if value not in _CHOICES[key]:
                raise ValueError(f"{key}: one of {sorted(_CHOICES[key])}, got {value!r}")
            value = _CHOICES[key][value]
        elif isinstance(value, bool):
            value = int(value)
        try:
            setattr(cfg, key, value)
        except TypeError:
            raise TypeError(f"{key}: wrong type {type(value).__name__}") from None
    field = _zelsr.check_config(cfg)
    if field >= 0:
        name = _FIELDS[field]
        raise ValueError(f"invalid feature configuration: {name} = {getattr(cfg, name)!r}")
    return cfg


class FeatureExtractor:
    """Streaming extractor: feed blocks of any size, read frames as they are ready.

    ``kind`` is ``"mfcc"`` or ``"fbank"``; the keyword options are those of
    :func:`mfcc`. The frames equal those of one call on the whole audio.
    """

    def __init__(self, kind: str = "mfcc", **options) -> None:
        if kind not in _CHOICES["output"]:
            raise ValueError(f"kind: 'mfcc' or 'fbank', got {kind!r}")
        self._x = _zelsr.Extractor(_config(kind, **options))

    @property
    def dim(self) -> int:
        """Values per frame."""
        return self._x.dim

    def accept(self, samples: Audio) -> np.ndarray:
        """Accept a 1-D int16 or float32 block and return the frames now ready."""
        self._x.accept(_audio(samples))
        return self._x.read()

    def flush(self) -> np.ndarray:
        """End the utterance and return the remaining frames."""
        self._x.flush()
        return self._x.read()

    def reset(self) -> None:
        """Discard everything and start a new utterance."""
        self._x.reset()


def _audio(samples) -> np.ndarray:
    if not isinstance(samples, np.ndarray):
        raise TypeError(f"samples: expected a numpy array of dtype int16 or float32, got {type(samples).__name__}")
    return samples


def _run(kind: str, signal: Audio, options: dict) -> np.ndarray:
    return _zelsr.Extractor(_config(kind, **options)).compute(_audio(signal))


def mfcc(signal: Audio, sample_rate: float = 16000.0, *, frame_length_ms: float = 25.0,
         frame_shift_ms: float = 10.0, preemphasis: float = 0.97, window: str = "hamming", fft_size: int = 0,
         power_spectrum: bool = True, num_filters: int = 23, low_freq: float = 20.0, high_freq: float = 0.0,
         log_floor: float = 1.1920929e-7, num_ceps: int = 12, lifter: int = 22, energy: str = "c0",
         delta_order: int = 2, cmvn: str = "none", norm_variance: bool = False,
         cmvn_window: int = 300) -> np.ndarray:
    """Mel-frequency cepstra of a 1-D int16 or float32 signal, as (frames, dim) float32.

    Frames of ``frame_length_ms`` every ``frame_shift_ms`` (no partial frame at
    the end), pre-emphasis, a ``window`` ('hamming', 'hann', 'povey'), the
    power (or magnitude) spectrum, ``num_filters`` mel filters from
    ``low_freq`` to ``high_freq`` (0 or less: that far below Nyquist), log
    floored at ``log_floor``, ``num_ceps`` cepstra by the unnormalised DCT-II
    with a sinusoidal ``lifter`` (0: none), then ``energy`` ('none', 'c0',
    'log'), ``cmvn`` ('none', 'sliding' over ``cmvn_window`` frames,
    'utterance'), and ``delta_order`` 0, 1 or 2. Samples keep their scale.
    A bad option raises ValueError naming it.
    """
    opts = dict(locals())
    del opts["signal"]
    return _run("mfcc", signal, opts)


def fbank(signal: Audio, sample_rate: float = 16000.0, *, frame_length_ms: float = 25.0,
          frame_shift_ms: float = 10.0, preemphasis: float = 0.97, window: str = "hamming", fft_size: int = 0,
          power_spectrum: bool = True, num_filters: int = 23, low_freq: float = 20.0, high_freq: float = 0.0,
          log_floor: float = 1.1920929e-7, energy: str = "none", delta_order: int = 0, cmvn: str = "none",
          norm_variance: bool = False, cmvn_window: int = 300) -> np.ndarray:
    """Log mel filter-bank energies of a 1-D int16 or float32 signal, (frames, num_filters [+1]).

    The options are those of :func:`mfcc` ('c0' is not an energy here).
    """
    opts = dict(locals())
    del opts["signal"]
    return _run("fbank", signal, opts)
