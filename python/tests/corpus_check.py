# SPDX-License-Identifier: Apache-2.0
"""corpus_features.py on 20 generated recordings on a two-worker LocalCluster:
one feature file per recording, equal to extraction in this process."""
import os
import subprocess
import sys
import tempfile

import numpy as np

try:
    import dask.distributed  # noqa: F401
except ImportError:
    print("SKIPPED: dask.distributed is not installed for /usr/bin/python3")
    sys.exit(77)
from scipy.io import wavfile

import zelsr

SCRIPT = os.path.join(os.environ.get("ZELSR_SOURCE", os.path.join(os.path.dirname(__file__), "..", "..")),
                      "examples", "python", "corpus_features.py")


def main():
    rng = np.random.default_rng(22)
    with tempfile.TemporaryDirectory() as tmp:
        corpus, out = os.path.join(tmp, "corpus"), os.path.join(tmp, "feats")
        os.makedirs(os.path.join(corpus, "spk1"))
        os.makedirs(os.path.join(corpus, "spk2"))
        wanted = {}
        for k in range(20):
            rate = 16000 if k % 4 else 8000
            t = np.arange(int(rate * rng.uniform(1.0, 3.0))) / rate
            f0 = rng.uniform(100, 300)
            x = 4000 * np.sin(2 * np.pi * f0 * t) * (np.sin(2 * np.pi * rng.uniform(1, 4) * t) > 0)
            x = (x + rng.normal(0, 300, t.size)).astype(np.int16)
            name = f"utt{k:02d}"
            wavfile.write(os.path.join(corpus, f"spk{1 + k % 2}", name + ".wav"), rate, x)
            wanted[f"spk{1 + k % 2}__{name}"] = zelsr.mfcc(x, sample_rate=float(rate))
        run = subprocess.run([sys.executable, SCRIPT, corpus, out, "--workers", "2"], capture_output=True, text=True,
                             timeout=300)
        print(run.stdout.strip())
        assert run.returncode == 0, run.stderr
        assert "20 utterances" in run.stdout and "on 2 workers" in run.stdout, run.stdout
        files = sorted(os.listdir(out))
        assert files == sorted(n + ".npy" for n in wanted), files
        for name, feats in wanted.items():
            got = np.load(os.path.join(out, name + ".npy"))
            assert got.dtype == np.float32 and np.array_equal(got, feats), name
    print("corpus: 20 recordings on two Dask workers equal single-process extraction")


if __name__ == "__main__":
    sys.exit(main())
