#include "stream.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace quorvex::python {

namespace qc = quorvex::chain;

namespace {

// Float sources run at a 24-bit label, as in the command-line tool: as fine
// a grain as the filters that look at the depth know.
constexpr int kFloatSourceBits = 24;

constexpr long long kConvertFrames = 4096;

std::string kindText(int channels, bool isDouble) {
    return std::to_string(channels) + (channels == 1 ? " channel of " : " channels of ") +
           (isDouble ? "float64" : "float32");
}

}  // namespace

// Holds, for as long as its stream lives, every filter type of the chain
// whose instances share process-wide state: a second chain of such a type
// would reset or retune the first one's state in the middle of its stream,
// and two threads would run the same delay lines at once.
class Stream::Lease {
public:
    Lease(const std::vector<qc::Step>& steps, const std::string& text) {
        std::lock_guard<std::mutex> guard(registryLock());
        for (const qc::Step& step : steps) {
            const qc::FilterInfo& filter = *step.filter;
            if (filter.sharedState.empty()) continue;
            const auto held = holders().find(&filter);
            if (held != holders().end())
                throw StateConflict(filter.name + " is in use by another live chain ('" +
                                    held->second + "'): every " + filter.name +
                                    " shares one process-wide " + filter.sharedState +
                                    ", so a second chain would disturb the first; close() that "
                                    "chain first");
        }
        for (const qc::Step& step : steps)
            if (!step.filter->sharedState.empty()) {
                holders().emplace(step.filter, text);
                types.push_back(step.filter);
            }
    }

    ~Lease() {
        std::lock_guard<std::mutex> guard(registryLock());
        for (const qc::FilterInfo* filter : types) holders().erase(filter);
    }

    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

private:
    static std::mutex& registryLock() {
        static std::mutex lock;
        return lock;
    }
    static std::map<const qc::FilterInfo*, std::string>& holders() {
        static std::map<const qc::FilterInfo*, std::string> table;
        return table;
    }

    std::vector<const qc::FilterInfo*> types;
};

Stream::Stream(const std::string& text, int rate)
    : chainText(text), format{rate, kFloatSourceBits}, steps(qc::parse(text)) {
    if (steps.front().filter->integerOnly)
        throw qc::StreamError(steps.front().filter->name +
                              " works on integer PCM, and arrays come here as float samples");
    lease = std::make_unique<Lease>(steps, text);
    build();
}

Stream::~Stream() = default;

void Stream::build() {
    runner.reset();
    chain = std::make_unique<qc::Chain>(steps, format);
    runner = std::make_unique<qc::DoubleRunner>(
        *chain, false, [this](const double* frames, long long count) {
            if (isDouble)
                appendFrames(frames, count, channels, sinkTarget->doubles);
            else
                appendFrames(frames, count, channels, sinkTarget->singles);
            sinkTarget->frames += count;
        });
    started = false;
    finished = false;
}

void Stream::requireSameKind(const ArrayLayout& layout) {
    if (!started) {
        channels = layout.channels;
        isDouble = layout.isDouble;
        started = true;
        return;
    }
    if (layout.channels != channels || layout.isDouble != isDouble)
        throw std::invalid_argument("this stream carries " + kindText(channels, isDouble) +
                                    ", and a block of " +
                                    kindText(layout.channels, layout.isDouble) +
                                    " cannot join it; reset() starts a new stream");
}

void Stream::write(const void* samples, const ArrayLayout& layout, Output& out) {
    std::lock_guard<std::mutex> guard(running);
    writeLocked(samples, layout, out);
}

void Stream::writeLocked(const void* samples, const ArrayLayout& layout, Output& out) {
    if (finished) build();
    requireSameKind(layout);
    sinkTarget = &out;
    if (const double* inPlace = stereoInPlace(samples, layout)) {
        runner->write(inPlace, layout.frames);
        return;
    }
    stereo.resize(2 * static_cast<size_t>(std::min(layout.frames, kConvertFrames)));
    for (long long first = 0; first < layout.frames; first += kConvertFrames) {
        const long long count = std::min(kConvertFrames, layout.frames - first);
        toStereo(samples, layout, first, count, stereo.data());
        runner->write(stereo.data(), count);
    }
}

void Stream::finish(Output& out) {
    std::lock_guard<std::mutex> guard(running);
    finishLocked(out);
}

void Stream::finishLocked(Output& out) {
    if (!started || finished) return;
    sinkTarget = &out;
    finished = true;
    runner->finish();
}

void Stream::whole(const void* samples, const ArrayLayout& layout, Output& out) {
    std::lock_guard<std::mutex> guard(running);
    if (started) build();
    const size_t expected = static_cast<size_t>(outputFramesFor(layout.frames) * layout.channels);
    if (layout.isDouble)
        out.doubles.reserve(expected);
    else
        out.singles.reserve(expected);
    writeLocked(samples, layout, out);
    finishLocked(out);
}

void Stream::reset() {
    std::lock_guard<std::mutex> guard(running);
    build();
}

long long Stream::outputFramesFor(long long frames) const {
    return static_cast<long long>(
        std::floor(static_cast<double>(frames) * chain->output().rate / chain->input().rate));
}

std::string Stream::chainName() {
    std::lock_guard<std::mutex> guard(running);
    return chain->name();
}

}  // namespace quorvex::python
