// SPDX-License-Identifier: MIT
#include "Platform/Machine/ProcessSample.h"

#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

constexpr quint64 mostCounted = quint64(1) << 57;

// The files "stat", "statm" and "io".
void runProcessSample(std::string_view input)
{
    const auto files = parts(input, 3);
    const auto parsed = ProcessSample::parsed(files[0]);
    if (parsed) {
        expect(parsed->pid > 0, "a process has a number");
        expect(parsed->command.back() == '\0', "a name is ended by a zero");
        expect(parsed->time <= mostCounted && parsed->childrenTime <= mostCounted, "times can be added up");
    }
    ProcessSample sample = parsed.value_or(ProcessSample());
    sample.addMemory(files[1], 65536);
    expect(sample.memory >= 0, "memory is not negative");
    sample.addVolumeCounters(files[2]);
    expect(sample.readBytes <= mostCounted && sample.writtenBytes <= mostCounted, "counters can be added up");
    if (!sample.hasVolumeCounters)
        expect(sample.readBytes == 0 && sample.writtenBytes == 0, "a damaged text changes nothing");
}

const FuzzTarget processSampleTarget("ProcessSample", runProcessSample);

} // namespace
} // namespace kestrum
