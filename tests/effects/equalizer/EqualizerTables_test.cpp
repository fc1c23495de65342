#include <eqgen/EqTableGen.h>

#include <gtest/gtest.h>

#include "effects/equalizer/EqualizerTables.h"

namespace {

struct CheckedIn {
    int rate;
    const double* feedback;
    const double* feedForward;
    size_t size;
};

const CheckedIn kTables[] = {
    {44100, gEQ_Coeff44k_A, gEQ_Coeff44k_B, sizeof gEQ_Coeff44k_A / sizeof(double)},
    {48000, gEQ_Coeff48k_A, gEQ_Coeff48k_B, sizeof gEQ_Coeff48k_A / sizeof(double)},
    {88200, gEQ_Coeff88k_A, gEQ_Coeff88k_B, sizeof gEQ_Coeff88k_A / sizeof(double)},
    {96000, gEQ_Coeff96k_A, gEQ_Coeff96k_B, sizeof gEQ_Coeff96k_A / sizeof(double)},
};

// b0, b1, b2, a1, a2 of one band and gain index in a checked-in table.
eqgen::Section sectionOf(const CheckedIn& t, int band, int index) {
    const int at = band * 75 + index;
    return {t.feedForward[at], t.feedForward[at + 25], t.feedForward[at + 50],
            t.feedback[at + 25], t.feedback[at + 50]};
}

void expectSection(const eqgen::Section& s, const eqgen::Section& want) {
    EXPECT_EQ(s.b0, want.b0);
    EXPECT_EQ(s.b1, want.b1);
    EXPECT_EQ(s.b2, want.b2);
    EXPECT_EQ(s.a1, want.a1);
    EXPECT_EQ(s.a2, want.a2);
}

}  // namespace

TEST(EqualizerTables, EqualTheGeneratorOutputBitForBit) {
    for (const CheckedIn& t : kTables) {
        const eqgen::RateTables gen = eqgen::makeTables(t.rate);
        ASSERT_EQ(gen.feedback.size(), t.size) << t.rate;
        ASSERT_EQ(gen.feedForward.size(), t.size) << t.rate;
        for (size_t i = 0; i < t.size; ++i) {
            ASSERT_EQ(t.feedback[i], gen.feedback[i]) << t.rate << " A[" << i << "]";
            ASSERT_EQ(t.feedForward[i], gen.feedForward[i]) << t.rate << " B[" << i << "]";
        }
    }
}

TEST(EqualizerTables, MatchPublishedCheckValues) {
    const struct {
        int table, band, index;
        eqgen::Section want;
    } rows[] = {{0, 3, 0, {0.931194, -1.79782, 0.885032, 1.79782, -0.816226}},
                {0, 3, 24, {1.07389, -1.93066, 0.876537, 1.93066, -0.950427}},
                {2, 9, 24, {2.06374, -0.676619, -0.579143, -0.132551, 0.324577}},
                {3, 9, 0, {0.441706, -0.0600474, -0.143168, 0.594532, 0.166977}},
                {2, 8, 0, {0.992531, -1.97008, 0.977618, 1.96999, -0.970244}},
                {2, 8, 7, {0.996931, -1.97547, 0.978639, 1.97544, -0.975607}},
                {2, 8, 24, {1.00753, -1.98481, 0.977546, 1.98491, -0.984975}},
                {3, 8, 0, {0.993133, -1.97249, 0.979415, 1.97241, -0.972629}},
                {3, 8, 17, {1.00283, -1.98302, 0.980332, 1.98305, -0.98313}},
                {3, 8, 24, {1.00691, -1.98605, 0.979354, 1.98613, -0.986187}}};
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << kTables[r.table].rate << " band " << r.band << " index "
                                        << r.index);
        expectSection(sectionOf(kTables[r.table], r.band, r.index), r.want);
    }
}

TEST(EqualizerTables, EveryBandIsFlatAtIndexTwelveAndA0IsZero) {
    for (const CheckedIn& t : kTables) {
        for (size_t band = 0; band < t.size / 75; ++band) {
            const eqgen::Section s = sectionOf(t, static_cast<int>(band), 12);
            EXPECT_EQ(s.b0, 1.0) << t.rate << " band " << band;
            EXPECT_EQ(s.b1, -s.a1) << t.rate << " band " << band;
            EXPECT_EQ(s.b2, -s.a2) << t.rate << " band " << band;
            for (int i = 0; i < 25; ++i) EXPECT_EQ(t.feedback[band * 75 + i], 0.0);
        }
    }
}
