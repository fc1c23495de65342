#ifndef QUORVEX_CLEANRESAMPLER_H
#define QUORVEX_CLEANRESAMPLER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/export.h>

#include <cstdint>
#include <memory>

namespace quorvex {

// Converts a stereo stream to a fixed output rate through a linear-phase
// low-pass: flat within 0.01 dB up to 0.9 x the lower of the two Nyquist
// frequencies and more than 120 dB down from that Nyquist frequency on, so
// neither images nor aliases survive whichever way the rate goes. Close
// rates (44.1 kHz to 48 kHz: 168 input taps per output) take one polyphase
// stage; rates far apart (44.1 kHz to 96 kHz, 96 kHz to 44.1 or 48 kHz)
// take the steep part by FFT convolution at twice the lower rate and a short
// polyphase stage between that and the other rate.
//
// Every instance keeps its own state, so several may run at once on
// different threads. Rates from 8 kHz to 384 kHz convert when their ratio
// reduces to terms the filter table can hold (kMostRatioTerm); equal
// rates pass the samples through untouched. The input rate follows the
// blocks: a block at a new rate sets the converter up again for it, which is
// the only time it allocates.
//
// Over a stream at one rate pair the output is exactly
// floor(input frames x output rate / input rate) frames, however the blocks
// are cut, and it lags the input by latencySeconds().
class QUORVEX_API CleanResampler : public RealAudioFilter {
public:
    CleanResampler(int inRate, int outRate, int outBits);
    ~CleanResampler() override;
    CleanResampler(const CleanResampler&) = delete;
    CleanResampler& operator=(const CleanResampler&) = delete;

    // The rates it takes, and the largest term of a reduced rate ratio.
    static constexpr int kLowestRate = 8000;
    static constexpr int kHighestRate = 384000;
    static constexpr int kMostRatioTerm = 8192;

    // Whether the converter takes `inRate` to `outRate`.
    static bool converts(int inRate, int outRate);

    const char* getName() override;
    // The converter has no parameter block: both return 0.
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    // Clears the history and the carried fraction; the rates stay.
    void reset() override;
    // Returns -1, writing nothing, when the block's rate does not convert to
    // the output rate or `out` has room for fewer doubles than the block
    // completes (outputFrames(in->length / 2) frames).
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

    // Whether the current rate pair converts.
    bool ready() const;
    // Output frames the next block of `inFrames` frames at the current input
    // rate completes, the carried fraction included; 0 when not ready.
    int64_t outputFrames(int64_t inFrames) const;
    // How much later than its input the output comes, at the current rates.
    double latencySeconds() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace quorvex

#endif
