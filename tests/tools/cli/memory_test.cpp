// Streaming in fixed blocks: a file a hundred times longer must not need
// more memory.
#include "cli_harness.h"

#include <gtest/gtest.h>

namespace {

constexpr int kRate = 44100;

void writeLong(const std::string& path, int seconds) {
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr);
    const std::vector<double> second = musicLike(kRate, 2, kRate);
    for (int s = 0; s < seconds; ++s) sf_writef_double(file, second.data(), kRate);
    sf_close(file);
}

TEST(CliMemory, PeakMemoryDoesNotGrowWithTheFileLength) {
    ScratchDir dir;
    writeLong(dir.file("short.wav"), 3);
    writeLong(dir.file("long.wav"), 300);  // 50 MB of samples
    const char* chain = "eq:1k=+2 velmo:source=mp3 alc";  // the integer adapter and a composition
    const RunResult small =
        runQuorvex({"process", dir.file("short.wav"), dir.file("short-out.wav"), "--chain", chain});
    const RunResult large =
        runQuorvex({"process", dir.file("long.wav"), dir.file("long-out.wav"), "--chain", chain});
    ASSERT_EQ(small.status, 0) << small.err;
    ASSERT_EQ(large.status, 0) << large.err;
    SF_INFO written{};
    sf_close(sf_open(dir.file("long-out.wav").c_str(), SFM_READ, &written));
    EXPECT_EQ(written.frames, 2 * 300LL * kRate);
    RecordProperty("short_max_rss_kb", static_cast<int>(small.maxResidentKb));
    RecordProperty("long_max_rss_kb", static_cast<int>(large.maxResidentKb));
    EXPECT_LT(large.maxResidentKb - small.maxResidentKb, 4096)
        << "short: " << small.maxResidentKb << " kB, long: " << large.maxResidentKb << " kB";
}

}  // namespace
