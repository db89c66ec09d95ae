# SPDX-License-Identifier: Apache-2.0
"""The GMM training example against scikit-learn.

Runs the built example program on the bundled recording, checks that its
expectation-maximisation never lowers the average log-likelihood within one
mixture size, that the average it reports is the one numpy computes for the
mixture it wrote, and that scikit-learn's GaussianMixture, started from the
same 16 components and run for the same number of iterations on the same
features, ends within 1% of it."""
import os
import subprocess
import sys
import tempfile

import numpy as np
from scipy.special import logsumexp

HERE = os.path.dirname(os.path.abspath(__file__))
WAV = os.path.join(HERE, "..", "..", "examples", "data", "speech16k.wav")


def skip(why):
    print("SKIPPED: " + why)
    sys.exit(77)


try:
    from sklearn.mixture import GaussianMixture
except ImportError:
    skip("scikit-learn is not installed for " + sys.executable + " (Debian: python3-sklearn)")

program = os.path.join(os.path.dirname(os.environ["ZELSR_LIB"]), "examples", "zelsr_train_gmm")
if not os.access(program, os.X_OK):
    skip(program + " is not built (configure with ZELSR_BUILD_EXAMPLES=ON)")


def read_dump(path):
    with open(path) as f:
        lines = iter(f.read().splitlines())
    _, frames, dim = next(lines).split()
    x = np.array([[float(v) for v in next(lines).split()] for _ in range(int(frames))])
    iterations = int(next(lines).split()[1])
    floor = np.array([float(v) for v in next(lines).split()[1:]])

    def mixture():
        size = int(next(lines).split()[1])
        rows = np.array([[float(v) for v in next(lines).split()] for _ in range(size)])
        d = int(dim)
        return rows[:, 0], rows[:, 1:1 + d], rows[:, 1 + d:]

    start, trained = mixture(), mixture()
    average = float(next(lines).split()[1])
    return x, iterations, floor, start, trained, average


def average_log_likelihood(x, weights, means, variances):
    d = x[:, None, :] - means[None, :, :]
    log_pdf = -0.5 * (np.log(2 * np.pi * variances).sum(1)[None, :] + (d * d / variances[None, :, :]).sum(2))
    return float(np.mean(logsumexp(log_pdf + np.log(weights)[None, :], axis=1)))


with tempfile.TemporaryDirectory() as tmp:
    dump = os.path.join(tmp, "gmm.txt")
    run = subprocess.run([program, WAV, dump], capture_output=True, text=True, check=True)
    x, iterations, floor, start, trained, average = read_dump(dump)

# Monotone EM: within each mixture size the average never falls.
by_size = {}
for line in run.stdout.splitlines():
    words = line.split()
    if words and words[0] == "components":
        by_size.setdefault(int(words[1]), []).append(float(words[-1]))
assert sorted(by_size) == [1, 2, 4, 8, 16], by_size
for size, values in by_size.items():
    for before, after in zip(values, values[1:]):
        assert after >= before - 1e-9 * abs(before), (size, values)

# The reported average is that of the written mixture.
ours = average_log_likelihood(x, *trained)
assert abs(ours - average) <= 1e-9 * abs(average), (ours, average)

weights, means, variances = start
gm = GaussianMixture(n_components=len(weights), covariance_type="diag", weights_init=weights / weights.sum(),
                     means_init=means, precisions_init=1.0 / variances, max_iter=iterations, tol=0.0,
                     reg_covar=0.0, init_params="random", random_state=0)
import warnings
with warnings.catch_warnings():
    warnings.simplefilter("ignore")  # max_iter reached: that is the point
    gm.fit(x)
theirs = gm.score(x)
floored = int((trained[2] <= floor[None, :] * (1 + 1e-12)).sum())
print(f"average log-likelihood: example {average:.6f}, scikit-learn {theirs:.6f} "
      f"({100 * abs(average - theirs) / abs(theirs):.4f}%); {floored} floored variances")
assert abs(average - theirs) <= 0.01 * abs(theirs), (average, theirs)
print("ok")
