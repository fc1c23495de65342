#ifndef QUORVEX_TESTS_SUPPORT_TESTFILTERS_H
#define QUORVEX_TESTS_SUPPORT_TESTFILTERS_H

#include <quorvex/AudioFilter.h>

#include <string>
#include <vector>

namespace testutil {

// A stand-in filter that records what it was given. It copies its input
// scaled by `gain`, each frame `repeat` times, or writes `emit`; it can
// report another format, fail, or answer one parameter identifier.
class ProbeFilter : public RealAudioFilter {
public:
    explicit ProbeFilter(std::string label = "Probe") : label(std::move(label)) {}

    std::string label;
    double gain = 1.0;
    int repeat = 1;
    std::vector<double> emit;
    int reportRate = 0, reportBits = 0;  // 0: the input's
    int failWith = 0;
    unsigned long paramId = 0;
    int paramAnswer = 0;

    int processCalls = 0, resetCalls = 0, paramCalls = 0;
    const RealAudioBuffer* lastIn = nullptr;
    RealAudioBuffer* lastOut = nullptr;

    const char* getName() override { return label.c_str(); }
    int setParamData(unsigned long id, const void*, int) override { return answer(id); }
    int getParamData(unsigned long id, void*, int) override { return answer(id); }
    void reset() override { ++resetCalls; }

    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override {
        ++processCalls;
        lastIn = in;
        lastOut = out;
        if (failWith < 0) return failWith;
        std::vector<double> y = emit;
        for (int f = 0; emit.empty() && f + 1 < in->length; f += 2)
            for (int r = 0; r < repeat; ++r)
                y.insert(y.end(), {in->data[f] * gain, in->data[f + 1] * gain});
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
};

}  // namespace testutil

#endif
