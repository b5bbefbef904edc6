// Shows volumes in a mount name space of its own, among them shares that never answer: file systems in user space whose program
// reads no request. Its argument is a folder for them. Each line of its input is one of these:
//
//   share NAME      mounts such a share at NAME in the folder
//   lose NAME       ends the program of the share, so that the kernel answers instead
//   unmount NAME
//   begin, end      as `Volumes`, with a sample at the beginning
//   sample SECONDS  takes a sample, so many seconds after the last one
//
// The answers are "done", "unsupported" with a reason, the time in ms, and after "sample" the volumes as PATH=SPACE: "silent",
// "-" without an answer, or the free bytes.

#include "Platform/Machine/Volumes.h"

#include <fcntl.h>
#include <fstream>
#include <iostream>
#include <map>
#include <sched.h>
#include <sstream>
#include <string>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

namespace {

bool writeText(const char* path, const std::string& text)
{
    return bool(std::ofstream(path) << text << std::flush);
}

bool enterNameSpace()
{
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0
        && writeText("/proc/self/uid_map", user + ' ' + user + " 1")
        && writeText("/proc/self/setgroups", "deny")
        && writeText("/proc/self/gid_map", group + ' ' + group + " 1")
        && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool mountShare(const std::string& name, const std::string& path, const FileDescriptor& program)
{
    const std::string options = "fd=" + std::to_string(program.get()) + ",rootmode=40000,user_id="
        + std::to_string(::geteuid()) + ",group_id=" + std::to_string(::getegid());
    ::mkdir(path.c_str(), 0700);
    return program.isValid()
        && ::mount(
               ("nas:/" + name).c_str(), path.c_str(), "fuse.sshfs", MS_NODEV | MS_NOSUID, options.c_str())
        == 0;
}

void print(const Volumes& volumes)
{
    for (const VolumeUse& volume : volumes.volumes()) {
        std::cout << volume.id.toStdString() << '=';
        if (volume.isSilent)
            std::cout << "silent ";
        else if (volume.space)
            std::cout << volume.space->free << ' ';
        else
            std::cout << "- ";
    }
    std::cout << std::endl;
}

} // namespace

int main(int, char** argv)
{
    const std::string folder = std::string(argv[1]) + '/';
    if (!enterNameSpace()) {
        std::cout << "unsupported no name spaces" << std::endl;
        return 0;
    }
    std::map<std::string, FileDescriptor> programs;
    Volumes volumes;
    auto now = Volumes::Clock::now();
    std::string line;
    while (std::getline(std::cin, line)) {
        std::istringstream words(line);
        std::string verb;
        std::string name;
        words >> verb >> name;
        const std::string path = folder + name;
        const auto begin = std::chrono::steady_clock::now();
        if (verb == "share") {
            // Opened here, because the device belongs to the name space of who opens it.
            FileDescriptor& program = programs[name];
            program = FileDescriptor(::open("/dev/fuse", O_RDWR | O_CLOEXEC));
            const bool isMounted = mountShare(name, path, program);
            std::cout << (isMounted ? "done" : "unsupported no file systems in user space") << std::endl;
            continue;
        }
        if (verb == "lose")
            programs.erase(name);
        else if (verb == "unmount")
            ::umount2(path.c_str(), MNT_DETACH);
        else if (verb == "begin")
            volumes.begin();
        else if (verb == "end")
            volumes.end();
        if (verb == "begin" || verb == "sample") {
            now += std::chrono::seconds(std::atoi(name.c_str()));
            volumes.sample({}, now);
        }
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - begin;
        if (verb == "sample")
            print(volumes);
        else if (verb == "begin" || verb == "end")
            std::cout << time.count() << std::endl;
        else
            std::cout << "done" << std::endl;
    }
    return 0;
}
