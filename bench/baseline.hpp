// SPDX-License-Identifier: Apache-2.0
// The ratio to a baseline: a straightforward loop records its rate under a
// key, and the member measured after it reports its rate over that one
// ("x_plain"). Rates are calls per second of the thread's processor time, so
// that other work on the machine doesn't enter the ratios.
#pragma once

#include <benchmark/benchmark.h>
#include <time.h>

#include <map>
#include <string>

namespace zb {

inline double cpuSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// Keys are shared by every benchmark file of the program; each file uses its own.
inline std::map<std::string, double>& baselineRates() {
    static std::map<std::string, double> rates;
    return rates;
}

// Runs `f` over the benchmark's iterations; calls per second.
template <class F>
double callsPerSecond(benchmark::State& state, F f) {
    const double t0 = cpuSeconds();
    for (auto _ : state) {
        f();
        benchmark::ClobberMemory();
    }
    return double(state.iterations()) / (cpuSeconds() - t0);
}

// A baseline records `rate` under `key`; anything else reports "x_plain"
// against the rate recorded there, if that baseline has run.
inline void baselineRatio(benchmark::State& state, const std::string& key, bool baseline, double rate) {
    auto& rates = baselineRates();
    if (baseline)
        rates[key] = rate;
    else if (auto it = rates.find(key); it != rates.end() && it->second > 0)
        state.counters["x_plain"] = rate / it->second;
}

// Times `f`, sets the rate counter `name` (`items` per call) and the ratio.
template <class F>
void measure(benchmark::State& state, const std::string& key, bool baseline, const char* name, double items, F f) {
    const double calls = callsPerSecond(state, f);
    state.counters[name] = benchmark::Counter(double(state.iterations()) * items, benchmark::Counter::kIsRate);
    baselineRatio(state, key, baseline, calls);
}

}  // namespace zb
