// Chains as text: what a chain's settings read back as, every refusal with the
// exact line a user sees, and the streams a built chain refuses.
#include <quorvex/ParamBlocks.h>
#include <quorvex/chain.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

namespace qc = quorvex::chain;

template <typename Error, typename Action>
std::string messageOf(Action action) {
    try {
        action();
    } catch (const Error& e) {
        return e.what();
    }
    return "(nothing thrown)";
}

TEST(ChainText, ReadsUnitsPositionalValuesAndDefaults) {
    const std::vector<qc::Step> steps =
        qc::parse("  EQ:1k=-2dB,63=+3   resample:48kHz alc:mode=Sample,enabled=OFF velmo ");
    ASSERT_EQ(steps.size(), 4u);
    EXPECT_EQ(steps[0].filter, qc::findFilter("eq"));
    const qc::Settings& eq = steps[0].settings;
    EXPECT_EQ(eq.number("1k"), -2.0);
    EXPECT_EQ(eq.number("63"), 3.0);
    EXPECT_TRUE(eq.given("63"));
    EXPECT_EQ(eq.number("160"), 0.0);
    EXPECT_FALSE(eq.given("160"));

    EXPECT_EQ(steps[1].settings.number("rate"), 48000.0);
    EXPECT_EQ(steps[1].settings.text("bits"), "same");

    const qc::Settings& alc = steps[2].settings;
    EXPECT_EQ(alc.text("mode"), "sample");
    EXPECT_FALSE(alc.isOn("enabled"));
    EXPECT_EQ(alc.number("recovery"), quorvex::alc_block::kDefaultRecovery);
    EXPECT_FALSE(alc.given("recovery"));

    EXPECT_TRUE(steps[3].settings.isOn("enhance"));
    EXPECT_EQ(steps[3].settings.text("source"), "cd");

    // A bare value sets the positional key; a parameter without default is left to the filter.
    EXPECT_EQ(qc::parse("resample:44100")[0].settings.number("rate"), 44100.0);
    const qc::Settings hold = qc::parse("hold")[0].settings;
    EXPECT_FALSE(hold.given("rate"));
    EXPECT_EQ(hold.text("rate"), "");
    // Only filters sharing process-wide state are limited to one per chain.
    EXPECT_EQ(qc::parse("alc alc:mode=sample").size(), 2u);
}

TEST(ChainText, RefusesWithTheLineTheUserSees) {
    const std::string tooLong = "alc alc alc alc alc alc alc alc alc alc alc";
    const std::pair<std::string, std::string> refusals[] = {
        {"alc nosuch:x=1",
         "unknown filter 'nosuch' in the chain ('quorvex list' shows the filters)"},
        {"", "the chain is empty: name at least one filter"},
        {"alc:gain=3",
         "alc: unknown parameter 'gain' (alc takes the parameters enabled, mode, recovery)"},
        {"eq:63=13dB", "eq: 63=13dB is out of range: 63 takes -12 to 12 dB"},
        {"surround:hall-len1=8457",
         "surround: hall-len1=8457 is out of range: hall-len1 takes 17 to 8456 samples"},
        {"alc:recovery=fast", "alc: recovery=fast is not a number"},
        {"resample:48000.5", "resample: rate=48000.5 must be a whole number"},
        {"velmo:mode=loud", "velmo: mode=loud is not one of super, fine"},
        {"eq:enabled=0", "eq: enabled=0 must be on or off"},
        {"alc:mode=linked,mode=sample", "alc: mode is given twice"},
        {"alc:mode=linked,", "alc: empty setting in 'mode=linked,'"},
        {"eq:3", "eq: '3' needs the form parameter=value"},
        {"hpeq:file=", "hpeq: file needs a file name"},
        {"eq:63=+3 alc eq:1k=-2",
         "the chain holds eq twice, but every eq shares one process-wide band setting and filter "
         "history, so a second one would disturb the first: give one eq all its settings"},
        {tooLong, "the chain has 11 filters; at most 10 can run in one chain"},
        {"alc hold", "hold works on integer PCM by itself and cannot share a chain"},
    };
    for (const auto& refusal : refusals)
        EXPECT_EQ(messageOf<qc::SyntaxError>([&] { qc::parse(refusal.first); }), refusal.second)
            << refusal.first;
}

TEST(ChainText, BuiltChainsRefuseStreamsTheyCannotWorkOn) {
    const qc::StreamFormat cd{44100, 16};
    const struct {
        const char* text;
        qc::StreamFormat input;
        const char* message;
    } refusals[] = {
        {"velmo decimate personalize", cd,
         "personalize works at 88200 or 96000 Hz, not at the 44100 Hz this stream has at that "
         "point; put velmo:enhance=off first (at 44100 and 48000 Hz it would pass the audio "
         "unchanged)"},
        {"velmo",
         {44100, 32},
         "velmo enhances 16- and 24-bit sources, not this 32-bit one (enhance=off interpolates at "
         "any depth)"},
        {"resample:44101,engine=exact", cd,
         "resample: 44100 and 44101 Hz have no common multiple within 1023 multiples of the higher "
         "rate; choose a rounder rate"},
        {"resample:44101", cd,
         "resample: 44100 Hz does not convert to 44101 Hz: both rates must lie within 8000 and "
         "384000 Hz and their ratio must reduce to terms of at most 8192; choose a rounder rate"},
        {"hold:bits=24",
         {44100, 32},
         "hold changes rate and depth of 16- and 24-bit PCM only; this source is 32-bit"},
        {"personalize:file=/nonexistent/sections.txt",
         {96000, 24},
         "personalize: cannot read /nonexistent/sections.txt: No such file or directory"},
        {"hold", {0, 16}, "a chain takes rates from 1 to 1073741823 Hz, not 0 Hz"},
        {"hold",
         {1073741824, 16},
         "a chain takes rates from 1 to 1073741823 Hz, not 1073741824 Hz"},
        {"resample:96000,engine=exact", cd,
         "resample: raising 44100 Hz to 96000 Hz with engine=exact would leave images of the "
         "input, because that converter's pass band reaches 42240 Hz, above the 22050 Hz the "
         "input holds; it raises the rate cleanly up to 50113 Hz; to go higher use the clean "
         "engine or put velmo:enhance=off first, a clean 2x interpolator"},
    };
    for (const auto& refusal : refusals)
        EXPECT_EQ(messageOf<qc::StreamError>([&] { qc::Chain(refusal.text, refusal.input); }),
                  refusal.message)
            << refusal.text;
    // Switched off, a filter passes any stream.
    EXPECT_NO_THROW(qc::Chain("hpeq:enabled=off eq:enabled=off surround:enabled=off", {32000, 16}));
}

// Rates are doubled in 64 bits: the highest input rate still doubles, and a
// doubling beyond what an int holds is refused instead of wrapping around;
// rates outside 1 to kHighestRate are refused with the stream errors above.
TEST(ChainText, RatesThatCannotBeDoubledAreRefused) {
    const int highest = qc::kHighestRate;
    EXPECT_EQ(qc::Chain("velmo:enhance=off", {highest, 16}).output().rate, 2 * highest);
    EXPECT_EQ(qc::Chain("hold", {highest, 16}).output().rate, 2 * highest);
    // Text allows one velmo; steps put together by hand may double twice.
    std::vector<qc::Step> twice = qc::parse("velmo:enhance=off");
    twice.push_back(twice.front());
    EXPECT_EQ(messageOf<qc::StreamError>([&] {
                  qc::Chain(twice, {highest, 16});
              }),
              "velmo would double 2147483646 Hz beyond the highest rate a stream can carry");
}

// A rate refusal names what to put first, and that chain builds: resample
// where it reaches a rate the filter takes (a whole ratio first, then
// the nearest), velmo:enhance=off where doubling does or must come first.
TEST(ChainText, RateRefusalsNameStepsThatWork) {
    const struct {
        const char* filter;
        int rate;
        const char* steps;
    } cases[] = {
        {"velmo", 88200, "resample:44100"},
        {"velmo", 50000, "resample:48000"},
        {"velmo", 32000, "resample:44100"},
        {"eq", 22050, "velmo:enhance=off"},
        {"eq", 176400, "resample:88200"},
        {"eq", 32000, "resample:96000"},
        {"eq", 4000, "velmo:enhance=off resample:48000"},  // below the converter's range
        {"eq", 2000, ""},
        {"surround", 64000, "resample:48000"},
        {"eq:32k=+3", 48000, "velmo:enhance=off"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.filter) + " at " + std::to_string(c.rate));
        const std::string message = messageOf<qc::StreamError>([&] {
            qc::Chain(c.filter, qc::StreamFormat{c.rate, 16});
        });
        const std::string hint = std::string("; put ") + c.steps + " first";
        if (*c.steps == '\0') {
            EXPECT_EQ(message.find("; put "), std::string::npos) << message;
            continue;
        }
        EXPECT_NE(message.find(hint), std::string::npos) << message;
        EXPECT_NO_THROW(qc::Chain(std::string(c.steps) + " " + c.filter, {c.rate, 16}));
    }
}

// The exact converter's pass band ends at 0.44 x its output rate: raising the
// rate past 25/22 of the input would pass the input's images, so the chain
// stops there, to the hertz. The clean engine filters any rise.
TEST(ChainText, ResampleRaisesTheRateOnlyAsFarAsItFiltersCleanly) {
    const struct {
        int from, to;
        bool accepted;
    } rises[] = {
        {22000, 25000, true},  {22000, 25001, false}, {44100, 48000, true}, {44100, 88200, false},
        {48000, 96000, false}, {96000, 44100, true},  {44100, 44100, true},
    };
    for (const auto& rise : rises) {
        const std::string text = "resample:" + std::to_string(rise.to) + ",engine=exact";
        const std::string message = messageOf<qc::StreamError>([&] {
            qc::Chain(text, qc::StreamFormat{rise.from, 16});
        });
        EXPECT_EQ(message == "(nothing thrown)", rise.accepted)
            << rise.from << " to " << rise.to << ": " << message;
    }
    // Doubled first, the rate may then go anywhere the converter filters cleanly.
    EXPECT_NO_THROW(qc::Chain("velmo:enhance=off resample:96000,engine=exact", {44100, 16}));
    EXPECT_NO_THROW(qc::Chain("resample:384000", {8000, 16}));
}

// Each filter hands on the format the next one is built for, and the chain
// adds up their delays.
TEST(ChainText, FormatsAndDelayFollowTheFilters) {
    qc::Chain chain("velmo:enhance=off hpeq decimate:bits=16", {44100, 16});
    const std::vector<std::pair<int, int>> expected = {
        {44100, 16}, {88200, 24}, {88200, 24}, {44100, 16}};
    ASSERT_EQ(chain.formats().size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(chain.formats()[i].rate, expected[i].first) << i;
        EXPECT_EQ(chain.formats()[i].bits, expected[i].second) << i;
    }
    EXPECT_DOUBLE_EQ(chain.latencySeconds(), 32.5 / 88200 + 32.0 / 88200);
    EXPECT_EQ(chain.integerFilter(), nullptr);

    qc::Chain hold("hold:48000", {44100, 24});
    EXPECT_NE(hold.integerFilter(), nullptr);
    EXPECT_EQ(hold.output().rate, 48000);
    EXPECT_THROW(hold.outermost(), std::logic_error);
}

// A section file's poles must lie strictly inside the unit circle, rows as
// written (b0 b1 b2 a0 a1 a2, denominator a0 + a1 z^-1 + a2 z^-2). The cases
// sit on both sides of each edge of the stability triangle, and some hold a0
// other than 1, so the check must run on the normalised section.
TEST(ChainText, SectionFilesRefuseSectionsThatWouldGrowWithoutBound) {
    const struct {
        const char* rows;
        const char* unstableAt;  // "line N: ... radius R", or nullptr when the file is accepted
    } files[] = {
        {"1 0 0 1 -1.8 0.81", nullptr},  // double pole at 0.9
        {"2 0 0 2 -2.8 0.9", nullptr},   // the same, scaled by a0
        {"1 0 0 1 1.2 0.8", nullptr},    // complex pair at radius 0.894
        {"1 -2 1 1 0 0", nullptr},       // zeros only
        {"1 0 0 1 0 -0.99", nullptr},    // poles at +-0.995
        {"1 0 0 1 -2.5 1.6",
         "line 1: the section is unstable: a pole lies at radius 1.26491106407"},
        {"1 0 0 1 -2 1", "line 1: the section is unstable: a pole lies at radius 1,"},
        {"1 0 0 1 0 1", "line 1: the section is unstable: a pole lies at radius 1,"},
        {"1 0 0 1 1.5 0.5", "line 1: the section is unstable: a pole lies at radius 1,"},
        {"1 0 0 1 0.2 -0.99", "line 1: the section is unstable: a pole lies at radius 1.1,"},
        {"1 0 0 0.5 -0.5 0.5", "line 1: the section is unstable: a pole lies at radius 1,"},
        {"# ok, then not\n1 0 0 1 -1.8 0.81\n\n1 0 0 1 -1.9 1.01",
         "line 4: the section is unstable: a pole lies at radius 1.00498756211"},
    };
    char path[] = "/tmp/quorvex-sections-XXXXXX";
    close(mkstemp(path));
    for (const auto& file : files) {
        std::ofstream(path) << file.rows << "\n";
        const std::string text = std::string("hpeq:file=") + path;
        const std::string message = messageOf<qc::StreamError>([&] {
            qc::Chain(text, qc::StreamFormat{96000, 24});
        });
        if (file.unstableAt == nullptr)
            EXPECT_EQ(message, "(nothing thrown)") << file.rows;
        else
            EXPECT_EQ(message.rfind(std::string("hpeq: ") + path + " " + file.unstableAt, 0), 0u)
                << file.rows << ": " << message;
    }
    unlink(path);
}

}  // namespace
