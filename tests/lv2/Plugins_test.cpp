#include <quorvex/RealAudioBuffer.h>
#include <quorvex/chain.h>

#include <gtest/gtest.h>
#include <lilv/lilv.h>
#include <lv2/log/log.h>
#include <lv2/urid/urid.h>
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/FreshProcess.h"

namespace {

namespace qc = quorvex::chain;

const std::string kUri = "urn:quorvex:lv2:";
// lv2apply runs the plug-in one frame at a time.
constexpr size_t kHostBlockFrames = 1;

// Interleaved float frames; the input the host and the chain both get.
std::vector<float> testSignal(long frames, int channels, double amplitude) {
    std::vector<float> samples;
    for (long i = 0; i < frames; ++i)
        for (int c = 0; c < channels; ++c)
            samples.push_back(
                static_cast<float>(amplitude * std::sin(0.01 * i * (1 + c) + 0.00002 * i * i) +
                                   0.1 * std::sin(1.3 * i)));
    return samples;
}

// The chain's output for stereo input, rounded to float as a host's buffer holds it.
std::vector<float> chainOutput(const std::string& text, int rate, const std::vector<float>& in) {
    qc::Chain chain(text, qc::StreamFormat{rate, 24});
    std::vector<float> out;
    qc::DoubleRunner runner(chain, false, [&](const double* stereo, long long frames) {
        for (long long i = 0; i < 2 * frames; ++i) out.push_back(static_cast<float>(stereo[i]));
    });
    const std::vector<double> doubles(in.begin(), in.end());
    runner.write(doubles.data(), static_cast<long long>(doubles.size() / 2));
    runner.finish();
    return out;
}

// As above, with the chain's filter handed the blocks lv2apply hands the plug-in.
std::vector<float> chainOutputInHostBlocks(const std::string& text, int rate,
                                           const std::vector<float>& in) {
    qc::Chain chain(text, qc::StreamFormat{rate, 24});
    RealAudioBuffer block(2 * kHostBlockFrames, rate, 24);
    RealAudioBuffer processed(2 * kHostBlockFrames, rate, 24);
    std::vector<float> out;
    for (size_t first = 0; first < in.size(); first += 2 * kHostBlockFrames) {
        block.length = static_cast<int>(std::min(in.size() - first, 2 * kHostBlockFrames));
        std::copy_n(in.begin() + static_cast<long>(first), block.length, block.data);
        chain.outermost().process(&block, &processed);
        for (int i = 0; i < processed.length; ++i)
            out.push_back(static_cast<float>(processed.data[i]));
    }
    return out;
}

std::vector<float> stereoOf(const std::vector<float>& mono) {
    std::vector<float> stereo;
    for (float sample : mono) stereo.insert(stereo.end(), {sample, sample});
    return stereo;
}

void writeWav(const std::string& path, const std::vector<float>& samples, int channels, int rate) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << path;
    sf_writef_float(file, samples.data(), static_cast<sf_count_t>(samples.size() / channels));
    sf_close(file);
}

std::vector<float> readWav(const std::string& path) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    if (!file) return {};
    std::vector<float> samples(static_cast<size_t>(info.frames * info.channels));
    sf_readf_float(file, samples.data(), info.frames);
    sf_close(file);
    return samples;
}

std::string run(const std::string& command) {
    std::string output;
    FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    char buffer[4096];
    while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) output.append(buffer, n);
    pclose(pipe);
    return output;
}

std::string sectionLine(const qc::Section& s) {
    char line[256];
    std::snprintf(line, sizeof line, "%.17g %.17g %.17g 1 %.17g %.17g\n", s.b0, s.b1, s.b2, -s.a1,
                  -s.a2);
    return line;
}

std::string sectionsFile(const std::string& name, const std::vector<qc::Section>& sections) {
    const std::string path = ::testing::TempDir() + name;
    std::ofstream file(path);
    for (const qc::Section& section : sections) file << sectionLine(section);
    return path;
}

TEST(Lv2Tools, ListEveryPluginAndDescribeEveryPort) {
    const std::string listed = run("lv2ls");
    for (const char* name : {"alc", "alc-mono", "eq", "eq-mono", "hpeq", "personalize", "surround"})
        EXPECT_NE(listed.find(kUri + name + "\n"), std::string::npos) << name;
    const std::string eq = run("lv2info " + kUri + "eq");
    EXPECT_EQ(eq.find("error"), std::string::npos) << eq;
    for (const char* port : {"Symbol:      _2_5k", "Maximum:     12.0",
                             "Designation: "
                             "http://lv2plug.in/ns/lv2core#enabled",
                             "Port 14:"})
        EXPECT_NE(eq.find(port), std::string::npos) << port;
    const std::string alc = run("lv2info " + kUri + "alc");
    EXPECT_NE(alc.find("Scale Points:"), std::string::npos) << alc;
    EXPECT_NE(alc.find("sample"), std::string::npos);
}

struct ApplyCase {
    const char* plugin;
    int rate;
    int channels;
    const char* controls;  // as lv2apply's -c options
    std::string chain;     // the same settings as a chain
    double amplitude;
    // The linked level control regains gain at the end of each block, so its
    // output depends on the block lengths: the chain then runs in the host's.
    bool inHostBlocks = false;
};

void expectSameAsChain(const ApplyCase& c, long frames) {
    const std::string in = ::testing::TempDir() + "lv2-in.wav";
    const std::string out = ::testing::TempDir() + "lv2-out.wav";
    const std::vector<float> signal = testSignal(frames, c.channels, c.amplitude);
    writeWav(in, signal, c.channels, c.rate);
    const std::string log = run(std::string("lv2apply ") + c.controls + " -i " + in + " -o " + out +
                                " " + kUri + c.plugin);
    const std::vector<float> host = readWav(out);
    const std::vector<float> stereo = c.channels == 1 ? stereoOf(signal) : signal;
    std::vector<float> expected = c.inHostBlocks ? chainOutputInHostBlocks(c.chain, c.rate, stereo)
                                                 : chainOutput(c.chain, c.rate, stereo);
    if (c.channels == 1)
        for (size_t i = 0; i < signal.size(); ++i) expected[i] = expected[2 * i];
    expected.resize(signal.size());
    ASSERT_EQ(host.size(), expected.size()) << log;
    EXPECT_EQ(host, expected) << c.plugin;
    EXPECT_NE(host, signal) << c.plugin << " left the audio as it was";
}

// 10007 frames: no host block length divides it.
TEST(Lv2Apply, EachPluginMatchesTheChainLayer) {
    const qc::Section left = qc::peakingSection(88200, 500, -3, 0.7);
    const std::vector<ApplyCase> cases = {
        {"eq", 48000, 2, "-c _63 6 -c _1k -4 -c _6_3k 3", "eq:63=6,1k=-4,6.3k=3", 0.4},
        {"eq-mono", 44100, 1, "-c _400 -5", "eq:400=-5", 0.4},
        {"alc", 44100, 2, "-c mode 1", "alc:mode=sample", 1.6},
        {"alc", 48000, 2, "-c mode 0 -c recovery 0.0002", "alc:mode=linked,recovery=0.0002", 1.6,
         true},
        {"surround", 44100, 2, "-c wide 0.3", "surround:hall=0.5,wide=0.3", 0.4},
        {"hpeq", 96000, 2, "-c section2_freq 3000 -c section2_gain 6 -c section2_q 2",
         "hpeq:file=" +
             sectionsFile("hpeq.txt", {qc::Section{}, qc::peakingSection(96000, 3000, 6, 2)}),
         0.4},
        {"personalize", 88200, 2, "-c left_freq 500 -c left_gain -3 -c left_q 0.7",
         "personalize:file=" + sectionsFile("personalize.txt", {left, qc::Section{}}), 0.4},
    };
    for (const ApplyCase& c : cases) expectSameAsChain(c, 10007);
}

// What the plug-ins told the tests' host through its log, whatever the kind.
std::vector<std::string> logged;

int logVprintf(LV2_Log_Handle, LV2_URID, const char* format, va_list args) {
    char text[512];
    const int length = std::vsnprintf(text, sizeof text, format, args);
    logged.emplace_back(text);
    return length;
}

int logPrintf(LV2_Log_Handle handle, LV2_URID type, const char* format, ...) {
    va_list args;
    va_start(args, format);
    const int length = logVprintf(handle, type, format, args);
    va_end(args);
    return length;
}

LV2_URID mapUri(LV2_URID_Map_Handle, const char* uri) {
    static std::map<std::string, LV2_URID> ids;
    return ids.emplace(uri, static_cast<LV2_URID>(ids.size() + 1)).first->second;
}

// A host of the tests' own, for block lengths and moments the tools do not choose.
class Host {
public:
    Host() : world(lilv_world_new()) { lilv_world_load_all(world); }
    ~Host() { lilv_world_free(world); }

    LilvInstance* instantiate(const std::string& name, double rate) {
        LilvNode* uri = lilv_new_uri(world, (kUri + name).c_str());
        const LilvPlugin* plugin = lilv_plugins_get_by_uri(lilv_world_get_all_plugins(world), uri);
        lilv_node_free(uri);
        return plugin ? lilv_plugin_instantiate(plugin, rate, features) : nullptr;
    }

private:
    LilvWorld* world;
    LV2_URID_Map map{nullptr, mapUri};
    LV2_Log_Log log{nullptr, logPrintf, logVprintf};
    LV2_Feature mapFeature{LV2_URID__map, &map};
    LV2_Feature logFeature{LV2_LOG__log, &log};
    const LV2_Feature* features[3] = {&mapFeature, &logFeature, nullptr};
};

// Drives a stereo instance with the equalizer's 15 ports.
struct EqRun {
    explicit EqRun(LilvInstance* instance) : instance(instance) {
        for (uint32_t port = 0; port < 4; ++port)
            lilv_instance_connect_port(instance, port, audio[port].data());
        controls[0] = 1.0f;
        for (uint32_t port = 4; port < 15; ++port)
            lilv_instance_connect_port(instance, port, &controls[port - 4]);
        lilv_instance_activate(instance);
    }
    ~EqRun() {
        lilv_instance_deactivate(instance);
        lilv_instance_free(instance);
    }

    // Runs `frames` of `in` from `first` on, appending to `out`.
    void block(const std::vector<float>& in, long first, uint32_t frames, std::vector<float>& out) {
        for (uint32_t i = 0; i < frames; ++i) {
            audio[0][i] = in[2 * (first + i)];
            audio[1][i] = in[2 * (first + i) + 1];
        }
        lilv_instance_run(instance, frames);
        for (uint32_t i = 0; i < frames; ++i) out.insert(out.end(), {audio[2][i], audio[3][i]});
    }

    LilvInstance* instance;
    std::vector<float> audio[4] = {std::vector<float>(8192), std::vector<float>(8192),
                                   std::vector<float>(8192), std::vector<float>(8192)};
    float controls[11] = {};
};

// The equalizer's history is process-wide, so the chain's reference is
// made in a process where nothing has run yet.
TEST(Lv2Host, OddBlocksMatchTheChainLayerAndAMovedControlActsAtTheNextBlock) {
    const std::vector<float> signal = testSignal(12000, 2, 0.4);
    const std::vector<float> expected =
        testutil::inFreshProcess<float>([&] { return chainOutput("eq:63=6", 48000, signal); });
    Host host;
    EqRun eq(host.instantiate("eq", 48000));
    std::vector<float> out;
    eq.controls[1] = 6.0f;  // 63 Hz
    long at = 0;
    for (uint32_t frames : {0u, 1u, 4095u, 0u, 7u, 7800u, 1u}) {
        eq.block(signal, at, frames, out);
        at += frames;
    }
    EXPECT_EQ(out, std::vector<float>(expected.begin(), expected.begin() + 2 * at));
    eq.controls[0] = 0.0f;  // the host's bypass
    std::vector<float> bypassed;
    eq.block(signal, at, 96, bypassed);
    EXPECT_EQ(bypassed, std::vector<float>(signal.begin() + 2 * at, signal.begin() + 2 * at + 192));
}

TEST(Lv2Host, AHighRateBandSetAtALowRateIsToldOfOnce) {
    Host host;
    EqRun eq(host.instantiate("eq", 48000));
    const std::vector<float> signal = testSignal(64, 2, 0.4);
    std::vector<float> out;
    eq.controls[8] = 3.0f;  // 32 kHz
    eq.block(signal, 0, 32, out);
    eq.controls[9] = 2.0f;  // low shelf
    eq.block(signal, 32, 32, out);
    ASSERT_EQ(logged.size(), 1u);
    EXPECT_NE(logged[0].find("32k band acts only at 88.2 and 96 kHz"), std::string::npos)
        << logged[0];
}

TEST(Lv2Host, RatesTheFilterDoesNotSupportPassUnchanged) {
    Host host;
    LilvInstance* instance = host.instantiate("hpeq", 48000);
    ASSERT_NE(instance, nullptr);
    float in[2][64], out[2][64], controls[10] = {1, 1000, 12, 1, 1000, 12, 1, 1000, 12, 1};
    for (int i = 0; i < 64; ++i) in[0][i] = in[1][i] = 0.01f * i;
    for (uint32_t c = 0; c < 2; ++c) {
        lilv_instance_connect_port(instance, c, in[c]);
        lilv_instance_connect_port(instance, 2 + c, out[c]);
    }
    for (uint32_t port = 4; port < 14; ++port)
        lilv_instance_connect_port(instance, port, &controls[port - 4]);
    lilv_instance_run(instance, 64);
    EXPECT_EQ(std::vector<float>(out[0], out[0] + 64), std::vector<float>(in[0], in[0] + 64));
    lilv_instance_free(instance);
}

TEST(Lv2Host, ASecondInstanceOfAFilterWithSharedStateIsRefused) {
    Host host;
    LilvInstance* first = host.instantiate("eq", 48000);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(host.instantiate("eq", 48000), nullptr);
    EXPECT_EQ(host.instantiate("eq-mono", 48000), nullptr);
    LilvInstance* level = host.instantiate("alc", 48000);
    LilvInstance* secondLevel = host.instantiate("alc", 48000);
    EXPECT_NE(level, nullptr);
    EXPECT_NE(secondLevel, nullptr) << "the level control keeps no shared state";
    lilv_instance_free(level);
    lilv_instance_free(secondLevel);
    lilv_instance_free(first);
    LilvInstance* again = host.instantiate("eq", 48000);
    EXPECT_NE(again, nullptr) << "freeing the first lets another in";
    lilv_instance_free(again);
}

}  // namespace
