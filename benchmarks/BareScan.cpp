// SPDX-License-Identifier: MIT
// The least that a list of apps can cost: reads the line of every process and nothing else, every two seconds, for as many
// seconds as the argument says. Beside it, the popover's own cost can be judged on any machine.

#include <array>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string>
#include <thread>
#include <unistd.h>

int main(int argumentCount, char** arguments)
{
    using Clock = std::chrono::steady_clock;
    const auto end
        = Clock::now() + std::chrono::seconds(argumentCount > 1 ? std::strtol(arguments[1], nullptr, 10) : 1);
    std::array<char, 4096> buffer {};
    while (Clock::now() < end) {
        const std::unique_ptr<DIR, int (*)(DIR*)> folder(::opendir("/proc"), ::closedir);
        while (const dirent* entry = folder ? ::readdir(folder.get()) : nullptr) {
            if (std::isdigit(static_cast<unsigned char>(entry->d_name[0])) == 0)
                continue;
            const std::string path = std::string("/proc/") + entry->d_name + "/stat";
            const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
            if (file < 0)
                continue;
            if (::read(file, buffer.data(), buffer.size()) < 0)
                return EXIT_FAILURE;
            ::close(file);
        }
        std::this_thread::sleep_for(std::chrono::seconds(2));
    }
}
