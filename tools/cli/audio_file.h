#ifndef QUORVEX_CLI_AUDIO_FILE_H
#define QUORVEX_CLI_AUDIO_FILE_H

// Audio files through libsndfile. Reading widens mono to stereo; writing goes
// to a temporary file beside the target that only commit() renames into
// place, so a failed run leaves no partial output behind. The path "-" stands
// for standard input or output, which are streamed without a temporary file.

#include "stream_io.h"

#include <sndfile.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// Sample encodings a file can hold or be asked for.
enum class SampleEncoding { Pcm16, Pcm24, Pcm32, Float };

// How to read a file whose header cannot say it: `type` names the container
// ("wav", "flac", "aiff" or "raw"; empty: find out from the file), and raw
// data, which has no header, needs its rate, channels and encoding.
struct FileFormat {
    std::string type;
    int rate = 0;
    int channels = 0;
    SampleEncoding encoding = SampleEncoding::Pcm16;
};

bool isStandardStream(const std::string& path);

// What to do with a file that ends before the audio its header announces.
enum class TruncatedInput { Refuse, Salvage };

class InputFile {
public:
    explicit InputFile(const std::string& path, const FileFormat& format = {},
                       TruncatedInput truncation = TruncatedInput::Refuse);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const std::string& path() const { return filePath; }
    const SF_INFO& info() const { return sfInfo; }
    // 16, 24 or 32 for integer PCM (8-bit sources widen to 16 without loss);
    // 0 for float and every other encoding, which are read as doubles.
    int integerBits() const;
    std::string describeContainer() const;
    std::string describeEncoding() const;

    // Throws unless the file has one or two channels.
    void requireMonoOrStereo() const;

    // Frames as stored, all channels interleaved.
    sf_count_t readInterleaved(double* samples, sf_count_t frames);
    // Stereo frames of doubles at full scale 1.0.
    sf_count_t readStereo(double* samples, sf_count_t frames);
    // Stereo frames of little-endian integer PCM of `bits` bits.
    sf_count_t readStereoPcm(unsigned char* bytes, sf_count_t frames, int bits);

    // Throws if fewer frames came out than the header promised, unless
    // salvaging; truncated() then tells.
    void requireFullyRead();
    bool truncated() const { return cutShort; }
    // Back to the first frame, to read the audio once more.
    void rewind();

private:
    void requireRepresentableRate();
    sf_count_t counted(sf_count_t frames);

    sf_count_t readPacked(unsigned char* bytes, sf_count_t frames);

    std::string filePath;
    SF_INFO sfInfo{};
    SNDFILE* file = nullptr;
    int packedBits = 0;  // the depth whose samples the file stores as we pack them; 0: none
    sf_count_t framesRead = 0;
    TruncatedInput truncation;
    bool cutShort = false;     // salvaging: the audio ends early
    bool lostDecoder = false;  // salvaging: past a decoding error, nothing more is read
    std::vector<int> stored;   // integer frames as the file holds them
};

SampleEncoding encodingForBits(int bits);
// 16, 24 or 32; 0 for float.
int integerBitsOf(SampleEncoding encoding);
const char* encodingName(SampleEncoding encoding);
bool fileTypeHoldsFloat(const std::string& path, const std::string& type);
// "16", "24", "32" or "float"; throws UsageError for anything else.
SampleEncoding parseEncoding(const std::string& text);

class OutputFile {
public:
    // `type` names the container as FileFormat does; empty: from the extension.
    // A mono file gets each stereo frame written to it folded to (L + R) / 2,
    // which gives back L exactly when both channels agree.
    OutputFile(const std::string& path, int rate, SampleEncoding encoding,
               const std::string& type = "", int channels = 2);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    // Rounding to fewer bits adds triangular dither of one step peak, so the
    // error is noise independent of the signal instead of distortion. The
    // generator starts from the same seed on every run: the output repeats.
    void ditherWhenRounding() { dithering = true; }

    void writeStereo(const double* samples, sf_count_t frames);
    void writeStereoPcm(const unsigned char* bytes, sf_count_t frames, int bits);
    // Closes the file and moves it to its final name (or flushes the stream).
    void commit();

private:
    void written(sf_count_t wanted, sf_count_t done);
    void scaleIntegersIntoFloats();
    void notePackedStorage(int format);
    const double* foldedToMono(const double* stereo, sf_count_t frames);
    void openStandardOutput(SF_INFO& info);
    // A sample as steps of the file's depth, dithered if asked, left-justified.
    int32_t rounded(double steps);
    double triangularNoise();

    std::string finalPath;
    std::string tempPath;
    SNDFILE* file = nullptr;
    int syncFd = -1;
    int fileBits = 0;           // the integer depth written, 0 for float
    bool storesPacked = false;  // the file's samples are stored as we pack them
    int fileChannels = 2;
    bool dithering = false;
    uint64_t noiseState = 0x9E3779B97F4A7C15u;
    std::vector<int> unpacked;
    std::vector<double> mono;
    std::unique_ptr<StreamSink> sink;  // standard output into a pipe
};

// Throws when writing OUT would overwrite IN (the same path or the same file).
void refuseSameFile(const std::string& in, const std::string& out);

// Creates `path` and every missing directory above it, as mkdir -p does.
void makeDirectories(const std::string& path);

#endif
