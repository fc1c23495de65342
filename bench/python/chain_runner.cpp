// Times the chain layer's double runner over a stereo signal already in
// memory, as the Python package drives it: blocks of 4096 frames in, the
// output gathered. Prints the best of the runs in seconds.
//
//   quorvex_chain_runner_bench CHAIN RATE SECONDS RUNS
#include <quorvex/chain.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace qc = quorvex::chain;

namespace {

// The signal of the benchmarks: two incommensurate sines at -6 dBFS.
std::vector<double> stereoSignal(long long frames, int rate) {
    std::vector<double> v(static_cast<size_t>(frames) * 2);
    for (long long i = 0; i < frames; ++i) {
        v[2 * i] = 0.5 * std::sin(2.0 * M_PI * 997.0 * i / rate);
        v[2 * i + 1] = 0.5 * std::sin(2.0 * M_PI * 1499.0 * i / rate);
    }
    return v;
}

double runOnce(const char* text, int rate, const std::vector<double>& signal) {
    const auto start = std::chrono::steady_clock::now();
    qc::Chain chain(text, qc::StreamFormat{rate, 24});
    std::vector<double> out;
    out.reserve(signal.size() * chain.output().rate / rate + 2);
    qc::DoubleRunner runner(chain, false, [&out](const double* stereo, long long frames) {
        out.insert(out.end(), stereo, stereo + 2 * frames);
    });
    const long long frames = static_cast<long long>(signal.size() / 2);
    for (long long first = 0; first < frames; first += 4096)
        runner.write(signal.data() + 2 * first, std::min(4096LL, frames - first));
    runner.finish();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s CHAIN RATE SECONDS RUNS\n", argv[0]);
        return 2;
    }
    const int rate = std::atoi(argv[2]);
    const std::vector<double> signal = stereoSignal(std::atoll(argv[3]) * rate, rate);
    double best = 1e30;
    for (int run = 0; run < std::atoi(argv[4]); ++run)
        best = std::min(best, runOnce(argv[1], rate, signal));
    std::printf("%.6f\n", best);
    return 0;
}
