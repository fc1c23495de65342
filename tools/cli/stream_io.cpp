#include "stream_io.h"

#include "error.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kCopyBytes = 1 << 16;

// The audio size a writer into a pipe leaves in a WAV header, the one other
// tools write and accept without a warning: the audio runs to the end of the
// stream.
constexpr uint32_t kStreamAudioSize = 0x7FFFF000;

void putLittleEndian(unsigned char* at, uint32_t value) {
    for (int i = 0; i < 4; ++i) at[i] = static_cast<unsigned char>(value >> (8 * i));
}

std::string temporaryDirectory() {
    const char* dir = std::getenv("TMPDIR");
    return dir != nullptr && *dir != '\0' ? dir : "/tmp";
}

bool writeAll(int fd, const unsigned char* bytes, size_t count) {
    while (count > 0) {
        const ssize_t put = ::write(fd, bytes, count);
        if (put < 0 && errno == EINTR) continue;
        if (put < 0) return false;
        bytes += put;
        count -= static_cast<size_t>(put);
    }
    return true;
}

uint32_t littleEndianAt(const std::vector<unsigned char>& bytes, size_t at) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = value << 8 | bytes[at + static_cast<size_t>(i)];
    return value;
}

bool chunkIs(const std::vector<unsigned char>& bytes, size_t at, const char* id) {
    return at + 8 <= bytes.size() && std::memcmp(&bytes[at], id, 4) == 0;
}

constexpr size_t kFormatChunk = 12;
constexpr size_t kFormatBody = kFormatChunk + 8;
constexpr uint32_t kFloatTag = 3;

// Where the PEAK chunk starts, if it comes before the audio; 0 otherwise.
size_t peakChunkAt(const std::vector<unsigned char>& header) {
    for (size_t at = kFormatChunk; chunkIs(header, at, "fmt ") || at > kFormatChunk;) {
        if (at + 8 > header.size() || chunkIs(header, at, "data")) return 0;
        if (chunkIs(header, at, "PEAK")) return at;
        const uint32_t size = littleEndianAt(header, at + 4);
        at += 8 + size + (size & 1);
    }
    return 0;
}

}  // namespace

bool extendFloatFormatChunk(std::vector<unsigned char>& header) {
    if (header.size() < 44 || std::memcmp(header.data(), "RIFF", 4) != 0 ||
        std::memcmp(&header[8], "WAVE", 4) != 0 || !chunkIs(header, kFormatChunk, "fmt ") ||
        littleEndianAt(header, kFormatChunk + 4) != 16 ||
        (littleEndianAt(header, kFormatBody) & 0xFFFF) != kFloatTag)
        return false;
    const size_t peak = peakChunkAt(header);
    if (peak == 0) return false;
    const uint32_t peakSize = littleEndianAt(header, peak + 4);
    const size_t peakEnd = peak + 8 + peakSize;
    if (peakSize < 2 || peakEnd > header.size()) return false;

    std::vector<unsigned char> wider(header.begin(), header.begin() + kFormatBody + 16);
    putLittleEndian(&wider[kFormatChunk + 4], 18);
    wider.insert(wider.end(), 2, 0);  // the extension's size: none
    wider.insert(wider.end(), header.begin() + kFormatBody + 16, header.begin() + peak);
    const unsigned char junk[8] = {'J', 'U', 'N', 'K', 0, 0, 0, 0};
    wider.insert(wider.end(), junk, junk + 8);
    putLittleEndian(&wider[wider.size() - 4], peakSize - 2);
    wider.insert(wider.end(), peakSize - 2, 0);
    wider.insert(wider.end(), header.begin() + peakEnd, header.end());
    header.swap(wider);
    return true;
}

int spool(int from, const std::string& path) {
    std::string name = temporaryDirectory() + "/quorvex-stdin-XXXXXX";
    const int fd = mkstemp(name.data());
    if (fd < 0) throw CliError("cannot keep " + path + " in " + name + ": " + std::strerror(errno));
    unlink(name.c_str());
    std::vector<unsigned char> buffer(kCopyBytes);
    for (ssize_t got; (got = ::read(from, buffer.data(), buffer.size())) != 0;) {
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 || !writeAll(fd, buffer.data(), static_cast<size_t>(got))) {
            const std::string reason = std::strerror(errno);
            close(fd);
            throw CliError("cannot read " + path + ": " + reason);
        }
    }
    lseek(fd, 0, SEEK_SET);
    return fd;
}

SF_VIRTUAL_IO* StreamSink::io() {
    callbacks = {&StreamSink::length, &StreamSink::seek, &StreamSink::read, &StreamSink::write,
                 &StreamSink::tell};
    return &callbacks;
}

void StreamSink::release() {
    extendFloatFormatChunk(held);
    const bool wav = held.size() >= 12 && std::memcmp(held.data(), "RIFF", 4) == 0;
    for (size_t at = 12; wav && at + 8 <= held.size(); at++)
        if (std::memcmp(&held[at], "data", 4) == 0) {
            putLittleEndian(&held[at + 4], kStreamAudioSize);
            putLittleEndian(&held[4], kStreamAudioSize + static_cast<uint32_t>(at));
            break;
        }
    holding = false;
    if (!writeAll(fd, held.data(), held.size()))
        throw CliError("cannot write to standard output: " + std::string(std::strerror(errno)));
    sent = static_cast<sf_count_t>(held.size());
    held.clear();
}

sf_count_t StreamSink::length(void* self) {
    const StreamSink& sink = *static_cast<StreamSink*>(self);
    return sink.holding ? static_cast<sf_count_t>(sink.held.size()) : sink.sent;
}

sf_count_t StreamSink::seek(sf_count_t offset, int whence, void* self) {
    StreamSink& sink = *static_cast<StreamSink*>(self);
    const sf_count_t base = whence == SEEK_CUR   ? sink.position
                            : whence == SEEK_END ? length(self)
                                                 : 0;
    sink.position = base + offset;
    return sink.position;
}

sf_count_t StreamSink::read(void*, sf_count_t, void*) { return 0; }

sf_count_t StreamSink::write(const void* ptr, sf_count_t count, void* self) {
    return static_cast<StreamSink*>(self)->put(static_cast<const unsigned char*>(ptr), count);
}

sf_count_t StreamSink::tell(void* self) { return static_cast<StreamSink*>(self)->position; }

sf_count_t StreamSink::put(const unsigned char* bytes, sf_count_t count) {
    if (holding) {
        const size_t end = static_cast<size_t>(position + count);
        if (held.size() < end) held.resize(end);
        std::memcpy(&held[static_cast<size_t>(position)], bytes, static_cast<size_t>(count));
        position += count;
        return count;
    }
    if (position > sent) return 0;  // a gap a stream cannot leave
    const sf_count_t behind = std::min(count, sent - position);
    if (!writeAll(fd, bytes + behind, static_cast<size_t>(count - behind))) return 0;
    position += count;
    sent = std::max(sent, position);
    return count;
}
