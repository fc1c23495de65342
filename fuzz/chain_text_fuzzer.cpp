// Chain text from the fuzz bytes: parsed, built at one of a few input
// formats and, when it builds, run over a short signal through the double
// runner and, where it accepts the chain, the integer runner. Refusals must
// come as SyntaxError or StreamError; anything else escapes and is a
// finding. A run must hand out exactly floor(frames in x output rate / input
// rate) frames, at the depth the chain reports.
//
// Input layout: a format byte, a flags byte (1: sections to personalize, not
// hpeq; 2: clip; 4: the integer runner too; 8: reset and read the filters
// first), then the chain text up to the first NUL. Bytes after that NUL are written to a section
// file that an hpeq or personalize step in front of the chain reads.
#include <quorvex/ParamBlocks.h>
#include <quorvex/chain.h>

#include <unistd.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace qc = quorvex::chain;

const qc::StreamFormat kFormats[] = {
    {44100, 16},
    {48000, 24},
    {88200, 24},
    {96000, 32},
    {44100, 24},
    {48000, 16},
    {96000, 16},
    {88200, 32},
    {32000, 16},
    {8000, 24},
    {22050, 16},
    {192000, 24},
    {0, 16},
    {qc::kHighestRate, 16},
    {qc::kHighestRate + 1, 24},
    {48000, 32},
};

constexpr int kMostBlockFrames = 700;

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    std::abort();
}

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

// Frames per block of one run, from the bytes.
std::vector<int> blockSizes(ByteSource& bytes) {
    std::vector<int> sizes(3);
    for (int& frames : sizes)
        frames = static_cast<int>((bytes.next() << 8 | bytes.next()) % kMostBlockFrames);
    return sizes;
}

void requireSpan(const qc::Chain& chain, long long framesIn, long long framesOut) {
    const long long expected = framesIn * chain.output().rate / chain.input().rate;
    if (framesOut == expected) return;
    std::fprintf(stderr, "%lld frames in gave %lld out, not %lld\n", framesIn, framesOut, expected);
    std::abort();
}

void runDoubles(qc::Chain& chain, const std::vector<int>& sizes, double level, bool clip) {
    long long framesOut = 0;
    qc::DoubleRunner runner(chain, clip, [&](const double*, long long frames) {
        require(frames > 0, "the sink gets frames");
        framesOut += frames;
    });
    std::vector<double> block(2 * kMostBlockFrames);
    for (size_t b = 0; b < sizes.size(); ++b) {
        for (int i = 0; i < 2 * sizes[b]; ++i)
            block[static_cast<size_t>(i)] = std::sin(0.01 * i * static_cast<double>(1 + b)) * level;
        runner.write(block.data(), sizes[b]);
    }
    runner.finish();
    runner.finish();  // a second finish adds nothing
    requireSpan(chain, runner.framesIn(), framesOut);
    require(clip || runner.clippedSamples() == 0, "nothing clipped unless asked");
    try {
        runner.write(block.data(), 1);
        require(false, "a write after finish is refused");
    } catch (const std::logic_error&) {
    }
}

void runPcm(qc::Chain& chain, const std::vector<int>& sizes, unsigned seed) {
    const int frameBytes = 2 * chain.input().bits / 8;
    long long framesOut = 0;
    qc::PcmRunner runner(chain, [&](const unsigned char*, long long frames, int bits) {
        require(frames > 0 && bits == chain.output().bits, "the sink gets frames at the depth");
        framesOut += frames;
    });
    std::vector<unsigned char> block(static_cast<size_t>(kMostBlockFrames * frameBytes));
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(seed * i >> 3);
    for (int frames : sizes) runner.write(block.data(), frames);
    runner.finish();
    requireSpan(chain, runner.framesIn(), framesOut);
    require(runner.clippedSamples() >= 0, "clip count");
}

// What every front end shows of a chain.
void describe(qc::Chain& chain) {
    require(!chain.name().empty(), "a chain has a name");
    require(chain.latencySeconds() >= 0.0, "latency");
    require(chain.formats().size() >= 2, "formats of the input and every filter");
}

// A host may reach the library filters behind a chain; a reset before the
// stream starts and a parameter read change nothing it hands out.
void touchFilters(qc::Chain& chain) {
    if (chain.integerFilter() != nullptr) return;
    RealAudioFilter& filter = chain.outermost();
    unsigned char block[quorvex::alc_block::kSize];
    const int size = filter.getParamData(quorvex::alc_block::kId, block, sizeof block);
    if (size > 0)
        require(filter.setParamData(quorvex::alc_block::kId, block, size) == size, "kept");
    filter.reset();
}

void run(qc::Chain& chain, ByteSource& bytes, unsigned flags) {
    describe(chain);
    if (flags & 8) touchFilters(chain);
    const std::vector<int> sizes = blockSizes(bytes);
    if (chain.integerFilter() == nullptr) {
        runDoubles(chain, sizes, bytes.next() / 64.0, flags & 2);
    } else {
        try {
            chain.outermost();
            require(false, "an integer-only chain has no doubles");
        } catch (const std::logic_error&) {
        }
    }
    if (!qc::PcmRunner::accepts(chain)) {
        try {
            qc::PcmRunner refused(chain, nullptr);
            require(false, "the integer runner refuses what it cannot carry");
        } catch (const std::logic_error&) {
        }
    } else if (flags & 4 || chain.integerFilter() != nullptr) {
        runPcm(chain, sizes, bytes.next());
    }
}

// The listing front ends print, and the calls only a host's mistake
// reaches: each must fail as documented rather than crash.
bool checkListingAndMisuse() {
    for (const qc::FilterInfo& filter : qc::filters()) {
        require(qc::findFilter(filter.name) == &filter, "every filter found by name");
        for (const qc::Parameter& param : filter.params) {
            require(filter.findParam(param.key) == &param, "every parameter found by key");
            if (param.kind == qc::ParamKind::Number)
                require(!qc::rangeText(param).empty(), "range");
        }
    }
    int refusals = 0;
    try {
        qc::Chain empty(std::vector<qc::Step>{}, qc::StreamFormat{44100, 16});
    } catch (const std::logic_error&) {
        ++refusals;
    }
    try {
        qc::FilterInfo stranger = qc::filters().front();
        qc::Chain foreign(std::vector<qc::Step>{{&stranger, qc::Settings{}}},
                          qc::StreamFormat{44100, 16});
    } catch (const std::logic_error&) {
        ++refusals;
    }
    try {
        qc::Settings().number("nothing");
    } catch (const std::logic_error&) {
        ++refusals;
    }
    return refusals == 3;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool misuseRefused = checkListingAndMisuse();
    require(misuseRefused, "misuse refused");
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
        run(chain, bytes, flags);
    } catch (const qc::SyntaxError&) {
    } catch (const qc::StreamError&) {
    }
    return 0;
}
