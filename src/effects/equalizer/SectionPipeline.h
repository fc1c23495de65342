#ifndef QUORVEX_EFFECTS_EQUALIZER_SECTIONPIPELINE_H
#define QUORVEX_EFFECTS_EQUALIZER_SECTIONPIPELINE_H

// A cascade of sections over a block of stereo frames, skewed in time so that
// every section's recurrence is in flight at once: at step t, section k takes
// frame t - k. A frame-by-frame cascade waits on one section after another;
// here the sections of a step depend only on the step before. With two
// sections per vector, they share a 256-bit vector (both channels of section
// 2p in the low half, of section 2p + 1 in the high half); with one, each
// section has a 128-bit vector of its own, which builds without 256-bit
// vectors take whole. Either way each lane does exactly the multiplications
// and additions, in the order, of the frame-by-frame code.

#include "dsp/Section.h"
#include "dsp/StereoLanes.h"
#include "framework/KernelChoice.h"

namespace effects {

using LaneHistory = dsp::SectionHistory<dsp::StereoLanes>;

template <int Sections, int SectionsPerVector>
class SectionPipeline {
    static_assert(SectionsPerVector == 1 || SectionsPerVector == 2, "");

public:
    // `history` holds each section's state and is left as frame-by-frame
    // calls would have left it. `y` may be `x`.
    SectionPipeline(const dsp::SectionCoeffs* coeffs, LaneHistory* history)
        : coeffs(coeffs), history(history) {}

    QUORVEX_KERNEL_INLINE void run(const double* x, double* y, int frames) {
        if (frames <= 0) return;
        scalarSteps(x, y, frames, 0, Sections - 1);
        if (frames >= Sections) {
            if constexpr (SectionsPerVector == 2)
                pairedSteps(x, y, frames);
            else
                singleSteps(x, y, frames);
        }
        scalarSteps(x, y, frames, frames > Sections - 1 ? frames : Sections - 1,
                    frames + Sections - 1);
    }

private:
    typedef double PairLanes __attribute__((vector_size(32)));
    static constexpr int kPairs = (Sections + 1) / 2;

    // Vectors this wide pass by reference only: a build without AVX would
    // pass them by value differently.
    QUORVEX_KERNEL_INLINE static void setPair(PairLanes& v, dsp::StereoLanes low,
                                              dsp::StereoLanes high) {
        v = __builtin_shufflevector(low, high, 0, 1, 2, 3);
    }
    QUORVEX_KERNEL_INLINE static dsp::StereoLanes lowHalf(const PairLanes& v) {
        return __builtin_shufflevector(v, v, 0, 1);
    }
    QUORVEX_KERNEL_INLINE static dsp::StereoLanes highHalf(const PairLanes& v) {
        return __builtin_shufflevector(v, v, 2, 3);
    }

    // Steps first .. last-1 one section at a time, each only where its frame
    // lies in the block: the pipeline filling and draining. The last section
    // goes first so that every section reads its neighbour's previous output.
    QUORVEX_KERNEL_INLINE void scalarSteps(const double* x, double* y, int frames, int first,
                                           int last) {
        for (int t = first; t < last; ++t)
            for (int k = Sections - 1; k >= 0; --k) {
                const int frame = t - k;
                if (frame < 0 || frame >= frames) continue;
                const dsp::StereoLanes in = k == 0 ? dsp::loadLanes(x + 2 * frame) : outputs[k - 1];
                outputs[k] = dsp::runSection(coeffs[k], history[k], in);
                if (k == Sections - 1) dsp::storeLanes(y + 2 * frame, outputs[k]);
            }
    }

    // Steps Sections-1 .. frames-1, where every section has a frame, one
    // section per vector.
    QUORVEX_KERNEL_INLINE void singleSteps(const double* x, double* y, int frames) {
        LaneHistory h[Sections];
        dsp::StereoLanes out[Sections];
        for (int k = 0; k < Sections; ++k) {
            h[k] = history[k];
            out[k] = outputs[k];
        }
        for (int t = Sections - 1; t < frames; ++t) {
            dsp::StereoLanes in[Sections];
            in[0] = dsp::loadLanes(x + 2 * t);
            for (int k = 1; k < Sections; ++k) in[k] = out[k - 1];
            for (int k = 0; k < Sections; ++k) out[k] = dsp::runSection(coeffs[k], h[k], in[k]);
            dsp::storeLanes(y + 2 * (t - Sections + 1), out[Sections - 1]);
        }
        for (int k = 0; k < Sections; ++k) {
            history[k] = h[k];
            outputs[k] = out[k];
        }
    }

    // Steps Sections-1 .. frames-1, where every section has a frame, in pairs.
    // With an odd count the last pair's high half is a stand-in whose lanes
    // are never read back.
    QUORVEX_KERNEL_INLINE void pairedSteps(const double* x, double* y, int frames) {
        dsp::BasicSectionCoeffs<PairLanes> c[kPairs];
        dsp::SectionHistory<PairLanes> h[kPairs];
        PairLanes out[kPairs];
        for (int p = 0; p < kPairs; ++p) {
            const int k = 2 * p;
            const dsp::SectionCoeffs& a = coeffs[k];
            const dsp::SectionCoeffs b = k + 1 < Sections ? coeffs[k + 1] : dsp::SectionCoeffs{};
            c[p] = {PairLanes{a.b0, a.b0, b.b0, b.b0}, PairLanes{a.b1, a.b1, b.b1, b.b1},
                    PairLanes{a.b2, a.b2, b.b2, b.b2}, PairLanes{a.a1, a.a1, b.a1, b.a1},
                    PairLanes{a.a2, a.a2, b.a2, b.a2}};
            const LaneHistory hb = k + 1 < Sections ? history[k + 1] : LaneHistory{};
            setPair(h[p].d1, history[k].d1, hb.d1);
            setPair(h[p].d2, history[k].d2, hb.d2);
            setPair(out[p], outputs[k], k + 1 < Sections ? outputs[k + 1] : dsp::StereoLanes{});
        }
        for (int t = Sections - 1; t < frames; ++t) {
            PairLanes in[kPairs];
            setPair(in[0], dsp::loadLanes(x + 2 * t), lowHalf(out[0]));
            for (int p = 1; p < kPairs; ++p)
                in[p] = __builtin_shufflevector(out[p - 1], out[p], 2, 3, 4, 5);
            for (int p = 0; p < kPairs; ++p) {
                dsp::runSectionOn(c[p], h[p], in[p]);
                out[p] = in[p];
            }
            const PairLanes& last = out[kPairs - 1];
            dsp::storeLanes(y + 2 * (t - Sections + 1),
                            Sections % 2 == 0 ? highHalf(last) : lowHalf(last));
        }
        for (int p = 0; p < kPairs; ++p) {
            const int k = 2 * p;
            history[k] = {lowHalf(h[p].d1), lowHalf(h[p].d2)};
            outputs[k] = lowHalf(out[p]);
            if (k + 1 < Sections) {
                history[k + 1] = {highHalf(h[p].d1), highHalf(h[p].d2)};
                outputs[k + 1] = highHalf(out[p]);
            }
        }
    }

    const dsp::SectionCoeffs* coeffs;
    LaneHistory* history;
    // Each section's latest output, the next section's input one step on.
    dsp::StereoLanes outputs[Sections] = {};
};

}  // namespace effects

#endif
