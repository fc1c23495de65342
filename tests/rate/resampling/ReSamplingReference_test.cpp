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
        for (int j = 1; j <= 1023; ++j) {
            if (hi * j % lo == 0) {
                m = hi * j;
                break;
            }
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
        h_.assign(kHalf + 1, 0.0);
        h_[0] = g;
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

    int kernel(int inLength, const double* in, int outSize, double* out) {
        const int frames = inLength / 2;
        const int64_t total = static_cast<int64_t>(frames) * outFreq_ + carry_;
        const int64_t n = total / inFreq_;
        if (2 * n > outSize || frames > 32768) return -1;
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

    // The filter's process: reconfigure on a new rate, check, feed in pieces.
    int process(int& objectRate, int outRate, const std::vector<double>& x, int rate,
                std::vector<double>& y) {
        if (rate != objectRate) {
            objectRate = rate;
            init(rate, outRate);
        }
        if (up_ == 0) return -1;
        const int length = static_cast<int>(x.size());
        const int64_t e = static_cast<int64_t>(length) * outRate / rate;
        const int64_t n = (static_cast<int64_t>(length / 2) * outFreq_ + carry_) / inFreq_;
        if (static_cast<int64_t>(y.size()) < e || static_cast<int64_t>(y.size()) < 2 * n) return -1;
        int written = 0;
        for (int at = 0; at < length; at += 65536) {
            const int piece = length - at < 65536 ? length - at : 65536;
            written += kernel(piece, x.data() + at, static_cast<int>(y.size()) - written,
                              y.data() + written);
        }
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

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

struct Step {
    int frames;  // a negative count means a trailing odd double as well
    int rate;
    bool reset = false;
};

// Feeds the same blocks to the filter and the reference and compares every
// double written, with the output area sized to what the block yields.
void expectSameAsReference(int inRate, int outRate, const std::vector<Step>& steps, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    ReSamplingFilter filter(inRate, 16, outRate, 24);
    Reference ref;
    ref.init(inRate, outRate);
    int refRate = inRate;
    int block = 0;
    for (const Step& s : steps) {
        if (s.reset) {
            filter.reset();
            ref.init(refRate, outRate);
        }
        const int frames = s.frames < 0 ? -s.frames : s.frames;
        std::vector<double> x(2 * static_cast<size_t>(frames) + (s.frames < 0 ? 1 : 0));
        for (double& v : x) v = u(rng);
        const size_t room = static_cast<size_t>(
            (static_cast<int64_t>(frames) + 1) * outRate / s.rate * 2 + 4);
        std::vector<double> want(room, 0.0);
        const int expected = ref.process(refRate, outRate, x, s.rate, want);
        std::vector<double> got(room, 0.0);
        RealAudioBuffer in(x.data(), static_cast<int>(x.size()), static_cast<int>(x.size()), s.rate,
                           16);
        RealAudioBuffer out(got.data(), static_cast<int>(room), 0, 0, 0);
        ASSERT_EQ(filter.process(&in, &out), 0) << "block " << block;
        ASSERT_EQ(out.length, expected) << "block " << block;
        for (int i = 0; i < expected; ++i)
            ASSERT_TRUE(sameBits(got[i], want[i]))
                << inRate << " -> " << outRate << " block " << block << " double " << i << ": "
                << got[i] << " vs " << want[i];
        ++block;
    }
}

}  // namespace

TEST(ReSamplingReference, OrdinaryRatePairsAcrossBlocksAndTheRingWrap) {
    // 44.1 -> 48 kHz over 150000 frames wraps the ring twice.
    std::vector<Step> steps;
    for (int f : {1, 7, -333, 1024, 4095, 0, 2, -1, 9973}) steps.push_back({f, 44100});
    for (int i = 0; i < 12; ++i) steps.push_back({11111 + i, 44100});
    expectSameAsReference(44100, 48000, steps, 1);
    expectSameAsReference(48000, 44100, {{1, 48000}, {-2047, 48000}, {30000, 48000}, {40001, 48000}},
                          2);
    // Windows that end one frame past the newest input.
    expectSameAsReference(44100, 96000, {{5, 44100}, {-99, 44100}, {2048, 44100}, {70000, 44100}},
                          3);
    expectSameAsReference(32000, 44100, {{17, 32000}, {-3001, 32000}, {25000, 32000}}, 4);
    expectSameAsReference(96000, 8000, {{3, 96000}, {-257, 96000}, {20000, 96000}}, 5);
    expectSameAsReference(22050, 96000, {{-1, 22050}, {4321, 22050}}, 6);
    expectSameAsReference(11025, 48000, {{-5, 11025}, {3000, 11025, true}, {1, 11025}}, 7);
    expectSameAsReference(48000, 96000, {{2, 48000}, {-6001, 48000}}, 8);
    expectSameAsReference(12345, 49380, {{-12, 12345}, {5000, 12345}}, 9);
}

TEST(ReSamplingReference, EqualRatesLongBlocksAndReinitialisation) {
    expectSameAsReference(48000, 48000,
                          {{100, 48000}, {-4097, 48000}, {70001, 48000}, {3, 48000, true},
                           {5000, 48000}, {777, 44100}, {-40000, 44100}, {1000, 44100, true},
                           {9000, 8000}},
                          10);
}

TEST(ReSamplingReference, LargeUpFactorsWithAnEmptyInitialWindow) {
    // Up factors of 12000 and 19200 leave the initial window without a past
    // frame; the second is beyond the per-phase table.
    expectSameAsReference(8, 96000, {{1, 8}, {2, 8}, {-1, 8}, {0, 8}, {3, 8}}, 11);
    expectSameAsReference(5, 96000, {{1, 5}, {2, 5}, {-1, 5}, {4, 5, true}, {1, 5}}, 12);
}

