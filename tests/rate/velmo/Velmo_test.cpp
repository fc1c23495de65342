#include <quorvex/UpSamplingFilter.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "rate/velmo/VelmoModel.h"
#include "rate/velmo/VelmoTables.h"
#include "support/ParamBlock.h"
#include "support/RunBlock.h"
#include "support/Signals.h"

namespace velmo_block = quorvex::velmo_block;
using testutil::Bytes;
using testutil::uniformNoise;
using testutil::withField;
using namespace velmo_model;

namespace {

constexpr unsigned long kId = velmo_block::kId;
constexpr int kSize = velmo_block::kSize;

Bytes stored(UpSamplingFilter& f) { return testutil::storedBlock(f, kId, kSize); }

// One block refused by an output one double too small, then run into exactly
// its size and compared frame by frame with the model's kernel behind
// `section` (none: the input as it is).
void expectModel(UpSamplingFilter& f, Enhancer& model, Kernel kernel, Biquad* section,
                 std::vector<double> x, int rate, int bits) {
    std::vector<double> y(2 * x.size() + 1, -7.0);
    RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), rate,
                       bits);
    RealAudioBuffer out(y.data(), 0, 0, 0, 0);
    ASSERT_NO_FATAL_FAILURE(
        testutil::expectRefusedUntilExact(f, in, out, static_cast<int>(2 * x.size())));
    EXPECT_EQ(out.sampleRate, 2 * rate);
    EXPECT_EQ(out.bitsPerSample, 24);
    for (std::size_t i = 0; i + 1 < x.size(); i += 2) {
        Frame v{x[i], x[i + 1]};
        if (section != nullptr) v = section->step(v);
        const auto w = model.run(kernel, v);
        ASSERT_EQ(std::vector<double>(y.begin() + 2 * i, y.begin() + 2 * i + 4),
                  (std::vector<double>{w[0].l, w[0].r, w[1].l, w[1].r}))
            << rate << " " << bits << " " << i;
    }
    EXPECT_EQ(y[4 * (x.size() / 2)], -7.0);  // nothing for a trailing odd double
}

}  // namespace

// One filter through every format and setting against the section and kernel
// each calls for, the model reset only where the block changes: the kernels
// interleave over shared lines, formats without a section and a disabled filter
// interpolate plainly, and sections of equal coefficients keep their own state.
TEST(UpSamplingFilterProcess, EveryPathMatchesTheModelBitForBit) {
    Biquad f44_16{sVelmoFine44K}, f44_24{sVelmoFine44K}, s44_16{sVelmoSuper44K},
        s44_24{sVelmoSuper44K}, f48_16{sVelmoFine48K16}, f48_24{sVelmoFine48K24},
        s48_16{sVelmoSuper48K16}, s48_24{sVelmoSuper48K24};
    const struct {
        int bits, rate;
        unsigned char on, mp3;
        uint32_t mode;
        bool use32;
        Biquad* section;
        Kernel kernel;
    } cases[] = {
        {16, 44100, 1, 0, 1, true, &s44_16, kCD},   {16, 48000, 1, 0, 1, false, &s48_16, kCD},
        {16, 48000, 1, 0, 1, true, &s48_16, kCD32}, {24, 48000, 1, 0, 1, true, &s48_24, kCD},
        {16, 32000, 1, 0, 1, true, nullptr, kOff},  {24, 44100, 1, 0, 2, false, &f44_24, kCD},
        {16, 44100, 1, 9, 2, false, &f44_16, kMP3}, {24, 44100, 1, 1, 2, false, &f44_24, kMP3},
        {24, 44100, 1, 1, 1, false, &s44_24, kMP3}, {16, 48000, 1, 1, 1, true, &s48_16, kMP332},
        {16, 48000, 1, 1, 1, false, &s48_16, kMP3}, {24, 48000, 1, 1, 2, false, &f48_24, kMP3},
        {16, 48000, 1, 0, 2, true, &f48_16, kCD32}, {24, 48000, 1, 0, 1, true, &s48_24, kCD},
        {32, 44100, 1, 0, 1, false, nullptr, kOff}, {16, 44100, 0, 0, 1, false, nullptr, kOff}};
    UpSamplingFilter f;
    Enhancer model;
    for (const auto& c : cases) {
        f.setUseUpSampler32(c.use32);
        Bytes block = withField(stored(f), velmo_block::kMode, c.mode);
        block[velmo_block::kEnabled] = c.on;
        block[velmo_block::kMp3Source] = c.mp3;
        if (block != stored(f)) model.init();
        ASSERT_EQ(f.setParamData(kId, block.data(), kSize), kSize);
        for (unsigned n : {75, 100})
            expectModel(f, model, c.kernel, c.section, uniformNoise(n, n), c.rate, c.bits);
    }
}

TEST(UpSamplingFilterParams, DefaultBlockAndBoundaries) {
    UpSamplingFilter f;
    EXPECT_STREQ(f.getName(), "Velmo");
    const Bytes defaults = stored(f);
    Bytes expected(kSize, 0);
    expected = withField(expected, quorvex::kMagicOffset, velmo_block::kMagic);
    expected = withField(expected, velmo_block::kBlockSize, uint32_t{kSize});
    expected = withField(expected, velmo_block::kMode, velmo_block::kModeSuper);
    expected = withField(expected, velmo_block::kEndMagicOffset, velmo_block::kEndMagic);
    EXPECT_EQ(defaults, expected);
    const struct {
        int offset;
        uint32_t value;
        int result;
    } cases[] = {{velmo_block::kBlockSize, kSize + 4, -1},
                 {velmo_block::kEndMagicOffset, velmo_block::kMagic, -1},
                 {velmo_block::kMode, 0, -1},
                 {velmo_block::kMode, 3, -1},
                 {velmo_block::kMode, velmo_block::kModeFine, kSize},
                 {velmo_block::kMode, velmo_block::kModeSuper, kSize},
                 {velmo_block::kBlockSize, kSize, kSize}};
    for (const auto& c : cases) {
        const Bytes before = stored(f), block = withField(defaults, c.offset, c.value);
        EXPECT_EQ(f.setParamData(kId, block.data(), kSize), c.result) << c.offset << " " << c.value;
        EXPECT_EQ(stored(f), c.result < 0 ? before : block) << c.offset << " " << c.value;
    }
    testutil::expectBlockChecks(f, kId, kId + 1,
                                withField(defaults, velmo_block::kMode, uint32_t{2}));
}

// Enabled at 32 kHz the filter interpolates plainly, on a line that a reset
// clears. A block that differs in its reserved bytes alone is neither stored
// nor a reset; a change in any of the other three fields stores every byte.
TEST(UpSamplingFilterParams, OnlyARealChangeResets) {
    const struct {
        int offset;
        unsigned char value;
        bool resets;
    } steps[] = {{velmo_block::kEnabled, 1, true},
                 {velmo_block::kReserved, 0xFF, false},
                 {velmo_block::kEnabled, 2, true} /* still on, yet a change */,
                 {velmo_block::kEnabled, 2, false},
                 {velmo_block::kMp3Source, 1, true},
                 {velmo_block::kMode, 2, true},
                 {velmo_block::kReserved + 1, 0xFF, false}};
    UpSamplingFilter f;
    Enhancer model;
    Bytes block = stored(f), kept = block;
    unsigned seed = 0;
    for (const auto& s : steps) {
        block[s.offset] = s.value;
        EXPECT_EQ(f.setParamData(kId, block.data(), kSize), kSize);
        if (s.resets) kept = block, model.init();
        EXPECT_EQ(stored(f), kept) << s.offset;
        expectModel(f, model, kOff, nullptr, uniformNoise(64, ++seed), 32000, 16);
    }
    f.reset();
    model.init();
    expectModel(f, model, kOff, nullptr, uniformNoise(64, ++seed), 32000, 16);
}
