#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The distributed front end from Python: noise reduction steps, Mel banks,
voice activity, wave processing and blind equalization give, bit for bit,
what their C members give on the same data, in float32 and the integer
forms; wrong lengths and dtypes raise."""
import ctypes
import sys

import numpy as np

import zelsr
from ccall import F, c, raises, same
from zelsr_ctypes import lib

rng = np.random.default_rng(5)
f32 = lambda *s: rng.standard_normal(s).astype(np.float32)
pos = lambda *s: (np.abs(f32(*s)) * 100 + 1).astype(np.float32)
i16 = lambda *s, lo=-3000, hi=3000: rng.integers(lo, hi, s, dtype=np.int16)


def check_noise_reduction():
    for x in (f32(256), i16(256, lo=-150, hi=150)):
        out = np.empty(65, x.dtype)
        c(f"zelsSmoothedPowerSpectrumAurora_{'32f' if x.dtype == np.float32 else '16s'}", x, out, 256)
        same(zelsr.smoothed_power_spectrum(x), out)
    x = rng.integers(-40000, 40000, 256, dtype=np.int32)
    out32, out64 = np.empty(65, np.int32), np.empty(65, np.int64)
    c("zelsSmoothedPowerSpectrumAurora_32s_Sfs", x, out32, 256, 6)
    same(zelsr.smoothed_power_spectrum(x, 6), out32)
    c("zelsSmoothedPowerSpectrumAurora_32s64s_Sfs", x, out64, 256, 6)
    same(zelsr.smoothed_power_spectrum(x, 6, wide=True), out64)
    a, b, out = pos(65), pos(65), np.empty(65, np.float32)
    c("zelsNoiseSpectrumUpdate_Aurora_32f", a, b, out, 65)
    same(zelsr.noise_spectrum_update(a, b), out)
    for dt, name in [(np.int16, "16s"), (np.int32, "32s")]:
        a, b, out = (rng.integers(0, 20000, 65).astype(dt) for _ in range(3))
        c(f"zelsNoiseSpectrumUpdate_Aurora_{name}_Sfs", a, b, out, 65, 1)
        same(zelsr.noise_spectrum_update(a, b, 1), out)
    a, b, d, out = pos(65), pos(65), pos(65), np.empty(65, np.float32)
    c("zelsWienerFilterDesign_Aurora_32f", a, b, d, out, 65)
    same(zelsr.wiener_filter_design(a, b, d), out)
    a, b, d, out = (i16(65, lo=0, hi=20000) for _ in range(4))
    c("zelsWienerFilterDesign_Aurora_16s", a, b, d, out, 65)
    same(zelsr.wiener_filter_design(a, b, d), out)
    for imp, hist, sf in [(f32(10), f32(96), None), (i16(10), i16(96), 14)]:
        name = "32f" if sf is None else "16s"
        taps = np.empty(17, imp.dtype)
        c(f"zelsTabsCalculation_Aurora_{name}", imp, taps)
        same(zelsr.aurora_taps(imp), taps)
        out = np.empty(80, imp.dtype)
        if sf is None:
            c("zelsResidualFilter_Aurora_32f", hist, out, taps)
            same(zelsr.residual_filter(hist, taps), out)
        else:
            c("zelsResidualFilter_Aurora_16s_Sfs", hist, out, taps, sf)
            same(zelsr.residual_filter(hist, taps, sf), out)


def check_mel_banks():
    for kind, bands in [("Low", 25), ("High", 3)]:
        for dt, name in [(np.float32, "32f"), (np.int16, "16s")]:
            bank = ctypes.c_void_p()
            c(f"zelsMelFBankInitAlloc{kind}_Aurora_{name}", ctypes.byref(bank))
            x, out = (pos(65) if dt == np.float32 else i16(65, lo=0, hi=30000)), np.empty(bands, dt)
            if dt == np.float32:
                c("zelsEvalFBank_32f", x, out, bank)
            else:
                c("zelsEvalFBank_16s_Sfs", x, out, bank, 2)
            getattr(lib, f"zelsFBankFree_{name}")(bank)
            mine = zelsr.AuroraMelBank(kind.lower(), np.dtype(dt).name)
            assert mine.bands == bands
            same(mine(x, 2) if dt == np.int16 else mine(x), out)


def check_vad_wave_and_equalization():
    for dt, name in [(np.float32, "32f"), (np.int16, "16s")]:
        state = (ctypes.c_uint32 * 16)()
        c(f"zelsVADInit_Aurora_{name}", state)
        vad, res = zelsr.VAD(np.dtype(dt).name), np.empty(1, np.int32)
        for t in range(40):
            loud = 20 <= t < 30
            mel = (pos(25) * (50 if loud else 1)).astype(dt)
            frame = (f32(64) * (3000 if loud else 30)).astype(dt)
            c(f"zelsVADDecision_Aurora_{name}", mel, frame, 0, res, state)
            assert vad.decide(mel, frame) == res[0], t
        ref = []
        while True:
            c(f"zelsVADFlush_Aurora_{name}", res, state)
            if res[0] == 4:
                break
            ref.append(int(res[0]))
        assert vad.flush() == ref and len(ref) == 6
        x = (f32(200) * 1000).astype(dt)
        out = np.empty(200, dt)
        c(f"zelsWaveProcessing_Aurora_{name}", x, out)
        same(zelsr.wave_processing(x), out)
        ref_cep, cep, bias = ((f32(13) * 64).astype(dt) for _ in range(3))
        cep2, bias2 = cep.copy(), bias.copy()
        energy = F(5.5) if dt == np.float32 else 300
        c(f"zelsBlindEqualization_Aurora_{name}", ref_cep, cep2, bias2, 13, energy)
        got = zelsr.blind_equalization(ref_cep, cep, bias, 5.5 if dt == np.float32 else 300)
        same(got[0], cep2), same(got[1], bias2)


def check_bad_input():
    for kind, fn, args in [
            (ValueError, zelsr.smoothed_power_spectrum, (f32(10),)),
            (ValueError, zelsr.smoothed_power_spectrum, (rng.integers(0, 9, 8, dtype=np.int32),)),
            (TypeError, zelsr.smoothed_power_spectrum, (f32(8).astype(np.float64),)),
            (TypeError, zelsr.noise_spectrum_update, (pos(65), i16(65))),
            (ValueError, zelsr.wiener_filter_design, (pos(65), pos(65), pos(64))),
            (ValueError, zelsr.aurora_taps, (f32(9),)),
            (ValueError, zelsr.residual_filter, (f32(96), f32(16))),
            (ValueError, zelsr.AuroraMelBank, ("middle",)),
            (ValueError, zelsr.AuroraMelBank("low"), (pos(64),)),
            (TypeError, zelsr.AuroraMelBank("high", "int16"), (pos(65),)),
            (ValueError, zelsr.VAD("float32").decide, (pos(24), f32(64))),
            (TypeError, zelsr.VAD("int16").decide, (pos(25), f32(64))),
            (ValueError, zelsr.wave_processing, (f32(400)[::2],)),
            (ValueError, zelsr.blind_equalization, (i16(13), i16(13), i16(13), 2.5))]:
        raises(kind, fn, *args)


def main():
    check_noise_reduction()
    check_mel_banks()
    check_vad_wave_and_equalization()
    check_bad_input()
    print("distributed front end bindings: every form equals its C member; bad input raises")


if __name__ == "__main__":
    sys.exit(main())
