#ifndef QUORVEX_CLI_PROGRESS_H
#define QUORVEX_CLI_PROGRESS_H

#include <chrono>

// A one-line progress bar on stderr: percent done, time elapsed and speed as a
// multiple of realtime. It draws only when told to (stderr a terminal, no
// --quiet).
class Progress {
public:
    Progress(bool visible, long long totalFrames, int rate);

    void update(long long framesDone);
    void finish();
    double elapsedSeconds() const;
    // Seconds of audio handled per second of work.
    double realtimeFactor(long long framesDone) const;

private:
    void draw(long long framesDone);

    bool visible;
    long long totalFrames;
    int rate;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point lastDrawn;
};

#endif
