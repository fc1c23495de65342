// The named layout against the numbers a host written for the raw blocks
// uses, and against the blocks the filters themselves hand out.
#include <quorvex/ALCFilter.h>
#include <quorvex/EqualizerFilter.h>
#include <quorvex/HPEQFilter.h>
#include <quorvex/ParamBlocks.h>
#include <quorvex/PersonalizeFilter.h>
#include <quorvex/SurroundFilter.h>
#include <quorvex/UpSamplingFilter.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

struct Constant {
    const char* name;
    double value, number;  // exact for every constant here
};

#define QUORVEX_CONSTANT(name, number) \
    { #name, static_cast < double>(name), number }

uint32_t wordAt(const std::vector<unsigned char>& block, int offset) {
    uint32_t word;
    std::memcpy(&word, &block[static_cast<size_t>(offset)], sizeof word);
    return word;
}

}  // namespace

TEST(ParamBlocks, NamesCarryTheNumbersHostsUse) {
    using namespace quorvex;
    const Constant constants[] = {
        QUORVEX_CONSTANT(kMagicOffset, 0),
        QUORVEX_CONSTANT(kEnabledOffset, 4),

        QUORVEX_CONSTANT(alc_block::kId, 0x70414C43),
        QUORVEX_CONSTANT(alc_block::kMagic, 0x6D414C31),
        QUORVEX_CONSTANT(alc_block::kSize, 20),
        QUORVEX_CONSTANT(alc_block::kEnabled, 4),
        QUORVEX_CONSTANT(alc_block::kFlag, 5),
        QUORVEX_CONSTANT(alc_block::kMode, 8),
        QUORVEX_CONSTANT(alc_block::kRecovery, 12),
        QUORVEX_CONSTANT(alc_block::kModeSample, 1),
        QUORVEX_CONSTANT(alc_block::kModeLinked, 2),
        QUORVEX_CONSTANT(alc_block::kRecoveryMin, 0.0),
        QUORVEX_CONSTANT(alc_block::kRecoveryMax, 1.0),
        QUORVEX_CONSTANT(alc_block::kDefaultRecovery, 1.52587890625e-07),

        QUORVEX_CONSTANT(equalizer_block::kId, 0x70455551),
        QUORVEX_CONSTANT(equalizer_block::kMagic, 0x6D457032),
        QUORVEX_CONSTANT(equalizer_block::kSize, 92),
        QUORVEX_CONSTANT(equalizer_block::kStoredBytes, 89),
        QUORVEX_CONSTANT(equalizer_block::kEnabled, 4),
        QUORVEX_CONSTANT(equalizer_block::kGain, 8),
        QUORVEX_CONSTANT(equalizer_block::gainOffset(9), 80),
        QUORVEX_CONSTANT(equalizer_block::kReserved, 88),
        QUORVEX_CONSTANT(equalizer_block::kBands, 10),
        QUORVEX_CONSTANT(equalizer_block::kLowRateBands, 7),
        QUORVEX_CONSTANT(equalizer_block::kGainMin, -1.0),
        QUORVEX_CONSTANT(equalizer_block::kGainMax, 1.0),
        QUORVEX_CONSTANT(equalizer_block::kDecibelsPerGain, 12.0),

        QUORVEX_CONSTANT(coefficient_set::kSize, 48),
        QUORVEX_CONSTANT(coefficient_set::kA0, 0),
        QUORVEX_CONSTANT(coefficient_set::kA1, 8),
        QUORVEX_CONSTANT(coefficient_set::kA2, 16),
        QUORVEX_CONSTANT(coefficient_set::kB0, 24),
        QUORVEX_CONSTANT(coefficient_set::kB1, 32),
        QUORVEX_CONSTANT(coefficient_set::kB2, 40),
        QUORVEX_CONSTANT(coefficient_set::kDoubles, 6),
        QUORVEX_CONSTANT(coefficient_set::kLimit, 1000.0),

        QUORVEX_CONSTANT(hpeq_block::kId, 0x70504143),
        QUORVEX_CONSTANT(hpeq_block::kMagic, 0x6D504131),
        QUORVEX_CONSTANT(hpeq_block::kSize, 152),
        QUORVEX_CONSTANT(hpeq_block::kEnabled, 4),
        QUORVEX_CONSTANT(hpeq_block::kSections, 8),
        QUORVEX_CONSTANT(hpeq_block::kSectionCount, 3),
        QUORVEX_CONSTANT(hpeq_block::sectionOffset(2), 104),

        QUORVEX_CONSTANT(personalizer_block::kId, 0x70554143),
        QUORVEX_CONSTANT(personalizer_block::kMagic, 0x6D556131),
        QUORVEX_CONSTANT(personalizer_block::kSize, 104),
        QUORVEX_CONSTANT(personalizer_block::kEnabled, 4),
        QUORVEX_CONSTANT(personalizer_block::kLeft, 8),
        QUORVEX_CONSTANT(personalizer_block::kRight, 56),

        QUORVEX_CONSTANT(surround_block::kId, 0x70535252),
        QUORVEX_CONSTANT(surround_block::kMagic, 0x6D535235),
        QUORVEX_CONSTANT(surround_block::kSize, 112),
        QUORVEX_CONSTANT(surround_block::kHall, 0x01),
        QUORVEX_CONSTANT(surround_block::kNatural, 0x02),
        QUORVEX_CONSTANT(surround_block::kLive, 0x04),
        QUORVEX_CONSTANT(surround_block::kWide, 0x08),
        QUORVEX_CONSTANT(surround_block::kEcho, 0x10),
        QUORVEX_CONSTANT(surround_block::k3d, 0x20),
        QUORVEX_CONSTANT(surround_block::kGainMin, 0.0),
        QUORVEX_CONSTANT(surround_block::kGainMax, 1.0),
        QUORVEX_CONSTANT(surround_block::kHallLengthMin, 17),
        QUORVEX_CONSTANT(surround_block::kHallM1Max, 8456),
        QUORVEX_CONSTANT(surround_block::kHallM2Max, 7708),
        QUORVEX_CONSTANT(surround_block::kHallM3Max, 5460),

        QUORVEX_CONSTANT(velmo_block::kId, 0x70564C43),
        QUORVEX_CONSTANT(velmo_block::kMagic, 0x6D564C43),
        QUORVEX_CONSTANT(velmo_block::kEndMagic, 0x434C566D),
        QUORVEX_CONSTANT(velmo_block::kSize, 20),
        QUORVEX_CONSTANT(velmo_block::kBlockSize, 4),
        QUORVEX_CONSTANT(velmo_block::kEnabled, 8),
        QUORVEX_CONSTANT(velmo_block::kMp3Source, 9),
        QUORVEX_CONSTANT(velmo_block::kReserved, 10),
        QUORVEX_CONSTANT(velmo_block::kMode, 12),
        QUORVEX_CONSTANT(velmo_block::kEndMagicOffset, 16),
        QUORVEX_CONSTANT(velmo_block::kModeSuper, 1),
        QUORVEX_CONSTANT(velmo_block::kModeFine, 2),
        QUORVEX_CONSTANT(velmo_block::kOutputBits, 24),
    };
    for (const Constant& c : constants) EXPECT_EQ(c.value, c.number) << c.name;
}

// Each filter answers its identifier with a block of the named size that
// starts with the named magic; the two plain records are the blocks.
TEST(ParamBlocks, FiltersHandOutBlocksOfTheNamedSizeAndMagic) {
    using namespace quorvex;
    ALCFilter alc;
    EqualizerFilter equalizer;
    HPEQFilter hpeq;
    PersonalizeFilter personalizer;
    SurroundFilter surround;
    UpSamplingFilter velmo;
    const struct {
        RealAudioFilter* filter;
        unsigned long id;
        uint32_t magic;
        int size;
    } filters[] = {
        {&alc, alc_block::kId, alc_block::kMagic, alc_block::kSize},
        {&equalizer, equalizer_block::kId, equalizer_block::kMagic, equalizer_block::kSize},
        {&hpeq, hpeq_block::kId, hpeq_block::kMagic, hpeq_block::kSize},
        {&personalizer, personalizer_block::kId, personalizer_block::kMagic,
         personalizer_block::kSize},
        {&surround, surround_block::kId, surround_block::kMagic, surround_block::kSize},
        {&velmo, velmo_block::kId, velmo_block::kMagic, velmo_block::kSize},
    };
    for (const auto& f : filters) {
        std::vector<unsigned char> block(static_cast<size_t>(f.size));
        EXPECT_EQ(f.filter->getParamData(f.id, block.data(), f.size), f.size) << f.id;
        EXPECT_EQ(wordAt(block, kMagicOffset), f.magic) << f.id;
        if (f.id == velmo_block::kId) {
            EXPECT_EQ(wordAt(block, velmo_block::kEndMagicOffset), velmo_block::kEndMagic);
        }
    }
    static_assert(sizeof(PhoneAdaptationConfigParams) == hpeq_block::kSize);
    static_assert(offsetof(PhoneAdaptationConfigParams, section) == hpeq_block::kSections);
    static_assert(sizeof(PhoneAdaptationConfigParams::CoefficientSet) == coefficient_set::kSize);
    static_assert(sizeof(SurroundConfigParams) == surround_block::kSize);
    static_assert(offsetof(SurroundConfigParams, enabled) == kEnabledOffset);
}
