#include "cli_harness.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <fcntl.h>
#include <dirent.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

namespace {

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void redirect(int fd, const std::string& path) {
    const int target = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(target, fd);
    close(target);
}

// The master side of a fresh pseudo-terminal; its slave's name in `slave`.
int openTerminal(std::string& slave) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    grantpt(master);
    unlockpt(master);
    slave = ptsname(master);
    return master;
}

std::string drain(int fd) {
    std::string text;
    char chunk[4096];
    for (ssize_t got; (got = read(fd, chunk, sizeof chunk)) > 0;) text.append(chunk, static_cast<size_t>(got));
    return text;
}

}  // namespace

RunResult runQuorvex(const std::vector<std::string>& args, const RunOptions& options) {
    char outPath[] = "/tmp/quorvex-run-out-XXXXXX";
    char errPath[] = "/tmp/quorvex-run-err-XXXXXX";
    close(mkstemp(outPath));
    close(mkstemp(errPath));

    std::vector<char*> argv{const_cast<char*>(QUORVEX_CLI_PATH)};
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);

    std::string terminal;
    const int master = options.stderrIsTerminal ? openTerminal(terminal) : -1;
    const pid_t child = fork();
    if (child == 0) {
        redirect(STDOUT_FILENO, outPath);
        redirect(STDERR_FILENO, options.stderrIsTerminal ? terminal : errPath);
        if (options.fileSizeLimit > 0) {
            const rlim_t most = static_cast<rlim_t>(options.fileSizeLimit);
            const rlimit limit{most, most};
            setrlimit(RLIMIT_FSIZE, &limit);
        }
        execv(argv[0], argv.data());
        _exit(127);
    }
    RunResult result;
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.maxResidentKb = usage.ru_maxrss;
    result.out = slurp(outPath);
    result.err = options.stderrIsTerminal ? drain(master) : slurp(errPath);
    if (master >= 0) close(master);
    unlink(outPath);
    unlink(errPath);
    return result;
}

ScratchDir::ScratchDir() {
    char path[] = "/tmp/quorvex-test-XXXXXX";
    root = mkdtemp(path);
}

ScratchDir::~ScratchDir() {
    for (const std::string& name : names()) unlink(file(name).c_str());
    rmdir(root.c_str());
}

std::vector<std::string> ScratchDir::names() const {
    std::vector<std::string> found;
    DIR* dir = opendir(root.c_str());
    while (dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (name != "." && name != "..") found.push_back(name);
    }
    closedir(dir);
    return found;
}

std::vector<double> musicLike(int frames, int channels, int rate) {
    std::mt19937 noise(7);
    std::uniform_real_distribution<double> spread(-0.02, 0.02);
    std::vector<double> samples(static_cast<size_t>(frames) * channels);
    const double pi = std::acos(-1.0);
    for (int f = 0; f < frames; ++f) {
        const double t = static_cast<double>(f) / rate;
        for (int c = 0; c < channels; ++c) {
            double x = 0.0;
            for (int h = 1; h <= 5; ++h) x += 0.1 / h * std::sin(2 * pi * (220.0 + 110.0 * c) * h * t);
            samples[static_cast<size_t>(f) * channels + c] = x + spread(noise);
        }
    }
    return samples;
}

void writeAudio(const std::string& path, int format, int rate, int channels,
                const std::vector<double>& samples) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = format;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
    sf_writef_double(file, samples.data(), static_cast<sf_count_t>(samples.size()) / channels);
    sf_close(file);
}

Audio readAudio(const std::string& path) {
    Audio audio;
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &audio.info);
    if (file == nullptr) {
        ADD_FAILURE() << "cannot read " << path << ": " << sf_strerror(nullptr);
        return audio;
    }
    const size_t count = static_cast<size_t>(audio.info.frames * audio.info.channels);
    audio.samples.resize(count);
    audio.values.resize(count);
    sf_readf_int(file, audio.samples.data(), audio.info.frames);
    sf_seek(file, 0, SEEK_SET);
    sf_readf_double(file, audio.values.data(), audio.info.frames);
    sf_close(file);
    return audio;
}

std::string fileBytes(const std::string& path) { return slurp(path); }

void writeText(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}
