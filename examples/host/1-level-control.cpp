// A minimal host: create a level control, set its parameter block, read it
// back and limit a block of doubles that goes over full scale.
#include <quorvex/quorvex.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

int main() {
    const unsigned long kALC = 0x70414C43;  // pALC
    ALCFilter alc;

    unsigned char block[20];
    if (alc.getParamData(kALC, block, sizeof block) != 20) return 1;
    const int32_t perSample = 1;
    std::memcpy(block + 8, &perSample, sizeof perSample);
    if (alc.setParamData(kALC, block, sizeof block) != 20) return 1;

    unsigned char readBack[20];
    if (alc.getParamData(kALC, readBack, sizeof readBack) != 20) return 1;
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
