#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Plots a recording's waveform, log mel spectrogram and cepstra.

    features.py [input.wav [picture.png]]

By default it reads the bundled examples/data/speech16k.wav and writes
zelsr_features_py.png. Time axes are in seconds, the mel bands are labelled
by their centre frequencies in Hz, and each image has its colour bar.
"""
import os
import sys

import numpy as np


def main(argv) -> int:
    here = os.path.dirname(os.path.abspath(__file__))
    wav = argv[1] if len(argv) > 1 else os.path.join(here, "..", "data", "speech16k.wav")
    png = argv[2] if len(argv) > 2 else "zelsr_features_py.png"
    try:
        from scipy.io import wavfile
        rate, audio = wavfile.read(wav)
    except (OSError, ValueError) as e:
        print(f"cannot read {wav}: {e}", file=sys.stderr)
        return 1
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    import zelsr

    if audio.ndim > 1:
        audio = audio[:, 0]
    if audio.dtype != np.int16:
        audio = audio.astype(np.float32)
    audio = np.ascontiguousarray(audio)
    n_mel, shift = 40, 0.010
    logmel = zelsr.fbank(audio, sample_rate=float(rate), num_filters=n_mel)
    ceps = zelsr.mfcc(audio, sample_rate=float(rate), num_filters=n_mel, delta_order=0, energy="none")
    if logmel.shape[0] == 0:
        print(f"{wav}: shorter than one 25 ms frame", file=sys.stderr)
        return 1
    # Centre frequency of each mel band, for the axis labels.
    mel = lambda f: 1127.0 * np.log1p(f / 700.0)
    m = np.linspace(mel(20.0), mel(rate / 2), n_mel + 2)[1:-1]
    centres = 700.0 * np.expm1(m / 1127.0)

    t_end = audio.size / rate
    frames_end = 0.0125 + shift * logmel.shape[0]  # frame centres start half a frame in
    fig, ax = plt.subplots(3, 1, figsize=(10, 8), sharex=True, constrained_layout=True)
    ax[0].plot(np.arange(audio.size) / rate, audio, lw=0.5)
    ax[0].set(title=os.path.basename(wav), ylabel="amplitude")
    im = ax[1].imshow(logmel.T, origin="lower", aspect="auto", extent=(0.0125, frames_end, 0, n_mel),
                      cmap="magma")
    ticks = np.arange(0, n_mel, 8)
    ax[1].set_yticks(ticks + 0.5, [f"{centres[k]:.0f}" for k in ticks])
    ax[1].set(title="log mel spectrogram", ylabel="band centre (Hz)")
    fig.colorbar(im, ax=ax[1], label="ln energy")
    im = ax[2].imshow(ceps.T, origin="lower", aspect="auto", extent=(0.0125, frames_end, 0.5, ceps.shape[1] + 0.5),
                      cmap="coolwarm", vmin=-np.abs(ceps).max(), vmax=np.abs(ceps).max())
    ax[2].set(title="cepstra c1..c12", ylabel="coefficient", xlabel="time (s)", xlim=(0, t_end))
    fig.colorbar(im, ax=ax[2], label="value")
    fig.savefig(png, dpi=100)
    print(f"{wav}: {audio.size / rate:.2f} s, {logmel.shape[0]} frames; wrote {png}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
