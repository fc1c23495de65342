#include <quorvex/ALCFilter.h>
#include <quorvex/CompositionFilter.h>
#include <quorvex/DataTypeConversionFilter.h>
#include <quorvex/SimpleUpSamplingFilter.h>

#include <cstdint>
#include <vector>

#include "bench_util.h"
#include "pcm/PcmSamples.h"

namespace {

std::vector<unsigned char> pcmSignal(int bits) {
    const std::vector<double> x = bench::stereoSignal(bench::kBlockFrames, 44100);
    const int width = bits / 8;
    std::vector<unsigned char> bytes(x.size() * static_cast<size_t>(width));
    for (size_t i = 0; i < x.size(); ++i) {
        const auto v = static_cast<int64_t>(x[i] * 32767.0);
        unsigned char* p = bytes.data() + i * static_cast<size_t>(width);
        if (bits == 16) pcm::write16(p, v);
        if (bits == 24) pcm::write24(p, v * 256);
        if (bits == 32) pcm::write32(p, v * 65536);
    }
    return bytes;
}

// Integer PCM in and out around a chain of two level controls, at 16, 24 or
// 32 bits.
void BM_DataTypeConversionChain(benchmark::State& state) {
    const int bits = static_cast<int>(state.range(0));
    ALCFilter first, second;
    CompositionFilter chain(&first, &second);
    DataTypeConversionFilter dtc(&chain);
    const std::vector<unsigned char> in = pcmSignal(bits);
    std::vector<unsigned char> out(in.size());
    const int bytes = static_cast<int>(in.size());
    const auto block = [&] {
        const int written =
            dtc.process(44100, bits, in.data(), bytes, 44100, bits, out.data(), bytes);
        benchmark::DoNotOptimize(out.data());
        return written == bytes;
    };
    bench::runBlocks(state, block, bench::kBlockFrames, 44100);
}
BENCHMARK(BM_DataTypeConversionChain)->Arg(16)->Arg(24)->Arg(32)->ArgName("bits");

// Sample-and-hold from 44.1 kHz 16-bit to 88.2 kHz 24-bit.
void BM_SimpleUpSampling(benchmark::State& state) {
    SimpleUpSamplingFilter up;
    const std::vector<unsigned char> in = pcmSignal(16);
    std::vector<unsigned char> out(in.size() * 3);
    const int inBytes = static_cast<int>(in.size());
    const int outBytes = static_cast<int>(out.size());
    const auto block = [&] {
        const int written =
            up.process(44100, 16, in.data(), inBytes, 88200, 24, out.data(), outBytes);
        benchmark::DoNotOptimize(out.data());
        return written == outBytes;
    };
    bench::runBlocks(state, block, bench::kBlockFrames, 44100);
}
BENCHMARK(BM_SimpleUpSampling);

}  // namespace
