// Reads sensors for tests that run it on simulated machines. It first prints the folder of the machine's files. Each line of
// its input gets a line as answer, with "-" for absent values:
//   cpu gpu hottest fan    any of these words: the values in this order
//   devices                reads the list of sensors anew: kind, number, model and temperature of each device
//   inputs, ids            of the devices as they were read last
//   old                    the ids of the devices that were not read the last time
//   fans, watts            as they were read last
//   open                   a new opening of the list
//   slow N MS              in the next reading, the N-th device of the list, or the N-th sensor of the values, takes MS milliseconds

#include "Platform/Machine/SensorList.h"
#include "Platform/Machine/Sensors.h"

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

using namespace kestrum;

namespace {

constexpr const char* kindNames[] { "cpu", "gpu", "disk", "memory", "mainboard", "chipset", "wiFi", "network",
    "battery", "other" };

std::string text(const std::optional<double>& value)
{
    std::ostringstream result;
    if (value)
        result << *value;
    else
        result << '-';
    return result.str();
}

/// A clock that stands still except for what is slow.
struct SteppingClock {
    SensorList::Clock::time_point time {};
    int slowDevice = -1;
    std::chrono::milliseconds slowness {};
    int calls = 0;
    SensorList::Clock::time_point operator()()
    {
        // The end of a read is every second call.
        if (++calls == 2 * slowDevice)
            time += slowness;
        return time;
    }
};

void printDevices(const SensorList::Values& values)
{
    for (const SensorDevice& device : values.devices) {
        std::cout << kindNames[int(device.kind)];
        if (device.number > 0)
            std::cout << '#' << device.number;
        if (!device.model.isEmpty())
            std::cout << " \"" << device.model.toStdString() << '"';
        std::cout << ' ' << (device.isAsleep ? "asleep" : text(device.celsius)) << "; ";
    }
}

void printInputs(const SensorList::Values& values)
{
    for (const SensorDevice& device : values.devices) {
        for (const SensorInput& input : device.inputs)
            std::cout << input.label.toStdString() << ' ' << text(input.celsius) << ", ";
        std::cout << "; ";
    }
}

void printFans(const SensorList::Values& values)
{
    for (const FanSpeed& fan : values.fans) {
        if (fan.number > 0)
            std::cout << '#' << fan.number;
        std::cout << fan.label.toStdString() << ' ' << text(fan.rpm) << "; ";
    }
}

void printReadouts(Sensors& sensors, const std::string& line)
{
    const auto has = [&line](const char* word) { return line.find(word) != std::string::npos; };
    const Sensors::Values values
        = sensors.read({ .cpu = has("cpu"), .gpu = has("gpu"), .hottest = has("hottest"), .fan = has("fan") })
              .value_or(Sensors::Values());
    for (const auto& value : { values.cpu, values.gpu, values.hottest, values.fan })
        std::cout << text(value) << ' ';
}

} // namespace

int main()
{
    const char* folder = std::getenv("UMOCKDEV_DIR");
    std::cout << (folder ? folder : "") << std::endl;
    SteppingClock clock;
    SensorList list([&clock] { return clock(); });
    Sensors sensors([&clock] { return clock(); });
    SensorList::Values values;
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string verb;
        words >> verb;
        if (verb == "devices") {
            clock.calls = 0;
            values = list.read().value_or(SensorList::Values());
            clock.slowDevice = -1;
            printDevices(values);
        } else if (verb == "inputs") {
            printInputs(values);
        } else if (verb == "ids") {
            for (const SensorDevice& device : values.devices)
                std::cout << device.id.toStdString() << "; ";
        } else if (verb == "old") {
            for (const SensorDevice& device : values.devices)
                std::cout << (device.isOld ? device.id.toStdString() + "; " : std::string());
        } else if (verb == "fans") {
            printFans(values);
        } else if (verb == "watts") {
            std::cout << text(values.gpuWatts);
        } else if (verb == "open") {
            list.beginOpening();
        } else if (verb == "slow") {
            int milliseconds = 0;
            words >> clock.slowDevice >> milliseconds;
            clock.slowness = std::chrono::milliseconds(milliseconds);
        } else {
            clock.calls = 0;
            printReadouts(sensors, line);
            clock.slowDevice = -1;
        }
        std::cout << std::endl;
    }
    return 0;
}
