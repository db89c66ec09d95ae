#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Features for a whole corpus, in parallel on Dask.

    corpus_features.py CORPUS_DIR OUT_DIR [--scheduler tcp://host:8786] [--workers 2] [--kind mfcc|fbank]

Every .wav file under CORPUS_DIR (16-bit or float PCM) becomes OUT_DIR/<name>.npy,
a (frames, dim) float32 array from zelsr.mfcc or zelsr.fbank. Without
--scheduler a LocalCluster of --workers processes runs on this machine; with it,
the work goes to that Dask scheduler, whose workers must see the same paths and
have zelsr installed. A summary of frames per second closes the run.
"""
import argparse
import os
import sys
import time


def extract(path: str, out_dir: str, root: str, kind: str, options: dict):
    """One utterance: read, extract, save. Returns (name, frames, seconds of audio, seconds of work)."""
    import numpy as np
    from scipy.io import wavfile

    import zelsr

    start = time.perf_counter()
    rate, audio = wavfile.read(path)
    if audio.ndim > 1:
        audio = audio[:, 0]
    if audio.dtype != np.int16:
        audio = audio.astype(np.float32)
    audio = np.ascontiguousarray(audio)
    fn = zelsr.mfcc if kind == "mfcc" else zelsr.fbank
    feats = fn(audio, sample_rate=float(rate), **options)
    name = os.path.splitext(os.path.relpath(path, root))[0].replace(os.sep, "__")
    np.save(os.path.join(out_dir, name + ".npy"), feats)
    return name, feats.shape[0], audio.size / rate, time.perf_counter() - start


def find_audio(root: str):
    found = []
    for dirpath, _, files in os.walk(root):
        found += [os.path.join(dirpath, f) for f in files if f.lower().endswith(".wav")]
    return sorted(found)


def main(argv=None) -> int:
    ap = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    ap.add_argument("corpus", help="directory searched for .wav files")
    ap.add_argument("out", help="directory for one .npy per utterance")
    ap.add_argument("--scheduler", help="address of a running Dask scheduler (default: a LocalCluster)")
    ap.add_argument("--workers", type=int, default=2, help="worker processes of the LocalCluster (default 2)")
    ap.add_argument("--kind", choices=("mfcc", "fbank"), default="mfcc")
    ap.add_argument("--cmvn", choices=("none", "sliding", "utterance"), default="none")
    args = ap.parse_args(argv)

    try:
        from dask.distributed import Client, LocalCluster
    except ImportError:
        print("corpus_features.py needs Dask (Debian: python3-dask python3-distributed)", file=sys.stderr)
        return 2
    files = find_audio(args.corpus)
    if not files:
        print(f"no .wav files under {args.corpus}", file=sys.stderr)
        return 1
    os.makedirs(args.out, exist_ok=True)
    options = {"cmvn": args.cmvn}

    cluster = None
    if args.scheduler:
        client = Client(args.scheduler)
    else:
        cluster = LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True,
                               dashboard_address=None)
        client = Client(cluster)
    try:
        workers = len(client.scheduler_info()["workers"])
        start = time.perf_counter()
        futures = client.map(extract, files, out_dir=os.path.abspath(args.out), root=args.corpus, kind=args.kind,
                             options=options, pure=False)
        results = client.gather(futures)
        wall = time.perf_counter() - start
    finally:
        client.close()
        if cluster is not None:
            cluster.close()
    frames = sum(r[1] for r in results)
    audio = sum(r[2] for r in results)
    busy = sum(r[3] for r in results)
    print(f"{len(results)} utterances, {audio:.1f} s of audio, {frames} frames on {workers} workers "
          f"in {wall:.2f} s: {frames / wall:.0f} frames/s, {audio / wall:.1f} s of audio per second "
          f"({busy:.2f} s of work inside the tasks)")
    return 0


if __name__ == "__main__":
    sys.exit(main())
