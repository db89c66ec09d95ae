// SPDX-License-Identifier: Apache-2.0
// Wave processing against a reference that sums the nine energies of each
// sample directly in double precision, the peak layout seen through the
// weights, the integer form's weights, and blind equalization against its
// formula in double.
#include <math.h>

#include <algorithm>
#include <vector>

#include "common.hpp"

namespace {

using std::vector;

// The weights of a frame as the reference finds them: 0.8 background, 1.2 on
// the stretch after each peak, 1.0 at the edges of each stretch; in Q5 27,
// 38 and 32, with stretches of 27/32 of the distance.
vector<double> referenceWeights(const vector<double>& x, bool q5 = false) {
    const int N = 200;
    vector<double> E(N), S(N);
    for (int i = 0; i < N; ++i) {
        if (i == 0) E[i] = fabs((x[0] - x[1]) * x[0]);
        else if (i == N - 1) E[i] = fabs((x[N - 1] - x[N - 2]) * x[N - 1]);
        else E[i] = fabs(x[i] * x[i] - x[i - 1] * x[i + 1]);
    }
    for (int i = 0; i < N; ++i)
        for (int j = i - 4; j <= i + 4; ++j) S[i] += E[std::clamp(j, 0, N - 1)];
    auto argmax = [&](int from, int to) { return int(std::max_element(S.begin() + from, S.begin() + to) - S.begin()); };
    const int p0 = argmax(0, N);
    vector<int> P{p0};
    for (int p = p0; p < 175;) P.push_back(p = argmax(p + 25, p < 121 ? p + 80 : 200));
    for (int p = p0; p > 25;) P.insert(P.begin(), p = argmax(p - std::min(p, 79), p - 24));
    vector<double> W(N, q5 ? 27 : 0.8);
    const int m = int(P.size()) - 1;
    for (int i = 0; i <= m; ++i) {
        const int d = i < m ? P[i + 1] - P[i] : P[m] - P[m - 1];
        const int share = q5 ? int(floor(27.0 * d / 32)) : int(0.8 * d + 1e-9);
        const int a = std::max(P[i] - 4, 0), b = std::min(P[i] + share - 4, N);
        for (int k = a; k < b; ++k) W[k] = q5 ? 38 : 1.2;
        if (a > 0 && a < 198) W[a - 1] = W[a] = q5 ? 32 : 1.0;
        if (b < N) W[b - 1] = W[b] = q5 ? 32 : 1.0;
    }
    return W;
}

// A pulse train with period `period` over a little noise, as a voiced frame looks.
vector<double> pulses(int period, int phase, double level) {
    vector<double> x(200);
    for (int i = 0; i < 200; ++i) {
        x[i] = 50.0 * sin(0.3 * i) + zt::uniform(-5.0f, 5.0f) + 100.0;
        if ((i - phase) % period == 0 && i >= phase) x[i] += level;
    }
    return x;
}

TEST(AuroraWave, WeightsFollowThePeaksOfTheSmoothedEnergy) {
    for (int period : {30, 57, 80, 110}) {
        for (int phase : {0, 3, 21}) {
            const vector<double> xd = pulses(period, phase, 3000.0);
            vector<float> x(xd.begin(), xd.end()), y(200);
            ASSERT_EQ(zelsWaveProcessing_Aurora_32f(x.data(), y.data()), zelStsNoErr);
            const vector<double> W = referenceWeights(vector<double>(x.begin(), x.end()));
            for (int i = 0; i < 200; ++i) EXPECT_NEAR(y[i], W[i] * x[i], 1e-6 * fabs(x[i])) << period << " " << i;

            // The integer form: its own weights and stretches, products rounded to nearest.
            vector<Zel16s> x16(200), y16(200);
            vector<double> xr(200);
            for (int i = 0; i < 200; ++i) xr[i] = x16[i] = Zel16s(lrint(x[i]));
            ASSERT_EQ(zelsWaveProcessing_Aurora_16s(x16.data(), y16.data()), zelStsNoErr);
            const vector<double> Q = referenceWeights(xr, true);
            for (int i = 0; i < 200; ++i) EXPECT_EQ(y16[i], nearbyint(Q[i] * x16[i] / 32)) << period << " " << i;
        }
    }
    // Silence: every energy equal, peaks 25 apart from sample 0, no left peaks.
    vector<float> zeros(200, 0.0f), out(200, 1.0f);
    ASSERT_EQ(zelsWaveProcessing_Aurora_32f(zeros.data(), out.data()), zelStsNoErr);
    for (float v : out) EXPECT_EQ(v, 0.0f);
}

TEST(AuroraEqualize, BiasMovesWithTheEnergyStep) {
    const int len = 13;
    for (float energy : {0.0f, 3.296875f, 3.8f, 4.296875f, 9.0f, NAN}) {
        vector<float> ref(len), cep(len), bias(len);
        zt::fillUniform(ref.data(), len, -2.0, 2.0);
        zt::fillUniform(cep.data(), len, -5.0, 5.0);
        zt::fillUniform(bias.data(), len, -1.0, 1.0);
        const vector<float> c0 = cep, b0 = bias;
        ASSERT_EQ(zelsBlindEqualization_Aurora_32f(ref.data(), cep.data(), bias.data(), len, energy), zelStsNoErr);
        const double g = std::isnan(energy) ? 0 : std::clamp(double(energy) - 3.296875, 0.0, 1.0) * 0.0087890625;
        for (int i = 0; i < len; ++i) {
            const double y = double(c0[i]) - b0[i];
            EXPECT_NEAR(cep[i], y, 1e-6);
            EXPECT_NEAR(bias[i], b0[i] + g * (y - ref[i]), 1e-6);
            if (g == 0) {
                EXPECT_EQ(bias[i], b0[i]);
            }
        }
    }
    // 16 bits: energy with 6 fractional bits, a full step from 275 on, saturation.
    for (int energy : {0, 211, 243, 275, 1000}) {
        Zel16s ref[3] = {100, -32768, 0}, cep[3] = {5000, 32767, -32768}, bias[3] = {-1000, -32768, 32767};
        ASSERT_EQ(zelsBlindEqualization_Aurora_16s(ref, cep, bias, 3, energy), zelStsNoErr);
        const int64_t g = 9 * std::clamp(energy - 211, 0, 64);
        EXPECT_EQ(cep[0], 6000);
        EXPECT_EQ(bias[0], -1000 + ((g * (6000 - 100)) >> 16));
        EXPECT_EQ(cep[1], 32767);  // 65535 saturated, the bias moved by the unsaturated value
        EXPECT_EQ(bias[1], std::max<int64_t>(-32768, -32768 + ((g * (65535 + 32768)) >> 16)));
        EXPECT_EQ(cep[2], -32768);
        EXPECT_EQ(bias[2], 32767 + ((g * -65535) >> 16));
    }
    float a[2] = {1, 2}, b[2] = {3, 4}, c[2] = {5, 6};
    zt::expectStatuses({
        {zelsBlindEqualization_Aurora_32f(a, nullptr, c, 0, 1.0f), zelStsNullPtrErr},
        {zelsBlindEqualization_Aurora_32f(a, b, c, 0, 1.0f), zelStsSizeErr},
        {zelsWaveProcessing_Aurora_32f(a, nullptr), zelStsNullPtrErr},
    });
    EXPECT_EQ(b[0], 3.0f);
    EXPECT_EQ(c[1], 6.0f);
}

}  // namespace
