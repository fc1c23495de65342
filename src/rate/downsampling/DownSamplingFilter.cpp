#include <quorvex/DownSamplingFilter.h>

namespace {

constexpr int kTaps = 65;

// Low-pass for 96 kHz: flat within 0.0002 to 18 kHz, 6 dB down at 22 kHz,
// at least 79 dB down from 26 kHz. Symmetric; the three trailing zeros pad
// the table and are never read.
constexpr double sDown96To48_hf[kTaps + 3] = {
    2.302312e-05,  3.675669e-05,  -7.91322e-05,  -0.000147914,  0.0001450547,  0.0003972371,
    -0.0001589228, -0.0008440471, -5.197946e-12, 0.00151406,    0.000514858,   -0.002357844,
    -0.001615473,  0.00320736,    0.003540357,   -0.003740803,  -0.006480126,  0.003463302,
    0.01051323,    -0.00170088,   -0.0155503,    -0.002417595,  0.02130462,    0.01006904,
    -0.02730245,   -0.02317793,   0.03293755,    0.04615452,    -0.03756345,   -0.09490857,
    0.04060521,    0.3144547,     0.4583291,     0.3144547,     0.04060521,    -0.09490857,
    -0.03756345,   0.04615452,    0.03293755,    -0.02317793,   -0.02730245,   0.01006904,
    0.02130462,    -0.002417595,  -0.0155503,    -0.00170088,   0.01051323,    0.003463302,
    -0.006480126,  -0.003740803,  0.003540357,   0.00320736,    -0.001615473,  -0.002357844,
    0.000514858,   0.00151406,    -5.197946e-12, -0.0008440471, -0.0001589228, 0.0003972371,
    0.0001450547,  -0.000147914,  -7.91322e-05,  3.675669e-05,  2.302312e-05,  0.0,
    0.0,           0.0,
};

// One frame through the transposed-form FIR. The history lives here for the
// whole process: elements 0..64 hold the left channel, 65..129 the right.
inline void DownSampling96TO48(double inL, double inR, double* outL, double* outR) {
    static double d[2 * kTaps];
    double* dL = d;
    double* dR = d + kTaps;
    for (int i = 0; i < kTaps - 1; ++i) {
        dL[i] = inL * sDown96To48_hf[i] + dL[i + 1];
        dR[i] = sDown96To48_hf[i] * inR + dR[i + 1];
    }
    dL[kTaps - 1] = inL * sDown96To48_hf[kTaps - 1];
    dR[kTaps - 1] = inR * sDown96To48_hf[kTaps - 1];
    *outL = dL[0];
    *outR = dR[0];
}

}  // namespace

DownSamplingFilter::DownSamplingFilter(int inBits, int outBits)
    : inBits(inBits), outBits(outBits) {}

DownSamplingFilter::~DownSamplingFilter() = default;

const char* DownSamplingFilter::getName() { return "DownSampler"; }

int DownSamplingFilter::setParamData(unsigned long, const void*, int) { return 0; }

int DownSamplingFilter::getParamData(unsigned long, void*, int) { return 0; }

void DownSamplingFilter::reset() {}

int DownSamplingFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    const int frames = in->length / 2;
    if (in->length < 0 || frames > out->capacity) return -1;
    const double* x = in->data;
    double* y = out->data;
    double discardL;
    double discardR;
    for (int i = 0; i < frames; ++i) {
        const bool kept = (i & 1) == 0;
        // With an odd frame count the right value of the last kept frame
        // would fall one past the doubles the block reports: drop it.
        const bool rightFits = i + 1 < frames;
        DownSampling96TO48(x[2 * i], x[2 * i + 1], kept ? &y[i] : &discardL,
                           kept && rightFits ? &y[i + 1] : &discardR);
    }
    out->length = frames;
    out->sampleRate = in->sampleRate / 2;
    out->bitsPerSample = outBits;
    return 0;
}
