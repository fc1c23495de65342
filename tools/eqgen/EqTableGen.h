#ifndef QUORVEX_TOOLS_EQGEN_EQTABLEGEN_H
#define QUORVEX_TOOLS_EQGEN_EQTABLEGEN_H

// The graphic equalizer's coefficient tables. The peaking bands and the high
// shelf follow from their design formulas, evaluated in double precision and
// rounded to six significant digits; the low shelf (band 8) is measured data
// carried over as it stands. eqgen prints the table source from this, and the
// tests compare the checked-in tables against it.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace eqgen {

constexpr int kSteps = 25;       // gain index i is i - 12 dB
constexpr int kBandStride = 75;  // three runs of kSteps per band
constexpr int kFlatIndex = 12;

struct Section {
    double b0, b1, b2, a1, a2;
};

enum class Kind { Peaking, LowShelf, HighShelf };

struct Band {
    Kind kind;
    double f0;  // centre or corner frequency in Hz; unused for the low shelf
};

struct RateTables {
    int rate;
    const char* tag;  // "44k", "48k", ...
    std::vector<Band> bands;
    std::vector<double> feedback;     // a0 (always 0), a1, a2 runs
    std::vector<double> feedForward;  // b0, b1, b2 runs
};

// The decimal of six significant digits nearest to v, as the nearest double.
inline double sixDigits(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", v);
    return std::strtod(text, nullptr);
}

inline Section rounded(const Section& s) {
    return {sixDigits(s.b0), sixDigits(s.b1), sixDigits(s.b2), sixDigits(s.a1), sixDigits(s.a2)};
}

// Peaking section with Q 1.4; a1, a2 are feedback coefficients that the
// filter adds.
inline Section peaking(double f0, double fs, int gainDb) {
    const double A = std::pow(10.0, gainDb / 40.0);
    const double w0 = 2.0 * M_PI * f0 / fs;
    const double alpha = std::sin(w0) / (2.0 * 1.4);
    const double D = 1.0 + alpha / A;
    return rounded({(1.0 + alpha * A) / D, -2.0 * std::cos(w0) / D, (1.0 - alpha * A) / D,
                    2.0 * std::cos(w0) / D, -(1.0 - alpha / A) / D});
}

// High shelf with Q 0.25.
inline Section highShelf(double f0, double fs, int gainDb) {
    const double A = std::pow(10.0, gainDb / 40.0);
    const double w0 = 2.0 * M_PI * f0 / fs;
    const double cw = std::cos(w0);
    const double alpha = std::sin(w0) / (2.0 * 0.25);
    const double r = 2.0 * std::sqrt(A) * alpha;
    const double m = (A + 1.0) - (A - 1.0) * cw + r;
    return rounded(
        {A * ((A + 1.0) + (A - 1.0) * cw + r) / m, -2.0 * A * ((A - 1.0) + (A + 1.0) * cw) / m,
         A * ((A + 1.0) + (A - 1.0) * cw - r) / m, -2.0 * ((A - 1.0) - (A + 1.0) * cw) / m,
         -((A + 1.0) - (A - 1.0) * cw - r) / m});
}

// Low shelf around 160 Hz, by gain index.
constexpr Section kLowShelf88k[kSteps] = {{0.992531, -1.97008, 0.977618, 1.96999, -0.970244},
                                          {0.993172, -1.97092, 0.977817, 1.97084, -0.971076},
                                          {0.993809, -1.97174, 0.977999, 1.97166, -0.971885},
                                          {0.99444, -1.97253, 0.978162, 1.97246, -0.972672},
                                          {0.995068, -1.97329, 0.978308, 1.97323, -0.973437},
                                          {0.995692, -1.97404, 0.978436, 1.97399, -0.974181},
                                          {0.996313, -1.97477, 0.978546, 1.97472, -0.974904},
                                          {0.996931, -1.97547, 0.978639, 1.97544, -0.975607},
                                          {0.997547, -1.97616, 0.978714, 1.97613, -0.976291},
                                          {0.998161, -1.97683, 0.978772, 1.9768, -0.976956},
                                          {0.998775, -1.97747, 0.978813, 1.97746, -0.977602},
                                          {0.999387, -1.9781, 0.978836, 1.97809, -0.978231},
                                          {1, -1.97871, 0.978842, 1.97871, -0.978842},
                                          {1.00061, -1.97931, 0.97883, 1.97931, -0.979436},
                                          {1.00123, -1.97988, 0.978802, 1.9799, -0.980014},
                                          {1.00184, -1.98044, 0.978755, 1.98047, -0.980575},
                                          {1.00246, -1.98099, 0.978692, 1.98102, -0.981121},
                                          {1.00308, -1.98152, 0.978611, 1.98156, -0.981652},
                                          {1.0037, -1.98203, 0.978512, 1.98208, -0.982168},
                                          {1.00433, -1.98253, 0.978396, 1.98258, -0.982669},
                                          {1.00496, -1.98301, 0.978262, 1.98308, -0.983157},
                                          {1.00559, -1.98348, 0.97811, 1.98355, -0.983631},
                                          {1.00623, -1.98394, 0.97794, 1.98402, -0.984091},
                                          {1.00687, -1.98438, 0.977752, 1.98447, -0.984539},
                                          {1.00753, -1.98481, 0.977546, 1.98491, -0.984975}};

constexpr Section kLowShelf96k[kSteps] = {{0.993133, -1.97249, 0.979415, 1.97241, -0.972629},
                                          {0.993723, -1.97326, 0.979599, 1.97319, -0.973395},
                                          {0.994308, -1.97401, 0.979766, 1.97395, -0.97414},
                                          {0.994889, -1.97474, 0.979917, 1.97468, -0.974864},
                                          {0.995466, -1.97545, 0.980051, 1.9754, -0.975569},
                                          {0.99604, -1.97614, 0.980169, 1.97609, -0.976253},
                                          {0.996611, -1.9768, 0.980271, 1.97677, -0.976919},
                                          {0.997179, -1.97745, 0.980356, 1.97742, -0.977567},
                                          {0.997745, -1.97808, 0.980426, 1.97806, -0.978196},
                                          {0.99831, -1.9787, 0.980479, 1.97868, -0.978808},
                                          {0.998874, -1.97929, 0.980517, 1.97928, -0.979403},
                                          {0.999437, -1.97987, 0.980539, 1.97987, -0.979982},
                                          {1, -1.98044, 0.980544, 1.98044, -0.980544},
                                          {1.00056, -1.98098, 0.980534, 1.98099, -0.981091},
                                          {1.00113, -1.98151, 0.980508, 1.98153, -0.981623},
                                          {1.00169, -1.98203, 0.980465, 1.98205, -0.982139},
                                          {1.00226, -1.98253, 0.980407, 1.98256, -0.982642},
                                          {1.00283, -1.98302, 0.980332, 1.98305, -0.98313},
                                          {1.0034, -1.98349, 0.980242, 1.98353, -0.983605},
                                          {1.00398, -1.98395, 0.980135, 1.98399, -0.984066},
                                          {1.00455, -1.98439, 0.980012, 1.98445, -0.984515},
                                          {1.00514, -1.98483, 0.979872, 1.98489, -0.984951},
                                          {1.00572, -1.98525, 0.979716, 1.98531, -0.985374},
                                          {1.00632, -1.98566, 0.979543, 1.98573, -0.985786},
                                          {1.00691, -1.98605, 0.979354, 1.98613, -0.986187}};

inline std::vector<Band> bandsAt(int rate) {
    std::vector<Band> bands;
    for (double f0 : {63.0, 160.0, 400.0, 1000.0, 2500.0, 6300.0, 16000.0})
        bands.push_back({Kind::Peaking, f0});
    if (rate == 88200 || rate == 96000) {
        bands.push_back({Kind::Peaking, 32000.0});
        bands.push_back({Kind::LowShelf, 160.0});
        bands.push_back({Kind::HighShelf, rate == 88200 ? 20000.0 : 16000.0});
    }
    return bands;
}

inline Section sectionAt(const Band& band, int rate, int index) {
    const int gainDb = index - kFlatIndex;
    switch (band.kind) {
        case Kind::Peaking: return peaking(band.f0, rate, gainDb);
        case Kind::HighShelf: return highShelf(band.f0, rate, gainDb);
        case Kind::LowShelf: break;
    }
    return rate == 88200 ? kLowShelf88k[index] : kLowShelf96k[index];
}

inline RateTables makeTables(int rate) {
    RateTables t{rate, nullptr, bandsAt(rate), {}, {}};
    t.tag = rate == 44100 ? "44k" : rate == 48000 ? "48k" : rate == 88200 ? "88k" : "96k";
    t.feedback.assign(t.bands.size() * kBandStride, 0.0);
    t.feedForward.assign(t.bands.size() * kBandStride, 0.0);
    for (size_t k = 0; k < t.bands.size(); ++k) {
        for (int i = 0; i < kSteps; ++i) {
            const Section s = sectionAt(t.bands[k], rate, i);
            double* b = &t.feedForward[k * kBandStride + i];
            double* a = &t.feedback[k * kBandStride + i];
            b[0] = s.b0;
            b[kSteps] = s.b1;
            b[2 * kSteps] = s.b2;
            a[kSteps] = s.a1;
            a[2 * kSteps] = s.a2;
        }
    }
    return t;
}

inline const int kRates[] = {44100, 48000, 88200, 96000};

// A literal that reads back as exactly v: six significant digits suffice
// because every value is already rounded to them.
inline std::string literal(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", v);
    std::string s = text;
    if (s.find_first_of(".e") == std::string::npos) s += ".0";
    return s;
}

inline std::string bandTitle(const Band& band) {
    char text[64];
    switch (band.kind) {
        case Kind::Peaking: std::snprintf(text, sizeof text, "peaking %g Hz", band.f0); break;
        case Kind::LowShelf: std::snprintf(text, sizeof text, "low shelf"); break;
        case Kind::HighShelf: std::snprintf(text, sizeof text, "high shelf %g Hz", band.f0); break;
    }
    return text;
}

inline void appendTable(std::string& out, const RateTables& t, const char* suffix,
                        const std::vector<double>& values, const char* const runNames[3]) {
    out += "inline constexpr double gEQ_Coeff" + std::string(t.tag) + "_" + suffix + "[" +
           std::to_string(values.size()) + "] = {\n";
    for (size_t k = 0; k < t.bands.size(); ++k) {
        for (int run = 0; run < 3; ++run) {
            out += "    // band " + std::to_string(k) + ", " + bandTitle(t.bands[k]) + ": " +
                   runNames[run] + "\n";
            for (int i = 0; i < kSteps; ++i) {
                out += i % 5 == 0 ? "    " : " ";
                out += literal(values[k * kBandStride + run * kSteps + i]) + ",";
                if (i % 5 == 4) out += "\n";
            }
        }
    }
    out += "};\n\n";
}

// The complete source of the table header.
inline std::string tableSource() {
    static const char* const feedbackRuns[3] = {"a0 (unused)", "a1", "a2"};
    static const char* const feedForwardRuns[3] = {"b0", "b1", "b2"};
    std::string out =
        "// Generated by tools/eqgen: do not edit.\n"
        "// Graphic equalizer sections by rate. Band k holds three runs of 25 values\n"
        "// from element 75k on, one per coefficient, indexed by gain step (i - 12 dB).\n"
        "// Feedback coefficients are added: H(z) = (b0 + b1 z^-1 + b2 z^-2) /\n"
        "// (1 - a1 z^-1 - a2 z^-2).\n"
        "#ifndef QUORVEX_EFFECTS_EQUALIZER_EQUALIZERTABLES_H\n"
        "#define QUORVEX_EFFECTS_EQUALIZER_EQUALIZERTABLES_H\n\n";
    for (int rate : kRates) {
        const RateTables t = makeTables(rate);
        appendTable(out, t, "A", t.feedback, feedbackRuns);
        appendTable(out, t, "B", t.feedForward, feedForwardRuns);
    }
    out += "#endif\n";
    return out;
}

}  // namespace eqgen

#endif
