#ifndef QUORVEX_TESTS_SUPPORT_TESTFILTERS_H
#define QUORVEX_TESTS_SUPPORT_TESTFILTERS_H

#include <quorvex/AudioFilter.h>

#include <string>
#include <vector>

namespace testing_filters {

// A configurable stand-in filter that records what it was given. By default
// it copies its input like an effect; it can scale, repeat frames like an
// up-sampler, emit fixed doubles, report another format, fail, or answer one
// parameter identifier.
class ProbeFilter : public RealAudioFilter {
public:
    explicit ProbeFilter(std::string label = "Probe") : label(std::move(label)) {}

    std::string label;
    double gain = 1.0;
    int repeat = 1;               // output frames per input frame
    std::vector<double> emit;     // when set, written instead of the input
    int reportRate = 0;           // 0: the input's rate
    int reportBits = 0;           // 0: the input's depth
    int failWith = 0;             // a negative value is returned without writing
    unsigned long paramId = 0;
    int paramAnswer = 0;

    int processCalls = 0;
    int resetCalls = 0;
    int paramCalls = 0;
    const RealAudioBuffer* lastIn = nullptr;
    RealAudioBuffer* lastOut = nullptr;
    int seenInLength = -1;
    int seenOutLength = -1;
    int seenOutCapacity = -1;
    int seenOutRate = -1;
    int seenOutBits = -1;
    int seenOutChannels = -1;

    const char* getName() override { return label.c_str(); }

    int setParamData(unsigned long id, const void*, int) override { return answer(id); }
    int getParamData(unsigned long id, void*, int) override { return answer(id); }
    void reset() override { ++resetCalls; }

    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override {
        record(in, out);
        if (failWith < 0) return failWith;
        const std::vector<double> y = produce(*in);
        if (static_cast<int>(y.size()) > out->capacity) return -1;
        for (size_t i = 0; i < y.size(); ++i) out->data[i] = y[i];
        out->length = static_cast<int>(y.size());
        out->sampleRate = reportRate != 0 ? reportRate : in->sampleRate;
        out->bitsPerSample = reportBits != 0 ? reportBits : in->bitsPerSample;
        return 0;
    }

private:
    int answer(unsigned long id) {
        ++paramCalls;
        return id == paramId ? paramAnswer : 0;
    }

    void record(const RealAudioBuffer* in, RealAudioBuffer* out) {
        ++processCalls;
        lastIn = in;
        lastOut = out;
        seenInLength = in->length;
        seenOutLength = out->length;
        seenOutCapacity = out->capacity;
        seenOutRate = out->sampleRate;
        seenOutBits = out->bitsPerSample;
        seenOutChannels = out->channels;
    }

    std::vector<double> produce(const RealAudioBuffer& in) const {
        if (!emit.empty()) return emit;
        std::vector<double> y;
        for (int f = 0; f + 1 < in.length; f += 2)
            for (int r = 0; r < repeat; ++r) {
                y.push_back(in.data[f] * gain);
                y.push_back(in.data[f + 1] * gain);
            }
        return y;
    }
};

}  // namespace testing_filters

#endif
