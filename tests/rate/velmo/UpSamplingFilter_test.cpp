#include <quorvex/UpSamplingFilter.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "rate/velmo/VelmoModel.h"
#include "rate/velmo/VelmoTables.h"
#include "support/ParamBlock.h"

using testing_filters::Bytes;
using testing_filters::storedBlock;

// Every case runs in a fresh process (CTest), where all history is zero.

namespace {

constexpr unsigned long kId = 0x70564C43;

Bytes put(Bytes b, int offset, uint32_t v) {
    std::memcpy(&b[static_cast<size_t>(offset)], &v, 4);
    return b;
}
Bytes flags(Bytes b, unsigned char enabled, unsigned char mp3 = 0) {
    b[8] = enabled;
    b[9] = mp3;
    return b;
}
Bytes reserved(Bytes b, unsigned char v) {
    b[10] = b[11] = v;
    return b;
}
Bytes stored(UpSamplingFilter& f) { return storedBlock(f, kId, 20); }

// Runs one block into an area one double larger than needed, marked so that
// unwritten and overrun doubles show.
std::vector<double> run(UpSamplingFilter& f, std::vector<double> x, int rate, int bits) {
    std::vector<double> y(2 * x.size() + 1, -7.0);
    RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), rate,
                       bits);
    RealAudioBuffer out(y.data(), static_cast<int>(y.size()), 0, 0, 0);
    EXPECT_EQ(f.process(&in, &out), 0);
    EXPECT_EQ(out.length, static_cast<int>(2 * x.size()));
    EXPECT_EQ(out.sampleRate, 2 * rate);
    EXPECT_EQ(out.bitsPerSample, 24);
    return y;
}

// The plain interpolation of `x` from a cleared line: the first 2 * x.size()
// doubles of the output.
std::vector<double> interpolated(const std::vector<double>& x) {
    velmo_model::Enhancer model;
    std::vector<double> y;
    for (std::size_t i = 0; i + 1 < x.size(); i += 2)
        for (const velmo_model::Frame& f : model.run(velmo_model::kOff, {x[i], x[i + 1]}))
            y.insert(y.end(), {f.l, f.r});
    return y;
}

bool startsWith(const std::vector<double>& y, const std::vector<double>& head) {
    return std::equal(head.begin(), head.end(), y.begin());
}

}  // namespace

TEST(UpSamplingFilterParams, DefaultBlockAndRejectedBlocks) {
    UpSamplingFilter f;
    const Bytes defaults = stored(f);
    EXPECT_EQ(defaults, (Bytes{0x43, 0x4C, 0x56, 0x6D, 20, 0, 0, 0, 0, 0, 0, 0, 1, 0,
                                             0, 0, 0x6D, 0x56, 0x4C, 0x43}));
    EXPECT_STREQ(f.getName(), "Velmo");
    EXPECT_FALSE(f.useUpSampler32());

    const Bytes good = put(flags(defaults, 1, 1), 12, 2);
    for (const Bytes& bad :
         {put(good, 4, 24), put(good, 16, 0x6D564C43), put(good, 12, 0), put(good, 12, 3)})
        EXPECT_EQ(f.setParamData(kId, bad.data(), 20), -1);
    EXPECT_EQ(stored(f), defaults);
    testing_filters::expectBlockChecks(f, kId, kId + 1, good);
    EXPECT_EQ(stored(f), good);
}

// Enabled at 32 kHz still interpolates plainly, on a line that a reset
// clears: the second block shows whether the parameter call reset. A block
// that differs in its reserved bytes alone is neither stored nor a reset; a
// real change stores every byte.
TEST(UpSamplingFilterParams, OnlyARealChangeResets) {
    UpSamplingFilter f;
    const std::vector<double> first = velmo_model::noise(64, 1), second = velmo_model::noise(64, 2);
    std::vector<double> both(first);
    both.insert(both.end(), second.begin(), second.end());
    const std::vector<double> whole = interpolated(both);
    const std::vector<double> continued(whole.begin() + 128, whole.end());
    const std::vector<double> restarted = interpolated(second);

    const Bytes on1 = flags(stored(f), 1), on2 = flags(reserved(on1, 0xFF), 2);
    EXPECT_EQ(f.setParamData(kId, on1.data(), 20), 20);
    run(f, first, 32000, 16);
    EXPECT_EQ(f.setParamData(kId, reserved(on1, 0xFF).data(), 20), 20);
    EXPECT_EQ(stored(f), on1);
    EXPECT_TRUE(startsWith(run(f, second, 32000, 16), continued));

    run(f, first, 32000, 16);
    EXPECT_EQ(f.setParamData(kId, on2.data(), 20), 20);  // still on, yet a change
    EXPECT_EQ(stored(f), on2);
    EXPECT_TRUE(startsWith(run(f, second, 32000, 16), restarted));

    run(f, first, 32000, 16);
    f.setUseUpSampler32(true);
    f.reset();
    EXPECT_TRUE(startsWith(run(f, second, 32000, 16), restarted));
    EXPECT_TRUE(f.useUpSampler32());
}

TEST(UpSamplingFilterProcess, InterpolatesAnyFormatTheEnhancerDoesNotTake) {
    const std::vector<double> x = velmo_model::noise(2 * 40, 4);
    UpSamplingFilter off;
    std::vector<double> y = run(off, x, 32000, 16);
    EXPECT_TRUE(startsWith(y, interpolated(x)));
    EXPECT_EQ(y[160], -7.0);

    UpSamplingFilter on;
    on.setParamData(kId, flags(stored(on), 1).data(), 20);
    EXPECT_TRUE(startsWith(run(on, x, 44100, 32), interpolated(x)));
}

TEST(UpSamplingFilterProcess, EmptyOddAndTightBlocks) {
    UpSamplingFilter f;
    f.setParamData(kId, flags(stored(f), 1).data(), 20);
    run(f, {}, 48000, 16);
    const std::vector<double> odd = run(f, {0.1, 0.2, 0.3, 0.4, 0.5}, 44100, 24);
    EXPECT_NE(odd[7], -7.0);
    EXPECT_EQ(odd[8], -7.0);  // the last input double is not read

    std::vector<double> x(6, 0.25), y(12, -7.0);
    RealAudioBuffer in(x.data(), 6, 6, 44100, 16);
    RealAudioBuffer tight(y.data(), 11, 3, 22050, 8);
    EXPECT_EQ(f.process(&in, &tight), -1);
    EXPECT_EQ(tight.length, 3);
    EXPECT_EQ(tight.sampleRate, 22050);
    EXPECT_EQ(tight.bitsPerSample, 8);
    EXPECT_EQ(y[0], -7.0);
    RealAudioBuffer exact(y.data(), 12, 0, 0, 0);
    EXPECT_EQ(f.process(&in, &exact), 0);
    EXPECT_NE(y[11], -7.0);
}

namespace {

struct PathCase {
    int bits, rate;
    uint32_t mode;
    bool mp3, use32;
    VelmoBiquadCoeffs section;
    velmo_model::Kernel kernel;
};

class UpSamplingFilterPath : public ::testing::TestWithParam<PathCase> {};

std::string describe(const PathCase& c) {
    return std::to_string(c.bits) + "bit" + std::to_string(c.rate) + (c.mode == 1 ? "Super" : "Fine") +
           (c.mp3 ? "MP3" : "CD") + (c.use32 ? "Use32" : "");
}

void PrintTo(const PathCase& c, std::ostream* os) { *os << describe(c); }

std::string pathName(const ::testing::TestParamInfo<PathCase>& info) { return describe(info.param); }

}  // namespace

// Two blocks, the first of odd length, through the filter and through the
// reference section and kernel that the format and settings call for.
TEST_P(UpSamplingFilterPath, MatchesTheReferenceBitForBit) {
    const PathCase& c = GetParam();
    UpSamplingFilter f;
    f.setUseUpSampler32(c.use32);
    ASSERT_EQ(f.setParamData(kId, put(flags(stored(f), 1, c.mp3 ? 9 : 0), 12, c.mode).data(), 20),
              20);

    velmo_model::Enhancer model;
    velmo_model::Biquad section{c.section};
    for (std::size_t n : {75, 100}) {
        const std::vector<double> x = velmo_model::noise(n, static_cast<unsigned>(n));
        const std::vector<double> y = run(f, x, c.rate, c.bits);
        for (std::size_t i = 0; i + 1 < n; i += 2) {
            const auto w = model.run(c.kernel, section.step({x[i], x[i + 1]}));
            ASSERT_EQ(std::vector<double>(y.begin() + 2 * i, y.begin() + 2 * i + 4),
                      (std::vector<double>{w[0].l, w[0].r, w[1].l, w[1].r}))
                << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllFormats, UpSamplingFilterPath,
    ::testing::Values(PathCase{16, 44100, 1, false, true, sVelmoSuper44K, velmo_model::kCD},
                      PathCase{16, 44100, 2, true, false, sVelmoFine44K, velmo_model::kMP3},
                      PathCase{24, 44100, 1, true, false, sVelmoSuper44K, velmo_model::kMP3},
                      PathCase{24, 44100, 2, false, false, sVelmoFine44K, velmo_model::kCD},
                      PathCase{16, 48000, 1, true, false, sVelmoSuper48K16, velmo_model::kMP3},
                      PathCase{16, 48000, 2, false, true, sVelmoFine48K16, velmo_model::kCD32},
                      PathCase{16, 48000, 1, true, true, sVelmoSuper48K16, velmo_model::kMP332},
                      PathCase{24, 48000, 1, false, true, sVelmoSuper48K24, velmo_model::kCD},
                      PathCase{24, 48000, 2, true, false, sVelmoFine48K24, velmo_model::kMP3}),
    pathName);
