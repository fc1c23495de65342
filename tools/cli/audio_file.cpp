#include "audio_file.h"

#include "error.h"
#include "stream_io.h"

#include <quorvex/chain.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>

namespace {

std::string systemError() { return std::strerror(errno); }

// libsndfile's messages may start with "Error : " and end with a full stop;
// ours are one plain line.
std::string withoutFullStop(std::string text) {
    const std::string prefix = "Error : ";
    if (text.rfind(prefix, 0) == 0) text.erase(0, prefix.size());
    while (!text.empty() && (text.back() == '.' || text.back() == '\n')) text.pop_back();
    return text;
}

// A writer that cannot seek back to its header, as into a pipe, leaves one
// of these in place of the audio chunk's size; the audio then runs to the
// end of the file.
bool isPlaceholderSize(unsigned long long size) {
    return size == 0xFFFFFFFF || size == 0x7FFFF000 || size == 0x7F000008;
}

// libsndfile opens a WAV or AIFF file whose audio chunk is cut short and
// notes it in its log, on the chunk's line ("data : 352800 (should be
// 176400)"; AIFF chunks are indented). A file that ends inside the chunk's
// own header shows a short read just before a chunk line of size 0. A file
// that ends early is an error here, not audio.
bool logShowsShortAudioChunk(SNDFILE* file) {
    char log[8192] = {0};
    sf_command(file, SFC_GET_LOG_INFO, log, sizeof log);
    std::istringstream lines(log);
    std::string line;
    bool afterShortRead = false;
    while (std::getline(lines, line)) {
        const size_t start = line.find_first_not_of(' ');
        if (start == std::string::npos) continue;
        const std::string chunk = line.substr(start, 6);
        if (chunk == "data :" || chunk == "SSND :") {
            if (afterShortRead) return true;
            if (line.find("should be") != std::string::npos)
                return !isPlaceholderSize(std::strtoull(line.c_str() + start + 6, nullptr, 10));
        }
        afterShortRead = line.find("short count") != std::string::npos;
    }
    return false;
}

std::string formatName(int format) {
    SF_FORMAT_INFO query{};
    query.format = format;
    sf_command(nullptr, SFC_GET_FORMAT_INFO, &query, sizeof query);
    return query.name ? query.name : "unknown";
}

// Integer PCM as libsndfile hands it over: left-justified in 32 bits.
void packSample(int32_t sample, int bits, unsigned char* bytes) {
    const uint32_t value = static_cast<uint32_t>(sample) >> (32 - bits);
    for (int i = 0; i < bits / 8; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}

int32_t unpackSample(const unsigned char* bytes, int bits) {
    uint32_t value = 0;
    for (int i = 0; i < bits / 8; ++i) value |= static_cast<uint32_t>(bytes[i]) << (8 * i);
    return static_cast<int32_t>(value << (32 - bits));
}

// 2^exponent for the exponents a sample's depth gives, without a library
// call, so the loops over a block stay inline. Scaling by it is exact, as
// std::ldexp is.
double twoTo(int exponent) {
    const auto power = static_cast<double>(1LL << (exponent < 0 ? -exponent : exponent));
    return exponent < 0 ? 1.0 / power : power;
}

// A left-justified sample as a count of steps of a `bits`-bit depth; NaN
// lands on the lowest step.
int32_t leftJustified(double steps, int bits) {
    const double most = twoTo(bits - 1);
    const double nearest = std::floor(steps + 0.5);
    const double aboveLowest = nearest > -most ? nearest : -most;
    const double clamped = aboveLowest < most - 1.0 ? aboveLowest : most - 1.0;
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<int64_t>(clamped))
                                << (32 - bits));
}

// A left-justified sample as a count of steps of a `bits`-bit depth, unrounded.
double stepsOf(int32_t sample, int bits) { return static_cast<double>(sample) * twoTo(bits - 32); }

int majorFormatOfType(const std::string& type) {
    if (type == "wav") return SF_FORMAT_WAV;
    if (type == "flac") return SF_FORMAT_FLAC;
    if (type == "aif" || type == "aiff") return SF_FORMAT_AIFF;
    if (type == "raw") return SF_FORMAT_RAW | SF_ENDIAN_LITTLE;
    return 0;
}

std::string extensionOf(const std::string& path) {
    const size_t dot = path.find_last_of("./");
    std::string extension =
        dot == std::string::npos || path[dot] == '/' ? "" : path.substr(dot + 1);
    for (char& c : extension) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

// The container named by `type`, or else by the path's extension.
int majorFormatFor(const std::string& path, const std::string& type) {
    if (!type.empty()) return majorFormatOfType(type);
    if (isStandardStream(path))
        throw UsageError(
            "standard output has no extension; name its type with -t wav, -t flac, "
            "-t aiff or -t raw before the -");
    const std::string extension = extensionOf(path);
    const int format = extension == "raw" ? 0 : majorFormatOfType(extension);
    if (format != 0) return format;
    throw UsageError(path + ": quorvex writes .wav, .flac and .aiff files; choose one of these");
}

// The depth of the integer PCM `file` stores exactly as the blocks we hand
// around hold it (interleaved, little-endian, packed), which raw reads and
// writes then move without converting each sample; 0 for any other storage.
int packedDepthOf(SNDFILE* file, int format) {
    if (__BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__) return 0;
    switch (format & SF_FORMAT_TYPEMASK) {
        case SF_FORMAT_WAV:
        case SF_FORMAT_WAVEX:
        case SF_FORMAT_W64:
        case SF_FORMAT_RF64:
        case SF_FORMAT_AIFF:
        case SF_FORMAT_RAW: break;
        default: return 0;
    }
    if (sf_command(file, SFC_RAW_DATA_NEEDS_ENDSWAP, nullptr, 0) != SF_FALSE) return 0;
    switch (format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_16: return 16;
        case SF_FORMAT_PCM_24: return 24;
        case SF_FORMAT_PCM_32: return 32;
        default: return 0;
    }
}

int subtypeFor(SampleEncoding encoding) {
    switch (encoding) {
        case SampleEncoding::Pcm16: return SF_FORMAT_PCM_16;
        case SampleEncoding::Pcm24: return SF_FORMAT_PCM_24;
        case SampleEncoding::Pcm32: return SF_FORMAT_PCM_32;
        case SampleEncoding::Float: return SF_FORMAT_FLOAT;
    }
    return 0;
}

}  // namespace

bool isStandardStream(const std::string& path) { return path == "-"; }

namespace {

// A descriptor libsndfile can seek in: the file itself, or a pipe's contents
// kept in a temporary file.
int openForReading(const std::string& path) {
    const bool stdinStream = isStandardStream(path);
    const int fd = stdinStream ? STDIN_FILENO : open(path.c_str(), O_RDONLY);
    struct stat status {};
    if (fd < 0 || fstat(fd, &status) != 0)
        throw CliError("cannot read " + path + ": " + systemError());
    if (S_ISREG(status.st_mode)) return stdinStream ? dup(fd) : fd;
    const int kept = spool(fd, stdinStream ? "standard input" : path);
    if (!stdinStream) close(fd);
    return kept;
}

}  // namespace

InputFile::InputFile(const std::string& path, const FileFormat& format, TruncatedInput truncation)
    : filePath(path), truncation(truncation) {
    const int fd = openForReading(path);
    if (format.type == "raw") {
        sfInfo.samplerate = format.rate;
        sfInfo.channels = format.channels;
        sfInfo.format = majorFormatOfType("raw") | subtypeFor(format.encoding);
    }
    file = sf_open_fd(fd, SFM_READ, &sfInfo, SF_TRUE);
    if (file == nullptr)
        throw CliError("cannot read " + path + ": " + withoutFullStop(sf_strerror(nullptr)));
    if (!format.type.empty() && (sfInfo.format & SF_FORMAT_TYPEMASK) !=
                                    (majorFormatOfType(format.type) & SF_FORMAT_TYPEMASK)) {
        sf_close(file);
        throw CliError(path + " is not a " + format.type + " file (it holds " +
                       describeContainer() + ")");
    }
    requireRepresentableRate();
    packedBits = packedDepthOf(file, sfInfo.format);
    if (logShowsShortAudioChunk(file)) {
        cutShort = true;
        if (truncation == TruncatedInput::Salvage) return;
        sf_close(file);
        throw CliError(path + " is truncated: the file ends before the audio its header announces");
    }
}

InputFile::~InputFile() { sf_close(file); }

// A header may claim any 32-bit rate; the filters work with twice the rate in
// an int, so a higher claim is refused here rather than overflowing later.
void InputFile::requireRepresentableRate() {
    if (sfInfo.samplerate >= 1 && sfInfo.samplerate <= quorvex::chain::kHighestRate) return;
    sf_close(file);
    throw CliError(filePath + " claims a rate of " + std::to_string(sfInfo.samplerate) +
                   " Hz; quorvex reads rates from 1 to " +
                   std::to_string(quorvex::chain::kHighestRate) + " Hz");
}

int InputFile::integerBits() const {
    switch (sfInfo.format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
        case SF_FORMAT_PCM_16: return 16;
        case SF_FORMAT_PCM_24: return 24;
        case SF_FORMAT_PCM_32: return 32;
        default: return 0;
    }
}

std::string InputFile::describeContainer() const {
    return formatName(sfInfo.format & SF_FORMAT_TYPEMASK);
}

std::string InputFile::describeEncoding() const {
    return formatName(sfInfo.format & SF_FORMAT_SUBMASK);
}

void InputFile::requireMonoOrStereo() const {
    if (sfInfo.channels > 2)
        throw CliError(filePath + " has " + std::to_string(sfInfo.channels) +
                       " channels; quorvex processes mono and stereo files only: mix it down "
                       "to two channels first (for example sox in.wav -c 2 stereo.wav)");
}

// Salvaging, a decoding error ends the audio: a cut-off FLAC stream loses
// sync where the file stops.
sf_count_t InputFile::counted(sf_count_t frames) {
    if (sf_error(file) != SF_ERR_NO_ERROR) {
        if (truncation == TruncatedInput::Refuse)
            throw CliError(filePath +
                           " is damaged or truncated: " + withoutFullStop(sf_strerror(file)));
        cutShort = lostDecoder = true;
    }
    framesRead += frames;
    return frames;
}

sf_count_t InputFile::readInterleaved(double* samples, sf_count_t frames) {
    if (lostDecoder) return 0;
    return counted(sf_readf_double(file, samples, frames));
}

sf_count_t InputFile::readStereo(double* samples, sf_count_t frames) {
    const sf_count_t got = readInterleaved(samples, frames);
    if (sfInfo.channels == 1)  // spread in place from the back, so nothing is overwritten unread
        for (sf_count_t i = got - 1; i >= 0; --i) samples[2 * i] = samples[2 * i + 1] = samples[i];
    return got;
}

sf_count_t InputFile::readStereoPcm(unsigned char* bytes, sf_count_t frames, int bits) {
    if (bits == packedBits) return readPacked(bytes, frames);
    const size_t needed = static_cast<size_t>(frames * sfInfo.channels);
    if (stored.size() < needed) stored.resize(needed);
    const sf_count_t got = lostDecoder ? 0 : counted(sf_readf_int(file, stored.data(), frames));
    const int width = bits / 8;
    for (sf_count_t f = 0; f < got; ++f) {
        const int* frame = &stored[static_cast<size_t>(f * sfInfo.channels)];
        packSample(frame[0], bits, bytes + (2 * f) * width);
        packSample(frame[sfInfo.channels - 1], bits, bytes + (2 * f + 1) * width);
    }
    return got;
}

// Straight from the file into the block; mono spreads in place from the
// back, so nothing is overwritten unread.
sf_count_t InputFile::readPacked(unsigned char* bytes, sf_count_t frames) {
    if (lostDecoder) return 0;
    const size_t width = static_cast<size_t>(packedBits / 8);
    const sf_count_t frameBytes = sfInfo.channels * static_cast<sf_count_t>(width);
    const sf_count_t got = counted(sf_read_raw(file, bytes, frames * frameBytes) / frameBytes);
    if (sfInfo.channels == 1)
        for (size_t i = static_cast<size_t>(got); i-- > 0;) {
            unsigned char sample[4];
            std::memcpy(sample, bytes + i * width, width);
            std::memcpy(bytes + 2 * i * width, sample, width);
            std::memcpy(bytes + (2 * i + 1) * width, sample, width);
        }
    return got;
}

void InputFile::requireFullyRead() {
    if (framesRead >= sfInfo.frames) return;
    cutShort = true;
    if (truncation == TruncatedInput::Refuse)
        throw CliError(filePath + " is truncated: it ends after " + std::to_string(framesRead) +
                       " of the " + std::to_string(sfInfo.frames) + " frames its header announces");
}

void InputFile::rewind() {
    if (sf_seek(file, 0, SEEK_SET) != 0)
        throw CliError("cannot read " + filePath + " a second time: " + sf_strerror(file));
    framesRead = 0;
}

SampleEncoding encodingForBits(int bits) {
    switch (bits) {
        case 16: return SampleEncoding::Pcm16;
        case 24: return SampleEncoding::Pcm24;
        default: return SampleEncoding::Pcm32;
    }
}

SampleEncoding parseEncoding(const std::string& text) {
    if (text == "16") return SampleEncoding::Pcm16;
    if (text == "24") return SampleEncoding::Pcm24;
    if (text == "32") return SampleEncoding::Pcm32;
    if (text == "float") return SampleEncoding::Float;
    throw UsageError("--bits " + text + ": choose 16, 24, 32 or float");
}

namespace {

// The temporary output file, removed if a signal ends the program.
char pendingTempPath[PATH_MAX];

void removePendingAndDie(int signal) {
    if (pendingTempPath[0] != '\0') unlink(pendingTempPath);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void guardTempFile(const std::string& path) {
    std::snprintf(pendingTempPath, sizeof pendingTempPath, "%s", path.c_str());
    for (int sig : {SIGINT, SIGTERM, SIGHUP}) std::signal(sig, removePendingAndDie);
    // Past a file-size limit a write should fail and be reported, not kill us.
    std::signal(SIGXFSZ, SIG_IGN);
}

void releaseTempFile() { pendingTempPath[0] = '\0'; }

std::string directoryOf(const std::string& path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

mode_t defaultFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

int integerBitsOf(SampleEncoding encoding) {
    switch (encoding) {
        case SampleEncoding::Pcm16: return 16;
        case SampleEncoding::Pcm24: return 24;
        case SampleEncoding::Pcm32: return 32;
        case SampleEncoding::Float: return 0;
    }
    return 0;
}

const char* encodingName(SampleEncoding encoding) {
    switch (encoding) {
        case SampleEncoding::Pcm16: return "16-bit";
        case SampleEncoding::Pcm24: return "24-bit";
        case SampleEncoding::Pcm32: return "32-bit";
        case SampleEncoding::Float: return "float";
    }
    return "";
}

bool fileTypeHoldsFloat(const std::string& path, const std::string& type) {
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = 2;
    info.format = majorFormatFor(path, type) | SF_FORMAT_FLOAT;
    return sf_format_check(&info) != 0;
}

OutputFile::OutputFile(const std::string& path, int rate, SampleEncoding encoding,
                       const std::string& type, int channels)
    : finalPath(path), fileBits(integerBitsOf(encoding)), fileChannels(channels) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = majorFormatFor(path, type);
    if (info.format == SF_FORMAT_FLAC && encoding == SampleEncoding::Float)
        throw UsageError(path +
                         ": FLAC holds no float samples; choose --bits 16 or 24, or a .wav file");
    info.format |= subtypeFor(encoding);
    if (!sf_format_check(&info))
        throw UsageError(path + ": this file type cannot hold " + encodingName(encoding) +
                         " samples at " + std::to_string(rate) +
                         " Hz; choose another --bits or type");
    if (isStandardStream(path)) {
        openStandardOutput(info);
        return;
    }

    makeDirectories(directoryOf(path));
    const size_t slash = path.find_last_of('/');
    std::string name = directoryOf(path) + "/." +
                       (slash == std::string::npos ? path : path.substr(slash + 1)) + ".XXXXXX";
    const int fd = mkstemp(name.data());
    if (fd < 0) throw CliError("cannot write " + path + ": " + systemError());
    tempPath = name;
    guardTempFile(tempPath);
    fchmod(fd, defaultFileMode());

    // libsndfile closes its descriptor; a second one lets commit() flush the
    // file to disk, where a full disk may only then show.
    syncFd = dup(fd);
    file = sf_open_fd(fd, SFM_WRITE, &info, SF_TRUE);
    if (file == nullptr) {
        close(fd);
        close(syncFd);
        unlink(tempPath.c_str());
        releaseTempFile();
        throw CliError("cannot write " + path + ": " + withoutFullStop(sf_strerror(nullptr)));
    }
    scaleIntegersIntoFloats();
    notePackedStorage(info.format);
}

// Standard output redirected to a file is written as that file; a pipe gets
// a stream that only grows, which AIFF, with its length up front, cannot be.
void OutputFile::openStandardOutput(SF_INFO& info) {
    if (lseek(STDOUT_FILENO, 0, SEEK_CUR) >= 0) {
        file = sf_open_fd(STDOUT_FILENO, SFM_WRITE, &info, SF_FALSE);
    } else {
        if ((info.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_AIFF)
            throw UsageError(
                "AIFF cannot stream into a pipe: its header holds the length; "
                "write -t wav or -t flac to standard output");
        sink = std::make_unique<StreamSink>(STDOUT_FILENO);
        file = sf_open_virtual(sink->io(), SFM_WRITE, &info, sink.get());
    }
    if (file == nullptr)
        throw CliError("cannot write to standard output: " + withoutFullStop(sf_strerror(nullptr)));
    scaleIntegersIntoFloats();
    notePackedStorage(info.format);
    if (sink) {
        sf_command(file, SFC_UPDATE_HEADER_NOW, nullptr, 0);
        sink->release();
    }
}

// Integers written into a float file land at full scale 1.0, as their doubles
// would; unscaled they would come out 2^31 times too large.
void OutputFile::scaleIntegersIntoFloats() {
    if (fileBits == 0) sf_command(file, SFC_SET_SCALE_INT_FLOAT_WRITE, nullptr, SF_TRUE);
}

void OutputFile::notePackedStorage(int format) {
    storesPacked = fileBits != 0 && packedDepthOf(file, format) == fileBits;
}

OutputFile::~OutputFile() {
    if (file != nullptr) sf_close(file);
    if (syncFd >= 0) close(syncFd);
    if (!tempPath.empty()) {
        unlink(tempPath.c_str());
        releaseTempFile();
    }
}

void OutputFile::written(sf_count_t wanted, sf_count_t done) {
    if (done != wanted)
        throw CliError("cannot write " + finalPath + ": " +
                       (errno != 0 ? systemError() : withoutFullStop(sf_strerror(file))));
}

// xorshift64*: cheap, allocation-free and the same sequence on every run.
double OutputFile::triangularNoise() {
    const auto uniform = [this] {
        noiseState ^= noiseState >> 12;
        noiseState ^= noiseState << 25;
        noiseState ^= noiseState >> 27;
        return static_cast<double>((noiseState * 0x2545F4914F6CDD1Du) >> 11) * 0x1p-53;
    };
    const double first = uniform();
    return first - uniform();
}

int32_t OutputFile::rounded(double steps) {
    return leftJustified(dithering ? steps + triangularNoise() : steps, fileBits);
}

const double* OutputFile::foldedToMono(const double* stereo, sf_count_t frames) {
    const size_t count = static_cast<size_t>(frames);
    if (mono.size() < count) mono.resize(count);
    for (size_t f = 0; f < count; ++f) mono[f] = (stereo[2 * f] + stereo[2 * f + 1]) / 2;
    return mono.data();
}

void OutputFile::writeStereo(const double* stereo, sf_count_t frames) {
    const double* samples = fileChannels == 1 ? foldedToMono(stereo, frames) : stereo;
    errno = 0;
    if (fileBits == 0) {
        written(frames, sf_writef_double(file, samples, frames));
        return;
    }
    const size_t count = static_cast<size_t>(fileChannels * frames);
    if (unpacked.size() < count) unpacked.resize(count);
    const double steps = twoTo(fileBits - 1);
    for (size_t i = 0; i < count; ++i) unpacked[i] = rounded(samples[i] * steps);
    written(frames, sf_writef_int(file, unpacked.data(), frames));
}

// libsndfile narrows by dropping the low bits, which always rounds down and
// offsets the audio by half a step; the nearest step of the file's depth
// instead. Folding to mono works in steps too, so equal channels stay exact.
void OutputFile::writeStereoPcm(const unsigned char* bytes, sf_count_t frames, int bits) {
    if (storesPacked && fileChannels == 2 && bits == fileBits) {
        const sf_count_t length = 2 * frames * (bits / 8);
        errno = 0;
        written(length, sf_write_raw(file, bytes, length));
        return;
    }
    const size_t count = static_cast<size_t>(fileChannels * frames);
    if (unpacked.size() < count) unpacked.resize(count);
    const bool narrowing = fileBits != 0 && fileBits < bits;
    const int depth = narrowing ? fileBits : bits;
    const size_t width = static_cast<size_t>(bits / 8);
    const size_t stride = static_cast<size_t>(2 / fileChannels) * width;
    for (size_t i = 0; i < count; ++i) {
        const unsigned char* at = bytes + i * stride;
        const int32_t first = unpackSample(at, bits);
        if (fileChannels == 2 && !narrowing) {
            unpacked[i] = first;
            continue;
        }
        double steps = stepsOf(first, depth);
        if (fileChannels == 1) steps = (steps + stepsOf(unpackSample(at + width, bits), depth)) / 2;
        unpacked[i] = narrowing ? rounded(steps) : leftJustified(steps, depth);
    }
    errno = 0;
    written(frames, sf_writef_int(file, unpacked.data(), frames));
}

namespace {

// The header of a float WAV just written to `fd`, given the format chunk
// readers expect (see extendFloatFormatChunk); any other file is left as it is.
void extendFloatFormatChunkOf(int fd) {
    std::vector<unsigned char> header(512);
    const ssize_t got = pread(fd, header.data(), header.size(), 0);
    if (got <= 0) return;
    header.resize(static_cast<size_t>(got));
    if (extendFloatFormatChunk(header) && pwrite(fd, header.data(), header.size(), 0) != got)
        throw CliError("cannot write the header: " + systemError());
}

}  // namespace

void OutputFile::commit() {
    const int closed = sf_close(file);
    file = nullptr;
    if (closed != 0)
        throw CliError("cannot write " + finalPath + ": " +
                       withoutFullStop(sf_error_number(closed)));
    if (!sink && !tempPath.empty()) extendFloatFormatChunkOf(syncFd);
    if (!sink && tempPath.empty()) {
        // Standard output redirected to a file is open for writing only.
        const int readable = open("/proc/self/fd/1", O_RDWR);
        if (readable >= 0) {
            extendFloatFormatChunkOf(readable);
            close(readable);
        }
    }
    if (tempPath.empty()) return;  // standard output: nothing to move into place
    if (fsync(syncFd) != 0 || close(std::exchange(syncFd, -1)) != 0 ||
        rename(tempPath.c_str(), finalPath.c_str()) != 0)
        throw CliError("cannot write " + finalPath + ": " + systemError());
    tempPath.clear();
    releaseTempFile();
}

void makeDirectories(const std::string& path) {
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string prefix = path.substr(0, slash);
        if (mkdir(prefix.c_str(), 0777) != 0 && errno != EEXIST)
            throw CliError("cannot create " + prefix + ": " + std::strerror(errno));
        if (slash == std::string::npos) return;
    }
}

void refuseSameFile(const std::string& in, const std::string& out) {
    if (isStandardStream(in) || isStandardStream(out)) return;
    struct stat inStatus;
    struct stat outStatus;
    if (stat(in.c_str(), &inStatus) == 0 && stat(out.c_str(), &outStatus) == 0 &&
        inStatus.st_dev == outStatus.st_dev && inStatus.st_ino == outStatus.st_ino)
        throw UsageError(out + " is the input file; write the output to another file");
}
