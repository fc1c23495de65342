// The plug-ins of quorvex.lv2: each runs one of the library's filters at the
// host's rate. Everything that allocates happens at instantiation; run()
// only converts samples, and writes the filter's block when a control moved.
#include "ports.h"

#include <quorvex/ParamBlocks.h>
#include <quorvex/RealAudioBuffer.h>

#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/log/logger.h>
#include <lv2/urid/urid.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace quorvex::lv2 {

namespace {

// Frames handed to the filter at a time: a host block of any length is cut
// into pieces no longer than this.
constexpr int kPieceFrames = 1024;

// Filters with process-wide state run in one instance at a time.
std::mutex runningMutex;
std::set<std::string> runningFilters;

// A peaking section's frequency is kept below the Nyquist rate by this much.
constexpr double kHighestFraction = 0.49;

struct SectionControls {
    double frequency = 0.0;
    double gain = 0.0;
    double q = 1.0;
};

class Instance {
public:
    Instance(const Plugin& plugin, double rate, LV2_Log_Logger logger)
        : plugin(plugin),
          writer(chain::blockWriter(*plugin.filter)),
          rate(rate),
          logger(logger),
          ports(static_cast<size_t>(plugin.firstControl()) + plugin.controls.size(), nullptr),
          heard(plugin.controls.size()),
          seen(plugin.controls.size(), std::nan("")),
          values(plugin.filter->params.size(), std::nan("")),
          pristine(static_cast<size_t>(writer.size)),
          block(static_cast<size_t>(writer.size)),
          in(2 * kPieceFrames, intRate(), 32),
          out(2 * kPieceFrames, intRate(), 32) {}

    const Plugin& owner() const { return plugin; }

    // False when the filter cannot act at the host's rate: the audio then
    // passes through.
    bool build() {
        try {
            filterChain = std::make_unique<chain::Chain>(plugin.filter->name,
                                                         chain::StreamFormat{intRate(), 32});
        } catch (const chain::StreamError& error) {
            lv2_log_warning(&logger, "%s: %s; the plug-in passes the audio through unchanged\n",
                            plugin.name.c_str(), error.what());
            return false;
        }
        filter = &filterChain->outermost();
        filter->getParamData(writer.id, pristine.data(), writer.size);
        return true;
    }

    void connect(uint32_t port, void* data) {
        if (port < ports.size()) ports[port] = static_cast<float*>(data);
    }

    void activate() {
        if (filter) filter->reset();
    }

    void run(uint32_t frames) {
        if (!filter) return passThrough(frames);
        if (controlsMoved()) writeBlock();
        for (uint32_t done = 0; done < frames;) {
            const int piece = static_cast<int>(std::min<uint32_t>(frames - done, kPieceFrames));
            runPiece(done, piece);
            done += static_cast<uint32_t>(piece);
        }
    }

private:
    // Rates no stream carries fall to 0, which every filter refuses.
    int intRate() const {
        return rate >= 1.0 && rate <= chain::kHighestRate ? static_cast<int>(std::lround(rate)) : 0;
    }

    const float* input(int channel) const { return ports[static_cast<size_t>(channel)]; }
    float* output(int channel) const {
        return ports[static_cast<size_t>(plugin.channels + channel)];
    }
    float control(size_t i) const {
        const float* port = ports[static_cast<size_t>(plugin.firstControl()) + i];
        return port ? *port : static_cast<float>(plugin.controls[i].defaultValue);
    }

    void passThrough(uint32_t frames) {
        for (int c = 0; c < plugin.channels; ++c)
            if (output(c) != input(c)) std::memmove(output(c), input(c), frames * sizeof(float));
    }

    // Only a port whose float changed is read again: turning it into its
    // decimal costs more than the comparison run() can afford every block.
    bool controlsMoved() {
        bool moved = false;
        for (size_t i = 0; i < plugin.controls.size(); ++i) {
            const float port = control(i);
            if (!firstRun && std::memcmp(&port, &heard[i], sizeof port) == 0) continue;
            heard[i] = port;
            const double value = plugin.controls[i].sanitize(port);
            if (value != seen[i]) moved = true;
            seen[i] = value;
        }
        firstRun = false;
        return moved;
    }

    // The block from the filter's own starting point, so that a stage
    // switched off again leaves nothing behind.
    void writeBlock() {
        SectionControls wanted[hpeq_block::kSectionCount];
        std::copy(pristine.begin(), pristine.end(), block.begin());
        for (size_t i = 0; i < plugin.controls.size(); ++i) {
            const ControlPort& port = plugin.controls[i];
            const double value = seen[i];
            const auto at = static_cast<size_t>(port.index);
            switch (port.role) {
                case ControlRole::Value: values[at] = value; break;
                case ControlRole::Stage: values[at] = value > 0.0 ? value : std::nan(""); break;
                case ControlRole::SectionFreq: wanted[at].frequency = value; break;
                case ControlRole::SectionGain: wanted[at].gain = value; break;
                case ControlRole::SectionQ: wanted[at].q = value; break;
            }
        }
        writer.write(values.data(), block.data());
        for (size_t i = 0; i < plugin.sectionOffsets.size(); ++i)
            chain::writeSection(block.data(), plugin.sectionOffsets[i], designed(wanted[i]));
        filter->setParamData(writer.id, block.data(), writer.size);
        if (!toldOfIdleBands) tellOfIdleBands();
    }

    // Once per instance, as a trace: the log feature allows no other kind
    // from run(), and without the feature run() stays silent.
    void tellOfIdleBands() {
        if (!logger.log || rate == 88200.0 || rate == 96000.0) return;
        for (size_t i = 0; i < plugin.controls.size(); ++i) {
            if (!plugin.controls[i].highRatesOnly || seen[i] == 0.0) continue;
            lv2_log_trace(&logger, "%s: the %s band acts only at 88.2 and 96 kHz, not at %g Hz\n",
                          plugin.name.c_str(), plugin.controls[i].name.c_str(), rate);
            toldOfIdleBands = true;
            return;
        }
    }

    // A section the filter could not run stably passes unchanged instead.
    chain::Section designed(const SectionControls& wanted) const {
        const double frequency = std::min(wanted.frequency, kHighestFraction * rate);
        const chain::Section section =
            chain::peakingSection(rate, frequency, wanted.gain, wanted.q);
        return chain::sectionAccepted(section) ? section : chain::Section{};
    }

    void runPiece(uint32_t first, int frames) {
        const int last = plugin.channels - 1;
        for (int i = 0; i < frames; ++i) {
            in.data[2 * i] = input(0)[first + i];
            in.data[2 * i + 1] = input(last)[first + i];
        }
        in.length = 2 * frames;
        out.length = 0;
        if (filter->process(&in, &out) < 0 || out.length != in.length)
            return passPiece(first, frames);
        for (int i = 0; i < frames; ++i)
            for (int c = 0; c < plugin.channels; ++c)
                output(c)[first + i] = static_cast<float>(out.data[2 * i + c]);
    }

    void passPiece(uint32_t first, int frames) {
        for (int c = 0; c < plugin.channels; ++c)
            std::memmove(output(c) + first, input(c) + first, frames * sizeof(float));
    }

    const Plugin& plugin;
    const chain::BlockWriter& writer;
    const double rate;
    LV2_Log_Logger logger;
    std::vector<float*> ports;
    std::vector<float> heard;  // the ports as last read
    bool firstRun = true;
    bool toldOfIdleBands = false;
    std::vector<double> seen;    // the controls as last applied
    std::vector<double> values;  // one per filter parameter, for the writer
    std::vector<unsigned char> pristine;
    std::vector<unsigned char> block;
    RealAudioBuffer in;
    RealAudioBuffer out;
    std::unique_ptr<chain::Chain> filterChain;
    RealAudioFilter* filter = nullptr;
};

const Plugin& pluginOf(const LV2_Descriptor* descriptor);

LV2_Log_Logger loggerFrom(const LV2_Feature* const* features) {
    LV2_Log_Logger logger{};
    LV2_URID_Map* map = nullptr;
    LV2_Log_Log* log = nullptr;
    for (; features && *features; ++features) {
        if (!std::strcmp((*features)->URI, LV2_URID__map))
            map = static_cast<LV2_URID_Map*>((*features)->data);
        if (!std::strcmp((*features)->URI, LV2_LOG__log))
            log = static_cast<LV2_Log_Log*>((*features)->data);
    }
    lv2_log_logger_init(&logger, map, log);
    return logger;
}

// Claims the filter for this instance when its state is process-wide.
bool claim(const Plugin& plugin, LV2_Log_Logger& logger) {
    if (plugin.filter->sharedState.empty()) return true;
    const std::lock_guard<std::mutex> lock(runningMutex);
    if (runningFilters.insert(plugin.filter->name).second) return true;
    lv2_log_error(&logger,
                  "%s: refused: an instance of the %s filter already runs in this process, and "
                  "its %s are shared, so a second one would mix their histories\n",
                  plugin.name.c_str(), plugin.filter->name.c_str(),
                  plugin.filter->sharedState.c_str());
    return false;
}

void release(const Plugin& plugin) {
    if (plugin.filter->sharedState.empty()) return;
    const std::lock_guard<std::mutex> lock(runningMutex);
    runningFilters.erase(plugin.filter->name);
}

LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char*,
                       const LV2_Feature* const* features) {
    const Plugin& plugin = pluginOf(descriptor);
    LV2_Log_Logger logger = loggerFrom(features);
    if (!claim(plugin, logger)) return nullptr;
    try {
        auto instance = std::make_unique<Instance>(plugin, rate, logger);
        instance->build();
        return instance.release();
    } catch (const std::exception& error) {
        lv2_log_error(&logger, "%s: %s\n", plugin.name.c_str(), error.what());
        release(plugin);
        return nullptr;
    }
}

Instance& instanceOf(LV2_Handle handle) { return *static_cast<Instance*>(handle); }

void connectPort(LV2_Handle handle, uint32_t port, void* data) {
    instanceOf(handle).connect(port, data);
}
void activate(LV2_Handle handle) { instanceOf(handle).activate(); }
void run(LV2_Handle handle, uint32_t frames) { instanceOf(handle).run(frames); }
void cleanup(LV2_Handle handle) {
    Instance* owned = static_cast<Instance*>(handle);
    release(owned->owner());
    delete owned;
}

std::vector<LV2_Descriptor> makeDescriptors() {
    std::vector<LV2_Descriptor> descriptors;
    for (const Plugin& plugin : plugins())
        descriptors.push_back(LV2_Descriptor{plugin.uri.c_str(), instantiate, connectPort, activate,
                                             run, nullptr, cleanup, nullptr});
    return descriptors;
}

const std::vector<LV2_Descriptor>& descriptors() {
    static const std::vector<LV2_Descriptor> table = makeDescriptors();
    return table;
}

const Plugin& pluginOf(const LV2_Descriptor* descriptor) {
    return plugins()[static_cast<size_t>(descriptor - descriptors().data())];
}

}  // namespace

}  // namespace quorvex::lv2

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    const auto& table = quorvex::lv2::descriptors();
    return index < table.size() ? &table[index] : nullptr;
}
