// A minimal host: create a level control, set its parameter block, read it
// back and limit a block of doubles that goes over full scale.
#include <quorvex/quorvex.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

int main() {
    namespace alc_block = quorvex::alc_block;
    ALCFilter alc;

    unsigned char block[alc_block::kSize];
    if (alc.getParamData(alc_block::kId, block, sizeof block) != alc_block::kSize) return 1;
    const int32_t perSample = alc_block::kModeSample;
    std::memcpy(block + alc_block::kMode, &perSample, sizeof perSample);
    if (alc.setParamData(alc_block::kId, block, sizeof block) != alc_block::kSize) return 1;

    unsigned char readBack[alc_block::kSize];
    if (alc.getParamData(alc_block::kId, readBack, sizeof readBack) != alc_block::kSize) return 1;
    if (std::memcmp(block, readBack, sizeof block) != 0) return 1;

    double samples[8] = {0.5, -0.25, 2.0, 0.5, 0.5, -4.0, 0.25, 0.25};
    RealAudioBuffer in(samples, 8, 8, 44100, 16);
    RealAudioBuffer out(8, 44100, 16);
    if (alc.process(&in, &out) != 0) return 1;

    std::printf("%s:", alc.getName());
    for (int i = 0; i < out.length; ++i) {
        if (out.data[i] > 1.0 || out.data[i] < -1.0) return 1;
        std::printf(" %g", out.data[i]);
    }
    std::printf("\n");
    return 0;
}
