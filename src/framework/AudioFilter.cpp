#include <quorvex/AudioFilter.h>

// Out of line so the interfaces' type information lives in the library.
RealAudioFilter::~RealAudioFilter() = default;
IntAudioFilter::~IntAudioFilter() = default;
