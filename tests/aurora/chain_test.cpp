// SPDX-License-Identifier: Apache-2.0
// The noise-reduction chain as a caller assembles it: two Wiener stages
// raise the segmental SNR of tones in white noise. (The members keep no
// state between frames; what a stream carries is the caller's.)
#include <math.h>

#include <random>
#include <vector>

#include "chain.hpp"
#include "common.hpp"

namespace {

using std::vector;
namespace za = zt::aurora;

struct Noisy {
    vector<float> clean, noisy;
    vector<bool> speech;  // frames of 80 samples inside a burst
};

// Segmental SNR over the frames of speech, each clamped to -10 .. 35 dB. The
// clean signal is first scaled to the output by least squares, so that what
// counts is noise and distortion, not the overall level.
double segmentalSnr(const Noisy& s, const vector<float>& x, int delay) {
    double cx = 0, cc = 0;
    for (size_t n = 0; n + delay < x.size(); ++n) cx += double(s.clean[n]) * x[n + delay], cc += double(s.clean[n]) * s.clean[n];
    const double scale = cx / cc;
    double total = 0;
    int frames = 0;
    for (size_t f = 4; (f + 1) * za::kShift + delay <= x.size(); ++f) {
        if (!s.speech[f]) continue;
        double sig = 0, err = 0;
        for (int i = 0; i < za::kShift; ++i) {
            const size_t n = f * za::kShift + i;
            const double c = scale * s.clean[n];
            sig += c * c;
            err += (x[n + delay] - c) * (x[n + delay] - c);
        }
        total += std::clamp(10 * log10(sig / std::max(err, 1e-9)), -10.0, 35.0);
        ++frames;
    }
    return total / frames;
}

// Bursts of a gliding harmonic tone, with white noise at 5 dB SNR overall.
Noisy tones(int frames) {
    Noisy s{vector<float>(frames * za::kShift), vector<float>(frames * za::kShift), vector<bool>(frames)};
    std::mt19937 g(3);
    std::normal_distribution<float> unit(0.0f, 1.0f);
    double phase = 0, power = 0;
    for (int f = 0; f < frames; ++f) s.speech[f] = f >= 60 && (f - 60) % 100 < 40;
    for (size_t n = 0; n < s.clean.size(); ++n) {
        phase += 2 * M_PI * (180.0 + 40.0 * sin(n / 4000.0)) / 8000.0;
        if (s.speech[n / za::kShift])
            s.clean[n] = float(1000.0 * (sin(phase) + 0.5 * sin(2 * phase) + 0.3 * sin(3 * phase)));
        power += double(s.clean[n]) * s.clean[n];
    }
    const float sigma = float(sqrt(power / s.clean.size() / pow(10.0, 0.5)));
    for (size_t n = 0; n < s.clean.size(); ++n) s.noisy[n] = s.clean[n] + sigma * unit(g);
    return s;
}

// Both stages follow the noise in the frames that the signal marks free of speech.
vector<float> twoStages(const Noisy& s, za::Stage& a, za::Stage& b, size_t from, size_t to) {
    vector<float> out;
    float mid[za::kShift], y[za::kShift];
    for (size_t f = from; f < to; ++f) {
        a.run(&s.noisy[f * za::kShift], mid, !s.speech[f]);
        b.run(mid, y, !s.speech[f]);
        out.insert(out.end(), y, y + za::kShift);
    }
    return out;
}

TEST(AuroraChain, TwoStagesRaiseSegmentalSnr) {
    const int frames = 600;
    const Noisy s = tones(frames);
    za::Stage a, b;
    const vector<float> out = twoStages(s, a, b, 0, frames);
    // Each stage delays by half its 17 taps.
    const double before = segmentalSnr(s, s.noisy, 0), after = segmentalSnr(s, out, 16);
    EXPECT_GT(after, before + 3.0) << "before " << before << " dB, after " << after << " dB";
}

}  // namespace
