# SPDX-License-Identifier: Apache-2.0
"""The denoising example raises the segmental SNR of the bundled recording
mixed with white noise at 0 and 5 dB, with either gain, and writes its WAV
and picture."""
import os
import re
import subprocess
import sys
import tempfile
import wave

program = os.path.join(os.path.dirname(os.environ["ZELSR_LIB"]), "examples", "zelsr_denoise")
if not os.access(program, os.X_OK):
    print("SKIPPED: %s is not built" % program)
    sys.exit(77)

failures = []
with tempfile.TemporaryDirectory() as tmp:
    for gain in ("wiener", "emns"):
        for snr in ("0", "5"):
            wav, png = os.path.join(tmp, "out.wav"), os.path.join(tmp, "out.png")
            run = subprocess.run([program, "-g", gain, "-s", snr, "-o", wav, "-p", png],
                                 capture_output=True, text=True, timeout=120)
            m = re.search(r"segmental SNR: noisy (-?[\d.]+) dB, denoised (-?[\d.]+) dB", run.stdout)
            if run.returncode != 0 or not m:
                failures.append("%s at %s dB: exit %d\n%s%s" % (gain, snr, run.returncode, run.stdout, run.stderr))
                continue
            before, after = float(m.group(1)), float(m.group(2))
            print("%-6s input %s dB: segmental SNR %.2f -> %.2f dB" % (gain, snr, before, after))
            if after < before + 2.0:
                failures.append("%s at %s dB: %.2f -> %.2f dB" % (gain, snr, before, after))
            with wave.open(wav) as w:
                if w.getframerate() != 16000 or w.getnframes() < 16000:
                    failures.append("%s at %s dB: unexpected WAV" % (gain, snr))
            if os.path.getsize(png) < 1000:
                failures.append("%s at %s dB: no picture" % (gain, snr))

if failures:
    print("FAILED:\n" + "\n".join(failures))
    sys.exit(1)
