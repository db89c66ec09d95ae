// SPDX-License-Identifier: Apache-2.0
// The streaming feature extractor under fuzzed configurations and audio: a
// configuration changed field by field from the defaults, samples of any
// value in blocks of any size, reads of any count, flushes and resets in any
// order. Every call must return a status and stay inside its arrays; a
// refused configuration builds nothing.
#include <stdint.h>
#include <string.h>

#include <vector>

#include "fuzz_reader.hpp"
#include "zelsr.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    zfuzz::Reader r{data, size};
    ZelFeatureConfig c;
    zelsrFeatureDefaultConfig(&c);
    // A few fields take fuzzed values; the rest keep their defaults.
    c.sampleRate = r.u(1) < 200 ? float(4000 + 1000 * (r.u(1) % 45)) : r.anyFloat();
    c.frameLengthMs = r.u(1) < 200 ? float(5 + r.u(1) % 60) : r.anyFloat();
    c.frameShiftMs = r.u(1) < 200 ? float(1 + r.u(1) % 30) : r.anyFloat();
    c.preemphasis = r.u(1) < 200 ? float(r.u(1)) / 256.0f : r.anyFloat();
    c.window = int(r.u(1) % 4);
    c.fftSize = r.u(1) < 200 ? 0 : int(r.u(2));
    c.powerSpectrum = int(r.u(1) % 3);
    c.numFilters = int(r.u(1) % 64);
    c.output = int(r.u(1) % 3);
    c.numCeps = int(r.u(1) % 40);
    c.lifter = int(r.u(1) % 40);
    c.energy = int(r.u(1) % 4);
    c.deltaOrder = int(r.u(1) % 4);
    c.cmvn = int(r.u(1) % 4);
    c.normVariance = int(r.u(1) % 2);
    c.cmvnWindow = int(r.u(2)) - 4;
    int field = -1;
    zelsrFeatureCheckConfig(&c, &field);
    ZelFeatureState* s = nullptr;
    const ZelStatus built = zelsrFeatureInitAlloc(&s, &c);
    if (built < 0 || s == nullptr) return 0;
    int dim = 0;
    zelsrFeatureGetDim(s, &dim);
    std::vector<float> f;
    std::vector<Zel16s> i16;
    std::vector<float> out;
    for (int step = 0; step < 24 && r.n > 0; ++step) {
        const int len = int(r.u(2) % 2048);
        switch (r.u(1) % 6) {
            case 0: case 1:
                f.resize(size_t(len) + 1);
                for (int k = 0; k < len; ++k) f[size_t(k)] = r.mostlyScaled(1.0f);
                zelsrFeatureAccept_32f(s, f.data(), len);
                break;
            case 2:
                i16.resize(size_t(len) + 1);
                for (int k = 0; k < len; ++k) i16[size_t(k)] = Zel16s(r.u(2));
                zelsrFeatureAccept_16s(s, i16.data(), len);
                break;
            case 3: {
                const int frames = 1 + int(r.u(1) % 8);
                out.assign(size_t(frames) * size_t(dim > 0 ? dim : 1), 0.0f);
                int read = 0;
                zelsrFeatureRead(s, out.data(), dim, frames, &read);
                break;
            }
            case 4: zelsrFeatureFlush(s); break;
            default: zelsrFeatureReset(s); break;
        }
    }
    zelsrFeatureFree(s);
    return 0;
}
