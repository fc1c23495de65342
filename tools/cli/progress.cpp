#include "progress.h"

#include <cstdio>

namespace {

constexpr int kBarWidth = 30;
constexpr auto kRedrawInterval = std::chrono::milliseconds(100);

}  // namespace

Progress::Progress(bool visible, long long totalFrames, int rate)
    : visible(visible),
      totalFrames(totalFrames),
      rate(rate),
      start(std::chrono::steady_clock::now()),
      lastDrawn(start) {}

Progress::~Progress() {
    if (lineOpen) std::fputc('\n', stderr);
}

double Progress::elapsedSeconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Progress::realtimeFactor(long long framesDone) const {
    const double elapsed = elapsedSeconds();
    return elapsed > 0.0 ? static_cast<double>(framesDone) / rate / elapsed : 0.0;
}

void Progress::update(long long framesDone) {
    const auto now = std::chrono::steady_clock::now();
    if (!visible || now - lastDrawn < kRedrawInterval) return;
    lastDrawn = now;
    draw(framesDone);
}

void Progress::finish() {
    if (!visible) return;
    draw(totalFrames);
    std::fputc('\n', stderr);
    lineOpen = false;
}

void Progress::draw(long long framesDone) {
    const double fraction = totalFrames > 0 ? static_cast<double>(framesDone) / totalFrames : 1.0;
    const int filled = static_cast<int>(fraction * kBarWidth);
    char bar[kBarWidth + 1];
    for (int i = 0; i < kBarWidth; ++i) bar[i] = i < filled ? '#' : '.';
    bar[kBarWidth] = '\0';
    const int elapsed = static_cast<int>(elapsedSeconds());
    std::fprintf(stderr, "\r[%s] %3d%%  %d:%02d  %.1fx realtime ", bar,
                 static_cast<int>(fraction * 100.0), elapsed / 60, elapsed % 60,
                 realtimeFactor(framesDone));
    std::fflush(stderr);
    lineOpen = true;
}
