#ifndef QUORVEX_COMPOSITIONFILTER_H
#define QUORVEX_COMPOSITIONFILTER_H

#include <quorvex/AudioFilter.h>
#include <quorvex/RealAudioBuffer.h>
#include <quorvex/export.h>

#include <array>

// Runs 2 to 10 filters in series as one: member 0 reads the input, each later
// member reads its predecessor's output, the last writes the output. The
// intermediate blocks alternate between two scratch buffers that grow to the
// output's capacity. Parameter calls and reset reach every member; the
// members are not owned and must outlive the composition.
class QUORVEX_API CompositionFilter : public RealAudioFilter {
public:
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2);
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3);
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                      RealAudioFilter* f4);
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                      RealAudioFilter* f4, RealAudioFilter* f5);
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                      RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6);
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                      RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6,
                      RealAudioFilter* f7);
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                      RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6,
                      RealAudioFilter* f7, RealAudioFilter* f8);
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                      RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6,
                      RealAudioFilter* f7, RealAudioFilter* f8, RealAudioFilter* f9);
    CompositionFilter(RealAudioFilter* f1, RealAudioFilter* f2, RealAudioFilter* f3,
                      RealAudioFilter* f4, RealAudioFilter* f5, RealAudioFilter* f6,
                      RealAudioFilter* f7, RealAudioFilter* f8, RealAudioFilter* f9,
                      RealAudioFilter* f10);
    ~CompositionFilter() override;

    CompositionFilter(const CompositionFilter&) = delete;
    CompositionFilter& operator=(const CompositionFilter&) = delete;

    // "CF:[<name 1> -> <name 2> -> ...]", cut at 4078 characters.
    const char* getName() override;
    // Offered to every member; returns the last nonzero answer, else 0.
    int setParamData(unsigned long id, const void* block, int size) override;
    int getParamData(unsigned long id, void* block, int size) override;
    void reset() override;
    // Returns the first negative member result (later members do not run),
    // or -1 when a scratch buffer could not be grown.
    int process(const RealAudioBuffer* in, RealAudioBuffer* out) override;

private:
    friend struct CompositionFilterProbe;
    using Members = std::array<RealAudioFilter*, 10>;

    CompositionFilter(int count, const Members& members);
    void initCF();
    template <typename Call>
    int offerToMembers(Call call);

    int count;
    RealAudioFilter* filters[10];
    RealAudioBuffer* scratchA;
    RealAudioBuffer* scratchB;
    char name[4079];
};

#endif
