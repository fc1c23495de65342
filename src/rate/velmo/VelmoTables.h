#ifndef QUORVEX_RATE_VELMO_VELMOTABLES_H
#define QUORVEX_RATE_VELMO_VELMOTABLES_H

// Coefficients of the up-sampling enhancer. The FIR tables are linear-phase
// and designed for the doubled output rate; each is written as its first half
// up to the centre tap and completed by its symmetry, so a stored value is
// exactly the double nearest the decimal below.

#include <array>
#include <cstddef>

#include "dsp/Section.h"

// h[k] = h[N-1-k]; `half` is h[0] .. h[(N-1)/2].
template <std::size_t N, std::size_t H>
constexpr std::array<double, N> evenSymmetric(const double (&half)[H]) {
    static_assert(N % 2 == 1 && H == (N + 1) / 2, "half table up to the centre tap");
    std::array<double, N> h{};
    for (std::size_t k = 0; k < H; ++k) {
        h[k] = half[k];
        h[N - 1 - k] = half[k];
    }
    return h;
}

// h[k] = -h[N-1-k]; `half` is h[0] .. h[(N-1)/2], ending in the zero centre tap.
template <std::size_t N, std::size_t H>
constexpr std::array<double, N> oddSymmetric(const double (&half)[H]) {
    static_assert(N % 2 == 1 && H == (N + 1) / 2, "half table up to the centre tap");
    std::array<double, N> h{};
    for (std::size_t k = 0; k + 1 < H; ++k) {
        h[k] = half[k];
        h[N - 1 - k] = -half[k];
    }
    h[H - 1] = half[H - 1];
    return h;
}

// Interpolation low-pass of the plain up-sampler.
inline constexpr std::array<double, 65> sOff_hf = evenSymmetric<65>({
    2.656469e-05, 1.111969e-05, -0.0001058269, -8.564796e-05, 0.0002355534, 0.0002991233,
    -0.0003742357, -0.0007432714, 0.0004093791, 0.001491236, -0.0001415924, -0.002545004,
    -0.0007077365, 0.003773793, 0.002456961, -0.004858459, -0.00539369, 0.005256757,
    0.009685558, -0.0041942, -0.01529459, 0.000659599, 0.02192209, 0.006674148,
    -0.02900711, -0.0198533, 0.03578972, 0.04334478, -0.04143229, -0.09302699,
    0.04517445, 0.3137954, 0.4535154,
});

// Low band and high bands of the CD kernels: the split lies at 0.2084 of the
// output rate.
inline constexpr std::array<double, 33> sVelmoCDlf = evenSymmetric<33>({
    4.604878e-05, 0.0001582732, -0.0002901254, -0.001186281, -4.725667e-12, 0.003843165,
    0.003231125, -0.007081105, -0.01296097, 0.005634336, 0.03110231, 0.01141775,
    -0.05460791, -0.06587875, 0.07513106, 0.3030982, 0.4166858,
});

inline constexpr std::array<double, 33> sVelmoCDhf32 = evenSymmetric<33>({
    -4.604564e-05, -0.0001582624, 0.0002901056, 0.0011862, -6.615482e-12, -0.003842903,
    -0.003230905, 0.007080622, 0.01296008, -0.005633952, -0.03110019, -0.01141697,
    0.05460419, 0.06587426, -0.07512594, -0.3030775, 0.5833204,
});

inline constexpr std::array<double, 129> sVelmoCDhf128 = evenSymmetric<129>({
    -1.151169e-05, -1.469447e-05, 1.509504e-05, 4.038502e-05, -8.033677e-13, -7.048348e-05,
    -4.661092e-05, 8.280835e-05, 0.0001256225, -4.59456e-05, -0.0002149856, -6.676733e-05,
    0.000265886, 0.0002564779, -0.000212835, -0.0004796137, 6.615643e-12, 0.0006420949,
    0.0003817855, -0.000617486, -0.0008613841, 0.0002921039, 0.001276071, 0.0003721877,
    -0.001399057, -0.001279559, 0.001010709, 0.002175524, -2.156546e-11, -0.002681742,
    -0.001536253, 0.002399619, 0.0032401, -0.001065762, -0.004525074, -0.001285196,
    0.004713007, 0.004212662, -0.003257774, -0.006877298, 4.465238e-11, 0.00819769,
    0.004630531, -0.007145468, -0.009550711, 0.003116379, 0.01315598, 0.003724422,
    -0.01365138, -0.01223384, 0.009518588, 0.02029829, -6.687784e-11, -0.02506105,
    -0.01454429, 0.02325059, 0.03253128, -0.01126243, -0.05136473, -0.01611154,
    0.06793461, 0.07442374, -0.07929293, -0.3071891, 0.5833346,
});

// Low band and high bands of the MP3 kernels: the split lies at 1/6 of the
// output rate.
inline constexpr std::array<double, 33> sVelmoMP3lf = evenSymmetric<33>({
    -4.604557e-05, -4.590552e-13, 0.0005024769, 0.001063517, 3.78027e-12, -0.003445448,
    -0.005596083, -1.232282e-11, 0.01296007, 0.01885154, 2.551499e-11, -0.03820186,
    -0.05460411, -3.821493e-11, 0.1301218, 0.2717315, 0.3333255,
});

inline constexpr std::array<double, 33> sVelmoMP3hf32 = evenSymmetric<33>({
    4.604681e-05, -9.18135e-13, -0.0005024904, -0.001063545, 7.560743e-12, 0.00344554,
    0.005596233, -2.464629e-11, -0.01296041, -0.01885205, 5.103134e-11, 0.03820288,
    0.05460557, -7.64319e-11, -0.1301252, -0.2717387, 0.6666688,
});

inline constexpr std::array<double, 129> sVelmoMP3hf128 = evenSymmetric<129>({
    1.151153e-05, -3.580263e-13, -2.614502e-05, -3.620773e-05, 9.181217e-13, 6.319291e-05,
    8.073139e-05, -1.825449e-12, -0.0001256208, -0.0001537349, 3.174746e-12, 0.0002234048,
    0.0002658824, -5.058723e-12, -0.0003686361, -0.0004300041, 7.560633e-12, 0.0005756788,
    0.000661263, -1.074634e-11, -0.0008613724, -0.0009773853, 1.465648e-11, 0.001245347,
    0.001399038, -1.929949e-11, -0.001750575, -0.001950495, 2.464593e-11, 0.002404352,
    0.002660832, -3.062507e-11, -0.003240056, -0.003566061, 3.712382e-11, 0.004300291,
    0.004712943, -4.39887e-11, -0.005642554, -0.006165933, 5.10306e-11, 0.007349748,
    0.008020207, -5.803243e-11, -0.009550582, -0.01042747, 6.475922e-11, 0.01246199,
    0.01365119, -7.097e-11, -0.01648646, -0.01819871, 7.643078e-11, 0.02246882,
    0.02519111, -8.092772e-11, -0.03253083, -0.03768432, 8.427952e-11, 0.05390953,
    0.06793369, -8.634824e-11, -0.1373375, -0.2754145, 0.6666591,
});

// High-pass in front of the envelope detector (0.104 of the output rate).
inline constexpr std::array<double, 33> sVelmohpf2 = evenSymmetric<33>({
    4.604654e-05, 8.565265e-05, -0.0001501727, -0.0009742926, -0.002303929, -0.003156391,
    -0.001672472, 0.00383208, 0.01296034, 0.02158211, 0.02199159, 0.005757854,
    -0.03152636, -0.08607054, -0.145135, -0.1910141, 0.7916646,
});

// Hilbert transformer of the envelope detector; the centre tap is zero.
inline constexpr std::array<double, 17> sDecAM_hn = oddSymmetric<17>({
    -0.00083198151, -0.0087884589, -0.00215167268, -0.0442372131, -0.00300498354, -0.148255084,
    -0.00224952742, -0.612373948, 0.0,
});

// The enhancer's second-order sections, b0, b1, b2, a1, a2 (feedback added).
using VelmoBiquadCoeffs = dsp::SectionCoeffs;

inline constexpr VelmoBiquadCoeffs sVelmoLpf2 = {0.2518023, 0.5036047, 0.2518023,
                                                 0.1715291, -0.1787385};
inline constexpr VelmoBiquadCoeffs sVelmoFine44K = {1.249563, 1.255873, 0.2489347,
                                                    -1.255873, -0.4984978};
inline constexpr VelmoBiquadCoeffs sVelmoSuper44K = {1.759259, 0.4286597, -1.147789,
                                                     -0.4971047, 0.4569755};
inline constexpr VelmoBiquadCoeffs sVelmoFine48K24 = {1.301114, 0.9863466, 0.0937905,
                                                      -0.9863466, -0.3949047};
inline constexpr VelmoBiquadCoeffs sVelmoFine48K16 = {1.359899, 1.003327, 0.05902015,
                                                      -1.003327, -0.4189189};
inline constexpr VelmoBiquadCoeffs sVelmoSuper48K24 = {1.830225, 0.2632845, -1.292848,
                                                       -0.3659064, 0.5652446};
inline constexpr VelmoBiquadCoeffs sVelmoSuper48K16 = {1.765796, 0.3260594, -1.304678,
                                                       -0.3260594, 0.5388824};

// Weight of the high band added to the low band ahead of the output section.
inline constexpr double kVelmoCDGain = 10.0;
inline constexpr double kVelmoMP3Gain = 40.0;

#endif
