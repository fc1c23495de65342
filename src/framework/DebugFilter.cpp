#include <quorvex/AFUtil.h>
#include <quorvex/DebugFilter.h>

DebugFilter::DebugFilter(RealAudioFilter* filter, int interval, bool flag)
    : flag(flag), interval(interval), counter(0), filter(filter), name{} {}

DebugFilter::~DebugFilter() = default;

const char* DebugFilter::getName() {
    AFsnprintf(name, sizeof name, "Debug:[%s]", filter->getName());
    return name;
}

int DebugFilter::setParamData(unsigned long id, const void* block, int size) {
    return filter->setParamData(id, block, size);
}

int DebugFilter::getParamData(unsigned long id, void* block, int size) {
    return filter->getParamData(id, block, size);
}

void DebugFilter::reset() { filter->reset(); }

int DebugFilter::process(const RealAudioBuffer* in, RealAudioBuffer* out) {
    if (interval > 0) counter = counter % interval != 0 ? counter + 1 : 1;
    // The clock is read around the inner call for a host that instruments
    // the library clock; this filter reports nothing itself.
    AFQueryTick();
    const int result = filter->process(in, out);
    AFQueryTick();
    AFQueryFrequency();
    return result;
}
