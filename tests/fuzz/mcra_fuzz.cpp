// SPDX-License-Identifier: Apache-2.0
// MCRA noise tracking and the gain updates under arbitrary arguments and
// spectra, and under a caller that scribbles on its own state block: every
// call must return a status, stay inside the block and the arrays, and leave
// the state usable or refused.
#include <stdint.h>
#include <string.h>

#include <vector>

#include "zelsr.h"

namespace {

struct Reader {
    const uint8_t* p;
    size_t n;
    template <class T>
    T take() {
        T v{};
        const size_t k = n < sizeof(T) ? n : sizeof(T);
        memcpy(&v, p, k);
        p += k, n -= k;
        return v;
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader in{data, size};
    const uint8_t mode = in.take<uint8_t>();
    const bool fixed = mode & 1, alternative = mode & 2, scribble = mode & 4;
    // Mostly valid arguments, sometimes anything.
    int fftLen = in.take<uint16_t>() % 300 + 4;
    int sampFreq = (mode & 8) ? in.take<int32_t>() : 8000 + in.take<uint16_t>() % 40001;
    int hop = (mode & 16) ? in.take<int32_t>() : in.take<uint16_t>() % (fftLen / 2 + 2);
    if (mode & 32) fftLen = in.take<int32_t>();

    int size0 = 0;
    const ZelStatus sizeStatus = fixed ? zelsGetSizeMCRA_32s(fftLen, &size0) : zelsGetSizeMCRA_32f(fftLen, &size0);
    if (sizeStatus != zelStsNoErr) {
        // A builder refuses what the size query refuses.
        std::vector<uint8_t> probe(64, 0);
        auto* st = reinterpret_cast<ZelMCRAState*>(probe.data());
        if (!alternative && (fixed ? zelsInitMCRA_32s(sampFreq, fftLen, st) : zelsInitMCRA_32f(sampFreq, fftLen, st)) ==
                                zelStsNoErr)
            __builtin_trap();
        return 0;
    }
    std::vector<uint64_t> block((size_t(size0) + 7) / 8);
    auto* state = reinterpret_cast<ZelMCRAState*>(block.data());
    const ZelStatus init = alternative ? (fixed ? zelsAltInitMCRA_32s(sampFreq, fftLen, hop, state)
                                                : zelsAltInitMCRA_32f(sampFreq, fftLen, hop, state))
                                       : (fixed ? zelsInitMCRA_32s(sampFreq, fftLen, state)
                                                : zelsInitMCRA_32f(sampFreq, fftLen, state));
    const int bins = fftLen / 2 + 1;
    const size_t nb = static_cast<size_t>(bins);
    std::vector<float> x(nb), noise(nb), gain(nb), wiener(nb);
    std::vector<int32_t> xi(nb), noisei(nb), gaini(nb), wieneri(nb);

    for (int frame = 0; frame < 64 && in.n > 0; ++frame) {
        if (scribble && in.n > 2) {
            const uint8_t at = in.take<uint8_t>();
            const uint8_t v = in.take<uint8_t>();
            reinterpret_cast<uint8_t*>(block.data())[at % size_t(size0)] = v;
        }
        for (int k = 0; k < bins; ++k) {
            if (fixed)
                xi[k] = in.take<int32_t>();
            else
                x[k] = in.take<float>();
        }
        const ZelStatus s = fixed ? zelsUpdateNoisePSDMCRA_32s_I(xi.data(), state, noisei.data())
                                  : zelsUpdateNoisePSDMCRA_32f_I(x.data(), state, noise.data());
        if (init != zelStsNoErr && s == zelStsNoErr && !scribble) __builtin_trap();
        if (s != zelStsNoErr && s != zelStsContextMatchErr) __builtin_trap();

        // The gains on whatever the frame holds.
        if (fixed) {
            zelsFilterUpdateWiener_32s(xi.data(), wieneri.data(), bins);
            zelsFilterUpdateEMNS_32s(wieneri.data(), noisei.data(), gaini.data(), bins);
            zelsFilterUpdateEMNS_32s(xi.data(), noisei.data(), gaini.data(), bins);
        } else {
            zelsFilterUpdateWiener_32f(x.data(), wiener.data(), bins);
            zelsFilterUpdateEMNS_32f(wiener.data(), noise.data(), gain.data(), bins);
            zelsFilterUpdateEMNS_32f(x.data(), noise.data(), gain.data(), bins);
        }
    }
    return 0;
}
