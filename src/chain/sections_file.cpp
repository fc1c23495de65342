#include "sections_file.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

namespace quorvex::chain {

namespace {

constexpr double kLargestCoefficient = coefficient_set::kLimit;
constexpr double kPi = 3.14159265358979323846;

// The larger distance of the two poles from the origin, for the denominator
// 1 - a1 z^-1 - a2 z^-2: the roots of z^2 - a1 z - a2.
double poleRadius(const Section& section) {
    const double discriminant = section.a1 * section.a1 + 4.0 * section.a2;
    if (discriminant < 0.0) return std::sqrt(-section.a2);
    return (std::fabs(section.a1) + std::sqrt(discriminant)) / 2.0;
}

// Both poles strictly inside the unit circle, decided on the coefficients
// themselves (the stability triangle) so that no rounding of a root can
// let a pole on the circle through.
bool isStable(const Section& section) {
    return std::fabs(section.a2) < 1.0 && std::fabs(section.a1) < 1.0 - section.a2;
}

Section parseSection(const std::string& where, const std::string& line) {
    std::istringstream fields(line);
    double row[6];
    for (double& value : row)
        if (!(fields >> value))
            throw StreamError(where + ": a section needs six numbers, b0 b1 b2 a0 a1 a2");
    std::string rest;
    if (fields >> rest) throw StreamError(where + ": more than six numbers in one section");
    const double a0 = row[3];
    if (a0 == 0.0) throw StreamError(where + ": a0 must not be 0");
    const Section section{row[0] / a0, row[1] / a0, row[2] / a0, -row[4] / a0, -row[5] / a0};
    for (double c : {section.b0, section.b1, section.b2, section.a1, section.a2})
        if (!(c >= -kLargestCoefficient && c <= kLargestCoefficient))
            throw StreamError(
                where + ": after dividing by a0, every coefficient must lie within -" +
                numberText(kLargestCoefficient) + " to " + numberText(kLargestCoefficient));
    if (!isStable(section))
        throw StreamError(where + ": the section is unstable: a pole lies at radius " +
                          numberText(poleRadius(section)) +
                          ", not inside the unit circle, so its output would grow without bound");
    return section;
}

}  // namespace

std::vector<Section> readSections(const std::string& filter, const std::string& path, size_t most) {
    std::ifstream file(path);
    if (!file) throw StreamError(filter + ": cannot read " + path + ": " + std::strerror(errno));
    std::vector<Section> sections;
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        line = line.substr(0, line.find('#'));
        if (line.find_first_not_of(" \t\r,") == std::string::npos) continue;
        for (char& c : line)
            if (c == ',') c = ' ';
        const std::string where = filter + ": " + path + " line " + std::to_string(number);
        sections.push_back(parseSection(where, line));
        if (sections.size() > most)
            throw StreamError(where + ": " + filter + " takes at most " + std::to_string(most) +
                              " sections");
    }
    if (sections.empty()) throw StreamError(filter + ": " + path + " holds no section");
    return sections;
}

void requireHighRate(const std::string& filter, const StreamFormat& input) {
    requireRate(filter, input, {88200, 96000},
                " (at 44100 and 48000 Hz it would pass the audio unchanged)");
}

bool sectionAccepted(const Section& section) {
    for (double c : {section.b0, section.b1, section.b2, section.a1, section.a2})
        if (!(c >= -kLargestCoefficient && c <= kLargestCoefficient)) return false;
    return isStable(section);
}

Section peakingSection(double rate, double frequency, double gain, double q) {
    if (gain == 0.0) return Section{};  // exactly, not a pole and zero that cancel
    const double amplitude = std::pow(10.0, gain / 40.0);
    const double w0 = 2.0 * kPi * frequency / rate;
    const double alpha = std::sin(w0) / (2.0 * q);
    const double cosine = std::cos(w0);
    const double a0 = 1.0 + alpha / amplitude;
    return {(1.0 + alpha * amplitude) / a0, -2.0 * cosine / a0, (1.0 - alpha * amplitude) / a0,
            2.0 * cosine / a0, -(1.0 - alpha / amplitude) / a0};
}

void writeSection(unsigned char* block, int offset, const Section& section) {
    using namespace coefficient_set;
    const auto put = [&](int field, double value) {
        std::memcpy(block + offset + field, &value, sizeof value);
    };
    put(kA0, 1.0);
    put(kA1, section.a1);
    put(kA2, section.a2);
    put(kB0, section.b0);
    put(kB1, section.b1);
    put(kB2, section.b2);
}

}  // namespace quorvex::chain
