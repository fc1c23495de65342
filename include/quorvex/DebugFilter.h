#ifndef QUORVEX_DEBUGFILTER_H
#define QUORVEX_DEBUGFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/RealAudioBuffer.h>
#include <quorvex/export.h>

// A transparent wrapper for diagnostics: every call reaches the inner filter
// unchanged and its result comes back unchanged. Around each block it counts
// (1, 2, ..., interval, 1, ...; off when interval <= 0) and reads the library
// clock; nothing is reported. The inner filter is not owned.
class QUORVEX_API DebugFilter : public RealAudioFilter {
public:
    DebugFilter(RealAudioFilter* filter, int interval, bool flag);
    ~DebugFilter() override;

    DebugFilter(const DebugFilter&) = delete;
    DebugFilter& operator=(const DebugFilter&) = delete;

    // "Debug:[<inner name>]", cut at 198 characters.
    const char* getName() override;
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    friend struct DebugFilterProbe;

    bool flag;
    int interval;
    int counter;
    RealAudioFilter* filter;
    char name[199];
};

#endif
