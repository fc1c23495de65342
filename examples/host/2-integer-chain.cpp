// 16-bit CD audio in, 24-bit 88.2 kHz out: an equalizer and the enhancer in
// one chain, driven with integer PCM through the integer adapter.
#include <quorvex/quorvex.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

namespace equalizer_block = quorvex::equalizer_block;
namespace velmo_block = quorvex::velmo_block;

// Band gains run from -1.0 (-12 dB) to +1.0 (+12 dB); band 0 is 63 Hz.
bool boostBass(RealAudioFilter& chain) {
    unsigned char block[equalizer_block::kSize];
    if (chain.getParamData(equalizer_block::kId, block, sizeof block) != equalizer_block::kSize)
        return false;
    const double plus3dB = 3.0 / equalizer_block::kDecibelsPerGain;
    std::memcpy(block + equalizer_block::gainOffset(0), &plus3dB, sizeof plus3dB);
    return chain.setParamData(equalizer_block::kId, block, sizeof block) == equalizer_block::kSize;
}

// Enhance with the settings for compressed sources.
bool enhanceCompressed(RealAudioFilter& chain) {
    unsigned char block[velmo_block::kSize];
    if (chain.getParamData(velmo_block::kId, block, sizeof block) != velmo_block::kSize)
        return false;
    block[velmo_block::kEnabled] = 1;
    block[velmo_block::kMp3Source] = 1;  // compressed source
    return chain.setParamData(velmo_block::kId, block, sizeof block) == velmo_block::kSize;
}

}  // namespace

int main() {
    EqualizerFilter equalizer;
    UpSamplingFilter enhancer;
    CompositionFilter chain(&equalizer, &enhancer);
    DataTypeConversionFilter pcm(&chain);
    if (!boostBass(chain) || !enhanceCompressed(chain)) return 1;

    const int frames = 1024;
    std::vector<int16_t> in(2 * frames);
    for (int i = 0; i < frames; ++i) {
        const double s = 0.5 * std::sin(2.0 * M_PI * 1000.0 * i / 44100.0);
        in[2 * i] = in[2 * i + 1] = static_cast<int16_t>(s * 32767.0);
    }
    std::vector<unsigned char> out(2 * frames * 2 * 3);  // twice the frames, 3 bytes a sample

    int total = 0;
    for (int block = 0; block < 4; ++block) {
        const int bytes = pcm.process(44100, 16, in.data(), static_cast<int>(in.size() * 2), 88200,
                                      24, out.data(), static_cast<int>(out.size()));
        if (bytes != static_cast<int>(out.size())) return 1;
        total += bytes;
    }
    std::printf("%s: %d bytes of 24-bit 88.2 kHz PCM from 4 blocks of %d frames\n", chain.getName(),
                total, frames);

    // The host deletes the adapter and the chain before the filters they wrap;
    // here that is the reverse order of declaration.
    return 0;
}
