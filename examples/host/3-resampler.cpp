// 44.1 kHz to 48 kHz in blocks of any size: the resampler carries the
// fraction of a frame from block to block, so a stream's output length is
// exactly its input length times 48000 / 44100.
#include <quorvex/quorvex.h>

#include <cstdio>
#include <vector>

int main() {
    ReSamplingFilter resampler(44100, 16, 48000, 16);

    std::vector<double> inData(2 * 441, 0.25);
    std::vector<double> outData(2 * 2048);
    RealAudioBuffer out(outData.data(), static_cast<int>(outData.size()), 0, 48000, 16);

    long inFrames = 0;
    long outFrames = 0;
    for (int block = 0; block < 100; ++block) {
        const int frames = 100 + (block * 37) % 341;  // uneven block sizes
        RealAudioBuffer in(inData.data(), 2 * frames, 2 * frames, 44100, 16);
        if (resampler.process(&in, &out) != 0) return 1;
        inFrames += frames;
        outFrames += out.length / 2;
    }
    std::printf("%s: %ld frames at 44.1 kHz became %ld frames at %d Hz\n", resampler.getName(),
                inFrames, outFrames, out.sampleRate);
    return outFrames == inFrames * 48000 / 44100 ? 0 : 1;
}
