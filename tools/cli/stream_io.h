#ifndef QUORVEX_CLI_STREAM_IO_H
#define QUORVEX_CLI_STREAM_IO_H

// Standard input and output for libsndfile, which reads WAV, AIFF and FLAC
// only from files it can seek in and writes none of them into pipes.

#include <sndfile.h>

#include <string>
#include <vector>

// A stream (standard input, a pipe) copied into an unlinked temporary file,
// whose descriptor is returned: memory stays flat and the stream's real
// length is known, so a cut stream shows as truncated like a cut file.
int spool(int from, const std::string& path);

// libsndfile gives a float WAV a 16-byte format chunk; readers expect the
// 18 bytes of every format but integer PCM, ending in an empty extension.
// Rewrites a header that holds the PEAK chunk libsndfile adds to float files
// so: the format chunk grows by its two extension bytes and the PEAK chunk,
// which readers may do without, becomes a JUNK chunk two bytes shorter, so
// the audio stays where it was. False, and `header` as it was, for any other
// header.
bool extendFloatFormatChunk(std::vector<unsigned char>& header);

// Standard output as a file that only ever grows. Bytes written at open are
// held back until release(), which first gives the sizes in a WAV header the
// values that mean "until the end of the stream"; later writes behind the
// end, where libsndfile rewrites a header on closing, cannot reach a pipe and
// are dropped.
class StreamSink {
public:
    explicit StreamSink(int fd) : fd(fd) {}

    SF_VIRTUAL_IO* io();
    // Sends the held header on its way; the audio follows it directly.
    void release();

private:
    static sf_count_t length(void* self);
    static sf_count_t seek(sf_count_t offset, int whence, void* self);
    static sf_count_t read(void* ptr, sf_count_t count, void* self);
    static sf_count_t write(const void* ptr, sf_count_t count, void* self);
    static sf_count_t tell(void* self);

    sf_count_t put(const unsigned char* bytes, sf_count_t count);

    int fd;
    SF_VIRTUAL_IO callbacks{};
    std::vector<unsigned char> held;
    bool holding = true;
    sf_count_t position = 0;
    sf_count_t sent = 0;
};

#endif
