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
        // Where every field lies: a host written for the raw blocks uses these.
        QUORVEX_CONSTANT(kEnabledOffset, 4),
        QUORVEX_CONSTANT(alc_block::kFlag, 5),
        QUORVEX_CONSTANT(alc_block::kMode, 8),
        QUORVEX_CONSTANT(alc_block::kRecovery, 12),
        QUORVEX_CONSTANT(equalizer_block::kStoredBytes, 89),
        QUORVEX_CONSTANT(equalizer_block::gainOffset(9), 80),
        QUORVEX_CONSTANT(equalizer_block::kReserved, 88),
        QUORVEX_CONSTANT(coefficient_set::kA1, 8),
        QUORVEX_CONSTANT(coefficient_set::kB0, 24),
        QUORVEX_CONSTANT(coefficient_set::kB2, 40),
        QUORVEX_CONSTANT(hpeq_block::sectionOffset(2), 104),
        QUORVEX_CONSTANT(personalizer_block::kRight, 56),
        QUORVEX_CONSTANT(velmo_block::kBlockSize, 4),
        QUORVEX_CONSTANT(velmo_block::kEnabled, 8),
        QUORVEX_CONSTANT(velmo_block::kMp3Source, 9),
        QUORVEX_CONSTANT(velmo_block::kMode, 12),
        QUORVEX_CONSTANT(velmo_block::kEndMagicOffset, 16),
    };
    for (const Constant& c : constants) EXPECT_EQ(c.value, c.number) << c.name;
}

// The filters, which take their layouts from the names, answer the raw
// identifiers with blocks of the raw sizes, starting with the raw magics.
TEST(ParamBlocks, FiltersAnswerTheRawIdentifiersSizesAndMagics) {
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
        {&alc, 0x70414C43, 0x6D414C31, 20},       {&equalizer, 0x70455551, 0x6D457032, 92},
        {&hpeq, 0x70504143, 0x6D504131, 152},     {&personalizer, 0x70554143, 0x6D556131, 104},
        {&surround, 0x70535252, 0x6D535235, 112}, {&velmo, 0x70564C43, 0x6D564C43, 20},
    };
    for (const auto& f : filters) {
        std::vector<unsigned char> block(static_cast<size_t>(f.size));
        EXPECT_EQ(f.filter->getParamData(f.id, block.data(), f.size), f.size) << f.id;
        EXPECT_EQ(wordAt(block, 0), f.magic) << f.id;
        if (f.filter == &velmo) {
            EXPECT_EQ(wordAt(block, 16), 0x434C566Du);
        }
    }
}
