#ifndef QUORVEX_CLI_PROGRESS_H
#define QUORVEX_CLI_PROGRESS_H

#include <chrono>

// A one-line progress bar on stderr: percent done, time elapsed and speed as a
// multiple of realtime. It draws only when told to (stderr a terminal, no
// --quiet).
class Progress {
public:
    Progress(bool visible, long long totalFrames, int rate);
    // Ends a bar left unfinished by an error, so the message gets a line of its own.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void update(long long framesDone);
    void finish();
    double elapsedSeconds() const;
    // Seconds of audio handled per second of work.
    double realtimeFactor(long long framesDone) const;

private:
    void draw(long long framesDone);

    bool visible;
    bool lineOpen = false;  // a bar is drawn and its line not yet ended
    long long totalFrames;
    int rate;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point lastDrawn;
};

#endif
