#ifndef QUORVEX_TESTS_CLI_HARNESS_H
#define QUORVEX_TESTS_CLI_HARNESS_H

// Runs the built quorvex program and makes and reads the audio files the
// end-to-end tests hand it.

#include <sndfile.h>

#include <string>
#include <vector>

struct RunResult {
    int status = -1;  // exit status, or -1 when a signal ended the program
    std::string out;
    std::string err;
    long maxResidentKb = 0;
};

struct RunOptions {
    long fileSizeLimit = 0;      // bytes, when nonzero: the most one file may grow, as on a full disk
    bool stderrIsTerminal = false;  // a pseudo-terminal instead of a file
};

RunResult runQuorvex(const std::vector<std::string>& args, const RunOptions& options = {});

// A fresh directory, removed with everything in it at the end of the test.
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    std::string file(const std::string& name) const { return root + "/" + name; }
    // Names in the directory, hidden ones included.
    std::vector<std::string> names() const;

private:
    std::string root;
};

struct Audio {
    SF_INFO info{};
    std::vector<int> samples;       // interleaved, left-justified in 32 bits
    std::vector<double> values;     // the same samples at full scale 1.0
};

// Tones with harmonics and a little noise, about -6 dBFS, interleaved.
std::vector<double> musicLike(int frames, int channels, int rate);
void writeAudio(const std::string& path, int format, int rate, int channels,
                const std::vector<double>& samples);
Audio readAudio(const std::string& path);
std::string fileBytes(const std::string& path);
void writeText(const std::string& path, const std::string& text);

#endif
