#include <quorvex/ReSamplingFilter.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

// The converter written out step by step, one output and one tap at a time,
// with a state of its own: the optimised filter must match it bit for bit.
class Reference {
public:
    int init(int inRate, int outRate) {
        const int64_t hi = inRate > outRate ? inRate : outRate;
        const int64_t lo = inRate > outRate ? outRate : inRate;
        int64_t m = 0;
        for (int j = 1; j <= 1023 && m == 0; ++j) {
            if (hi * j % lo == 0) m = hi * j;
        }
        if (m <= 0) return -1;
        inFreq_ = inRate;
        outFreq_ = outRate;
        up_ = static_cast<int>(m / inRate);
        down_ = static_cast<int>(m / outRate);
        const int img = outRate * down_;

        const double fc = outRate * 0.88;
        const double b = bessel(10.0);
        const double g = fc * 0.5 * up_ * 2 / img;
        const double w = fc * 3.141592653589793 / img;
        h_.assign(kHalf + 1, g);
        for (int i = 1; i <= kHalf; ++i) {
            const double r = static_cast<double>(i) / kHalf;
            h_[i] = g * std::sin(i * w) / (i * w) * bessel(10.0 * std::sqrt(1 - r * r)) / b;
        }
        ring_.assign(2 * kRing, 0.0);
        iptr_ = 0;
        sptr_ = -(kHalf / up_);
        sptrr_ = -(kHalf % up_);
        eptr_ = kHalf / up_;
        eptrr_ = kHalf % up_;
        carry_ = 0;
        return 0;
    }

    int kernel(int inLength, const double* in, double* out) {
        const int frames = inLength / 2;
        const int64_t total = static_cast<int64_t>(frames) * outFreq_ + carry_;
        const int64_t n = total / inFreq_;
        carry_ = total % inFreq_;
        if (iptr_ == 0) iptr_ = eptr_;
        for (int f = 0; f < frames; ++f) {
            const int64_t slot = ((iptr_ + f) % kRing + kRing) % kRing;
            ring_[2 * slot] = in[2 * f];
            ring_[2 * slot + 1] = in[2 * f + 1];
        }
        iptr_ += frames;
        const int q = down_ / up_;
        const int r = down_ % up_;
        for (int64_t o = 0; o < n; ++o) {
            double accL = 0.0;
            double accR = 0.0;
            int t = -kHalf - sptrr_;
            for (int64_t k = sptr_; k <= eptr_; ++k, t += up_) {
                const int64_t slot = (k % kRing + kRing) % kRing;
                accL += h_[t < 0 ? -t : t] * ring_[2 * slot];
                accR += h_[t < 0 ? -t : t] * ring_[2 * slot + 1];
            }
            out[2 * o] = accL;
            out[2 * o + 1] = accR;
            sptr_ += q;
            sptrr_ += r;
            if (sptrr_ > 0) {
                sptrr_ -= up_;
                sptr_ += 1;
            }
            eptr_ += q;
            eptrr_ += r;
            if (eptrr_ >= up_) {
                eptrr_ -= up_;
                eptr_ += 1;
            }
        }
        return static_cast<int>(2 * n);
    }

    // The filter's process on an output area that is large enough: set up
    // again on a new rate, then feed the block in pieces of 32768 frames.
    int process(int& objectRate, int outRate, const std::vector<double>& x, int rate, double* y) {
        if (rate != objectRate) {
            objectRate = rate;
            init(rate, outRate);
        }
        const int length = static_cast<int>(x.size());
        int written = 0;
        for (int at = 0; at < length; at += 65536)
            written += kernel(length - at < 65536 ? length - at : 65536, &x[at], y + written);
        return written;
    }

private:
    static double bessel(double x) {
        double s = 1.0;
        double u = x * 0.5;
        double k = 1.0;
        while (u > 1e-10) {
            s = s + u * u;
            k = k + 1.0;
            u = u * x * 0.5 / k;
        }
        return s;
    }

    static constexpr int kHalf = 4096;
    static constexpr int64_t kRing = 65536;
    int inFreq_ = 0;
    int outFreq_ = 0;
    int up_ = 0;
    int down_ = 0;
    std::vector<double> h_;
    std::vector<double> ring_;
    int64_t iptr_ = 0;
    int64_t sptr_ = 0;
    int sptrr_ = 0;
    int64_t eptr_ = 0;
    int eptrr_ = 0;
    int64_t carry_ = 0;
};

struct Step {
    int frames;  // a negative count means a trailing odd double as well
    int rate;
    bool reset = false;
};

// Feeds the same blocks to the filter and the reference and compares every
// double written, bit for bit.
void expectSameAsReference(int inRate, int outRate, const std::vector<Step>& steps, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    ReSamplingFilter filter(inRate, 16, outRate, 24);
    Reference ref;
    ref.init(inRate, outRate);
    int refRate = inRate;
    for (size_t block = 0; block < steps.size(); ++block) {
        const Step& s = steps[block];
        if (s.reset) {
            filter.reset();
            ref.init(refRate, outRate);
        }
        const int frames = s.frames < 0 ? -s.frames : s.frames;
        std::vector<double> x(2 * static_cast<size_t>(frames) + (s.frames < 0 ? 1 : 0));
        for (double& v : x) v = u(rng);
        const size_t room = static_cast<size_t>((int64_t{frames} + 1) * outRate / s.rate * 2 + 4);
        std::vector<double> want(room, 0.0);
        std::vector<double> got(room, 0.0);
        const int expected = ref.process(refRate, outRate, x, s.rate, want.data());
        RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), s.rate,
                           16);
        RealAudioBuffer out(got.data(), static_cast<int>(room), 0, 0, 0);
        ASSERT_EQ(filter.process(&in, &out), 0) << "block " << block;
        ASSERT_EQ(out.length, expected) << "block " << block;
        for (int i = 0; i < expected; ++i)
            ASSERT_EQ(std::memcmp(&got[i], &want[i], sizeof(double)), 0)
                << inRate << " -> " << outRate << " block " << block << " double " << i << ": "
                << got[i] << " vs " << want[i];
    }
}

}  // namespace

TEST(ReSamplingReference, OrdinaryRatePairsAcrossBlocksAndTheRingWrap) {
    // 44.1 -> 48 kHz over 150000 frames wraps the ring twice.
    std::vector<Step> steps;
    for (int f : {1, 7, -333, 1024, 4095, 0, 2, -1, 9973}) steps.push_back({f, 44100});
    for (int i = 0; i < 12; ++i) steps.push_back({11111 + i, 44100});
    expectSameAsReference(44100, 48000, steps, 1);
    expectSameAsReference(48000, 44100,
                          {{1, 48000}, {-2047, 48000}, {30000, 48000}, {40001, 48000}}, 2);
    // Windows that end one frame past the newest input.
    expectSameAsReference(44100, 96000, {{5, 44100}, {-99, 44100}, {2048, 44100}, {70000, 44100}},
                          3);
    expectSameAsReference(32000, 44100, {{17, 32000}, {-3001, 32000}, {25000, 32000}}, 4);
    // Windows of 8193 frames across the ring's end.
    expectSameAsReference(96000, 8000,
                          {{3, 96000}, {-257, 96000}, {32769, 96000}, {33000, 96000}}, 5);
    expectSameAsReference(22050, 96000, {{-1, 22050}, {4321, 22050}}, 6);
    expectSameAsReference(11025, 48000, {{-5, 11025}, {3000, 11025, true}, {1, 11025}}, 7);
    expectSameAsReference(48000, 96000, {{2, 48000}, {-6001, 48000}}, 8);
    expectSameAsReference(12345, 49380, {{-12, 12345}, {5000, 12345}}, 9);
}

TEST(ReSamplingReference, EqualRatesLongBlocksAndReinitialisation) {
    expectSameAsReference(48000, 48000,
                          {{100, 48000}, {-4097, 48000}, {33000, 48000}, {3, 48000, true},
                           {500, 48000}, {777, 44100}, {-40000, 44100}, {1000, 44100, true},
                           {9000, 8000}},
                          10);
}

TEST(ReSamplingReference, LargeUpFactorsWithAnEmptyInitialWindow) {
    // Up factors of 12000 and 19200 leave the initial window without a past
    // frame; the second is beyond the per-phase table.
    expectSameAsReference(8, 96000, {{1, 8}, {2, 8}, {-1, 8}, {0, 8}, {3, 8}}, 11);
    expectSameAsReference(5, 96000, {{1, 5}, {2, 5}, {-1, 5}, {4, 5, true}, {1, 5}}, 12);
}

