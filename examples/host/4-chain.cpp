// A chain written as text, as a user would type it, run over a stream that
// arrives in uneven blocks. The chain layer builds the filters, cuts their
// delay from the start and flushes their tail, so one second in gives one
// second out, at the rate the chain ends at.
#include <quorvex/chain.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace qc = quorvex::chain;

int main() {
    std::printf("filters:");
    for (const qc::FilterInfo& filter : qc::filters()) std::printf(" %s", filter.name.c_str());
    std::printf("\n");

    try {
        qc::parse("eq:63=+30");
    } catch (const qc::SyntaxError& e) {
        std::printf("refused: %s\n", e.what());
    }

    try {
        qc::Chain chain("eq:63=+3,1k=-2 velmo:source=mp3 alc", qc::StreamFormat{44100, 16});
        long long framesOut = 0;
        double peak = 0.0;
        qc::DoubleRunner runner(chain, /*clip=*/true, [&](const double* stereo, long long frames) {
            for (long long i = 0; i < 2 * frames; ++i) peak = std::fmax(peak, std::fabs(stereo[i]));
            framesOut += frames;
        });

        const int rate = chain.input().rate;
        std::vector<double> block;
        for (int done = 0, size = 441; done < rate; done += size, size = size == 441 ? 1000 : 441) {
            size = std::min(size, rate - done);
            block.resize(2 * static_cast<size_t>(size));
            for (int f = 0; f < size; ++f)
                block[2 * f] = block[2 * f + 1] =
                    0.5 * std::sin(2.0 * M_PI * 1000.0 * (done + f) / rate);
            runner.write(block.data(), size);
        }
        runner.finish();

        std::printf("%s: %lld frames at %d Hz in, %lld frames at %d Hz, %d-bit out, peak %.3f\n",
                    chain.name().c_str(), runner.framesIn(), rate, framesOut, chain.output().rate,
                    chain.output().bits, peak);
        return framesOut == 2 * runner.framesIn() ? 0 : 1;
    } catch (const std::exception& e) {  // SyntaxError or StreamError
        std::fprintf(stderr, "4-chain: %s\n", e.what());
        return 1;
    }
}
