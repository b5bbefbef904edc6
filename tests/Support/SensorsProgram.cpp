// Reads sensors for tests that run it on simulated machines. It first prints the folder of the machine's files. Each line of
// its input names the values to read ("cpu gpu hottest fan"). The answer is a line of the values in that order, "-" for an
// absent value.

#include "Platform/Machine/Sensors.h"

#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

using namespace kestrum;

int main()
{
    const char* folder = std::getenv("UMOCKDEV_DIR");
    std::cout << (folder ? folder : "") << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
        const auto has = [&line](const char* word) { return line.find(word) != std::string::npos; };
        const Sensors::Values values = Sensors::read(
            { .cpu = has("cpu"), .gpu = has("gpu"), .hottest = has("hottest"), .fan = has("fan") });
        for (const auto& value : { values.cpu, values.gpu, values.hottest, values.fan }) {
            if (value)
                std::cout << *value << ' ';
            else
                std::cout << "- ";
        }
        std::cout << std::endl;
    }
    return 0;
}
