#ifndef QUORVEX_RATE_CLEAN_CLEANDESIGN_H
#define QUORVEX_RATE_CLEAN_CLEANDESIGN_H

// The clean converter's filter: a Kaiser-windowed sinc low-pass on the time
// axis at the rates' least common multiple, cut into one run of taps per
// output phase.

#include <quorvex/CleanResampler.h>

#include <vector>

namespace quorvex::clean {

// Taps come in groups of this many, the width of the kernel's lanes.
inline constexpr int kTapGroup = 8;
// Consecutive outputs summed together over one pass of the history.
inline constexpr int kBatch = 4;
inline constexpr long kMostTableTaps = 1L << 22;
// The pass band ends at this fraction of the lower Nyquist frequency; the
// stop band starts at that frequency. One edge for both forms of the
// converter, so they pass the same band.
inline constexpr double kPassFraction = 0.9;

// A rate pair reduced to its ratio and the filter that converts it.
struct Design {
    int up = 0;    // phases: output rate over the rates' greatest common divisor
    int down = 0;  // input rate over it
    int taps = 0;  // input frames per output, a whole number of tap groups
    // Zero taps before each run, a whole number of tap groups: as far as an
    // output of a batch may start past the tap group its first output starts
    // in. As many and one group more follow the run.
    int pad = 0;
    double cutoff = 0.0;  // the low-pass edge, in cycles per input period
    // Whether each phase's run sums to 1; otherwise the table as a whole
    // averages 1 per phase, for a stop band reaching past the input rate,
    // where the runs' sums differ by design.
    bool phasesSumToOne = true;

    int rowStride() const { return taps + 2 * pad + kTapGroup; }

    bool passThrough() const { return up == down; }
};

// The design for a rate pair, or one with up == 0 when the pair does not
// convert (a rate outside the converter's range, a ratio term beyond
// kMostRatioTerm, too large a table).
Design designFor(int inRate, int outRate);

// The design of the short stage beside the steep one: flat to `passHz`,
// stopping from `stopHz`; up == 0 when the pair's terms or its table are
// too large.
Design shortDesignFor(int inRate, int outRate, double passHz, double stopHz);

// The phase table: run p (of d.taps taps, oldest input first, starting
// d.pad floats into row p of d.rowStride()) weights the inputs of an output
// that lies p / d.up input periods past an input frame. Each run sums to 1,
// so a constant comes out unchanged (on average over the phases when the
// design says otherwise).
std::vector<float> phaseTable(const Design& d);

// The taps of a linear-phase low-pass of odd length reaching the stop-band
// attenuation the converter is built for across a transition `width` wide
// (cycles per sample), its edge at `cutoff`, summing to `gain`.
std::vector<double> steepTaps(double cutoff, double width, double gain);

}  // namespace quorvex::clean

#endif
