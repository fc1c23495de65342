// A WAV header written byte by byte to say what no encoder would: a rate too
// high to double.
#include "cli_harness.h"

namespace {

void putLittleEndian(std::string& bytes, uint32_t value, int width) {
    for (int i = 0; i < width; ++i) bytes.push_back(static_cast<char>(value >> (8 * i)));
}

// A 16-bit stereo WAV of 16 silent frames at `rate`.
std::string wavBytes(uint32_t rate) {
    const uint32_t dataBytes = 16 * 4;
    std::string bytes = "RIFF";
    putLittleEndian(bytes, 36 + dataBytes, 4);
    bytes += "WAVEfmt ";
    putLittleEndian(bytes, 16, 4);
    putLittleEndian(bytes, 1, 2);  // integer PCM
    putLittleEndian(bytes, 2, 2);
    putLittleEndian(bytes, rate, 4);
    putLittleEndian(bytes, rate * 4, 4);
    putLittleEndian(bytes, 4, 2);
    putLittleEndian(bytes, 16, 2);
    bytes += "data";
    putLittleEndian(bytes, dataBytes, 4);
    return bytes + std::string(dataBytes, '\0');
}

TEST(CliHostileHeaders, RatesTooHighToDoubleAreRefusedAtTheInput) {
    ScratchDir dir;
    const std::string in = dir.file("in.wav"), out = dir.file("out.wav");
    for (const uint32_t rate : {1073741824u, 2000000000u}) {
        SCOPED_TRACE(rate);
        writeText(in, wavBytes(rate));
        for (const char* chain : {"velmo:enhance=off", "hold"}) {
            const RunResult run = runQuorvex({"process", in, out, "--chain", chain});
            EXPECT_EQ(run.status, 1) << run.err;
            EXPECT_NE(run.err.find("quorvex reads rates from 1 to 1073741823 Hz"),
                      std::string::npos)
                << run.err;
            EXPECT_EQ(fileBytes(out), "") << "a refused run left an output";
        }
    }
    writeText(in, wavBytes(1073741823u));
    const RunResult highest = runQuorvex({"process", in, out, "--chain", "hold"});
    EXPECT_EQ(highest.err.find("reads rates"), std::string::npos) << highest.err;
}

}  // namespace
