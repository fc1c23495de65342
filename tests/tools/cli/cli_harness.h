#ifndef QUORVEX_TESTS_CLI_HARNESS_H
#define QUORVEX_TESTS_CLI_HARNESS_H

// Runs the built quorvex program and makes and reads the audio files the
// end-to-end tests hand it.

#include <gtest/gtest.h>
#include <sndfile.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

constexpr int kRate = 44100;
constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16, kWav24 = SF_FORMAT_WAV | SF_FORMAT_PCM_24,
              kWavFloat = SF_FORMAT_WAV | SF_FORMAT_FLOAT,
              kFlac16 = SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
              kFlac24 = SF_FORMAT_FLAC | SF_FORMAT_PCM_24,
              kAiff16 = SF_FORMAT_AIFF | SF_FORMAT_PCM_16,
              kAiff24 = SF_FORMAT_AIFF | SF_FORMAT_PCM_24;

inline std::string fileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void writeText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

struct RunResult {
    int status = -1;  // exit status, or -1 when a signal ended the program
    std::string out;
    std::string err;
    long maxResidentKb = 0;
};

// `fileSizeLimit`, when nonzero, is the most one file may grow, as on a full disk.
inline RunResult runProgram(const std::string& program, const std::vector<std::string>& args,
                            long fileSizeLimit = 0) {
    char outPath[] = "/tmp/quorvex-run-out-XXXXXX";
    char errPath[] = "/tmp/quorvex-run-err-XXXXXX";
    close(mkstemp(outPath));
    close(mkstemp(errPath));
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        dup2(open(outPath, O_WRONLY), STDOUT_FILENO);
        dup2(open(errPath, O_WRONLY), STDERR_FILENO);
        const rlimit limit{static_cast<rlim_t>(fileSizeLimit), static_cast<rlim_t>(fileSizeLimit)};
        if (fileSizeLimit > 0) setrlimit(RLIMIT_FSIZE, &limit);
        execv(argv[0], argv.data());
        _exit(127);
    }
    RunResult result;
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.maxResidentKb = usage.ru_maxrss;
    result.out = fileBytes(outPath);
    result.err = fileBytes(errPath);
    unlink(outPath);
    unlink(errPath);
    return result;
}

inline RunResult runQuorvex(const std::vector<std::string>& args, long fileSizeLimit = 0) {
    return runProgram(QUORVEX_CLI_PATH, args, fileSizeLimit);
}

// A fresh directory, removed with everything in it at the end of the test.
class ScratchDir {
public:
    ScratchDir() {
        char path[] = "/tmp/quorvex-test-XXXXXX";
        root = mkdtemp(path);
    }
    ~ScratchDir() {
        for (const std::string& name : names()) unlink(file(name).c_str());
        rmdir(root.c_str());
    }
    std::string file(const std::string& name) const { return root + "/" + name; }
    // Names in the directory, hidden ones included, in order.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        DIR* dir = opendir(root.c_str());
        while (dirent* entry = readdir(dir)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") found.push_back(name);
        }
        closedir(dir);
        std::sort(found.begin(), found.end());
        return found;
    }

private:
    std::string root;
};

// Tones with harmonics and a little noise, about -6 dBFS, interleaved.
inline std::vector<double> musicLike(int frames, int channels, int rate = kRate) {
    std::mt19937 noise(7);
    std::uniform_real_distribution<double> spread(-0.02, 0.02);
    std::vector<double> samples(static_cast<size_t>(frames) * channels);
    for (size_t i = 0; i < samples.size(); ++i) {
        const double phase =
            2 * std::acos(-1.0) * (220.0 + 110.0 * (i % channels)) * (i / channels) / rate;
        for (int h = 1; h <= 5; ++h) samples[i] += 0.1 / h * std::sin(h * phase);
        samples[i] += spread(noise);
    }
    return samples;
}

// `samples` `repeat` times over, as a file of `format`.
inline void writeAudio(const std::string& path, int format, int channels,
                       const std::vector<double>& samples, int rate = kRate, int repeat = 1) {
    SF_INFO info{0, rate, channels, format, 0, 0};
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    const sf_count_t frames = static_cast<sf_count_t>(samples.size()) / channels;
    for (int r = 0; r < repeat; ++r) sf_writef_double(file, samples.data(), frames);
    sf_close(file);
}

struct Audio {
    SF_INFO info{};
    std::vector<double> values;  // interleaved, full scale 1.0; exact for every integer depth
};

inline Audio readAudio(const std::string& path) {
    Audio audio;
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &audio.info);
    EXPECT_NE(file, nullptr) << "cannot read " << path << ": " << sf_strerror(nullptr);
    if (file == nullptr) return audio;
    audio.values.resize(static_cast<size_t>(audio.info.frames * audio.info.channels));
    sf_readf_double(file, audio.values.data(), audio.info.frames);
    sf_close(file);
    return audio;
}

#endif
