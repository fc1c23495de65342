#ifndef QUORVEX_CLI_DEMO_SIGNAL_H
#define QUORVEX_CLI_DEMO_SIGNAL_H

// The demo's test signal and the measurement that shows what the enhancer
// added above the signal's band.

#include <vector>

// Interleaved stereo: plucked tones with harmonics, a rising sweep and noise
// bursts, band-limited just below `cutoffHz` as lossy compression leaves
// music; peak at -1 dBFS.
std::vector<double> demoSignal(int rate, double seconds, double cutoffHz);

// RMS level in dBFS of what an interleaved stereo signal holds above `hz`.
double levelAbove(const std::vector<double>& stereo, int rate, double hz);

#endif
