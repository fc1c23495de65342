// Chain text from the fuzz bytes: parsed, built at one of a few input
// formats and, when it builds, run for a few blocks. Refusals must come as
// SyntaxError or StreamError; anything else escapes and is a finding. A run
// must hand out exactly floor(frames in x output rate / input rate) frames.
//
// Input layout: a format byte, a flags byte, then the chain text up to the
// first NUL. Bytes after that NUL are written to a section file that an
// hpeq or personalize step in front of the chain reads.
#include <quorvex/chain.h>

#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

namespace qc = quorvex::chain;

const qc::StreamFormat kFormats[] = {
    {44100, 16}, {48000, 24}, {88200, 24}, {96000, 32}, {32000, 16}, {8000, 24},
};

constexpr int kMostBlockFrames = 700;

// One file for the whole run, rewritten for every input that carries sections.
const std::string& sectionFilePath() {
    static const std::string path = [] {
        char name[] = "/tmp/chain-fuzz-sections-XXXXXX";
        const int fd = mkstemp(name);
        if (fd < 0) std::abort();
        close(fd);
        return std::string(name);
    }();
    return path;
}

void writeSectionFile(const uint8_t* bytes, size_t size) {
    FILE* file = std::fopen(sectionFilePath().c_str(), "wb");
    if (file == nullptr) std::abort();
    if (size > 0 && std::fwrite(bytes, 1, size, file) != size) std::abort();
    std::fclose(file);
}

// Reads the bytes left as small numbers; zero once they run out.
class ByteSource {
public:
    ByteSource(const uint8_t* data, size_t size) : data(data), size(size) {}
    unsigned next() { return position < size ? data[position++] : 0; }

private:
    const uint8_t* data;
    size_t size;
    size_t position = 0;
};

void runBlocks(qc::Chain& chain, ByteSource& bytes, bool clip) {
    long long framesOut = 0;
    qc::DoubleRunner runner(chain, clip, [&](const double*, long long frames) {
        if (frames < 0) std::abort();
        framesOut += frames;
    });
    std::vector<double> block(2 * kMostBlockFrames);
    for (int b = 0; b < 3; ++b) {
        const int frames = static_cast<int>((bytes.next() << 8 | bytes.next()) % kMostBlockFrames);
        for (int i = 0; i < 2 * frames; ++i)
            block[static_cast<size_t>(i)] = std::sin(0.01 * i * (1 + b)) * (bytes.next() / 128.0);
        runner.write(block.data(), frames);
    }
    runner.finish();
    const long long expected = runner.framesIn() * chain.output().rate / chain.input().rate;
    if (framesOut != expected) {
        std::fprintf(stderr, "%lld frames in gave %lld out, not %lld\n", runner.framesIn(),
                     framesOut, expected);
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) return 0;
    const qc::StreamFormat format = kFormats[data[0] % (sizeof kFormats / sizeof kFormats[0])];
    const unsigned flags = data[1];
    const uint8_t* textStart = data + 2;
    const uint8_t* end = data + size;
    const uint8_t* textEnd = textStart;
    while (textEnd != end && *textEnd != 0) ++textEnd;
    std::string text(textStart, textEnd);
    if (textEnd != end) {
        writeSectionFile(textEnd + 1, static_cast<size_t>(end - textEnd - 1));
        text = std::string(flags & 1 ? "personalize" : "hpeq") + ":file=" + sectionFilePath() +
               " " + text;
    }
    ByteSource bytes(textStart, static_cast<size_t>(end - textStart));
    try {
        qc::Chain chain(qc::parse(text), format);
        if (chain.integerFilter() == nullptr) runBlocks(chain, bytes, flags & 2);
    } catch (const qc::SyntaxError&) {
    } catch (const qc::StreamError&) {
    }
    return 0;
}
