// Compares Kestrum with plain Qt programs, as whole processes on one virtual display: the time to the first frame, the memory of
// the window, and the number of wake-ups while it is idle. The call is:
// StartBenchmark KESTRUM KESTRUMCTL PEER [IDLE_SECONDS]
//
// An empty window loads no font, although fonts take a third of the time of other windows. So one plain window has a form. Only
// the measured process uses Qt: pages of libraries that several processes share would count only in part.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr int rounds = 41;
constexpr int longestWait = 20000; ///< in ms, for the first output of a program
constexpr auto settlingTime = 3s;  ///< by then a window has finished the work that follows its start

[[noreturn]] void fail(const std::string& what)
{
    throw std::runtime_error(what);
}

/// A running program; the destructor ends it.
class Program {
public:
    /// Starts the program. `line` reads what it writes to the descriptor `outputTo`.
    explicit Program(const std::vector<std::string>& call, int outputTo = STDOUT_FILENO)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            fail("no pipe");
        m_output = ends[0];
        m_id = ::fork();
        if (m_id < 0)
            fail("no process");
        if (m_id == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            ::dup2(ends[1], outputTo);
            std::vector<char*> arguments;
            for (const std::string& argument : call)
                arguments.push_back(const_cast<char*>(argument.c_str()));
            arguments.push_back(nullptr);
            ::execvp(arguments.front(), arguments.data());
            ::_exit(127);
        }
        ::close(ends[1]);
        m_name = call.front();
    }
    ~Program()
    {
        if (m_id > 0) {
            ::kill(m_id, SIGTERM);
            ::waitpid(m_id, nullptr, 0);
        }
        ::close(m_output);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    /// The program's first output, usually a line.
    std::string line() const
    {
        pollfd wait { m_output, POLLIN, 0 };
        char text[64];
        const ssize_t count = ::poll(&wait, 1, longestWait) == 1 ? ::read(m_output, text, sizeof text) : -1;
        if (count <= 0)
            fail(m_name + " says nothing");
        return { text, std::size_t(count) };
    }
    /// Waits until the program ends by itself; fails if its exit code is not 0.
    void end()
    {
        int status = 0;
        if (::waitpid(m_id, &status, 0) != m_id || status != 0)
            fail(m_name + " failed");
        m_id = -1;
    }

    /// The program's memory (PSS); fails if the program has ended.
    double mebibytes() const
    {
        const double kibibytes = sumOf(folder() / "smaps_rollup", "Pss:");
        if (kibibytes <= 0)
            fail(m_name + " has ended");
        return kibibytes / 1024;
    }
    /// How often the program's threads have gone to sleep so far. That is also the number of their wake-ups.
    double wakeUps() const
    {
        double sum = 0;
        for (const auto& task : fs::directory_iterator(folder() / "task"))
            sum += sumOf(task.path() / "status", "voluntary_ctxt_switches:");
        return sum;
    }

private:
    fs::path folder() const { return fs::path("/proc") / std::to_string(m_id); }
    /// The sum of the numbers after `name` in a file of lines "name: number".
    static double sumOf(const fs::path& path, const std::string& name)
    {
        std::ifstream file(path);
        std::string word;
        double sum = 0;
        while (file >> word) {
            double number = 0;
            if (word == name && file >> number)
                sum += number;
        }
        return sum;
    }

    std::string m_name;
    pid_t m_id;
    int m_output;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double millisecondsToFirstFrame(const std::vector<std::string>& call)
{
    const auto start = std::chrono::steady_clock::now();
    Program program(call);
    if (program.line() != "painted\n")
        fail(call.front() + " does not say that it has painted");
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
    program.end();
    return taken.count();
}

void measureStart(const std::string& kestrum, const std::string& peer)
{
    std::vector<double> empty;
    std::vector<double> form;
    std::vector<double> ours;
    for (int round = 0; round < rounds; ++round) {
        empty.push_back(millisecondsToFirstFrame({ peer }));
        form.push_back(millisecondsToFirstFrame({ peer, "form" }));
        ours.push_back(millisecondsToFirstFrame({ kestrum, "--first-frame" }));
    }
    const double unit = median(empty);
    std::printf("empty window, first frame %8.1f ms\n", unit);
    std::printf("plain form, first frame   %8.1f ms   ratio %.2f\n", median(form), median(form) / unit);
    std::printf(
        "Kestrum, first frame      %8.1f ms   ratio %.2f (goal 1.5)\n", median(ours), median(ours) / unit);
}

struct Idle {
    double mebibytes;
    double wakeUps;
};

Idle idle(const std::vector<std::string>& call, int seconds)
{
    const Program running(call);
    std::this_thread::sleep_for(settlingTime);
    const Idle before { running.mebibytes(), running.wakeUps() };
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const Idle after { running.mebibytes(), running.wakeUps() };
    return { before.mebibytes, after.wakeUps - before.wakeUps };
}

void measureIdle(const std::string& kestrum, const std::string& peer, int seconds)
{
    const Idle empty = idle({ peer, "stay" }, seconds);
    const Idle form = idle({ peer, "form", "stay" }, 0); // only its memory is told
    const Idle ours = idle({ kestrum }, seconds);
    std::printf("empty window, memory      %8.1f MiB\n", empty.mebibytes);
    std::printf("plain form, memory        %8.1f MiB  ratio %.2f\n", form.mebibytes,
        form.mebibytes / empty.mebibytes);
    std::printf("Kestrum, memory           %8.1f MiB  ratio %.2f (goal 1.4)\n", ours.mebibytes,
        ours.mebibytes / empty.mebibytes);
    std::printf("empty window, wake-ups    %8.0f in %d s\n", empty.wakeUps, seconds);
    std::printf("Kestrum, wake-ups         %8.0f in %d s (goal 0)\n", ours.wakeUps, seconds);
}

/// A temporary home, in which the window starts no agent.
class Home {
public:
    Home()
    {
        char folder[] = "/tmp/StartBenchmark-XXXXXX";
        if (!::mkdtemp(folder))
            fail("no temporary folder");
        m_folder = folder;
        fs::create_directory(m_folder / "run");
        fs::permissions(m_folder / "run", fs::perms::owner_all);
        ::setenv("HOME", m_folder.c_str(), 1);
        ::setenv("XDG_CONFIG_HOME", (m_folder / "config").c_str(), 1);
        ::setenv("XDG_RUNTIME_DIR", (m_folder / "run").c_str(), 1);
        ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    ~Home() { fs::remove_all(m_folder); }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;

private:
    fs::path m_folder;
};

void measure(const std::string& kestrum, const std::string& kestrumctl, const std::string& peer, int seconds)
{
    const Home home;
    Program({ kestrumctl, "write", "agentEnabled", "false" }).end();
    // With `-noreset`, since a reset after each run would take time.
    const Program server(
        { "Xvfb", "-displayfd", "3", "-noreset", "-nolisten", "tcp", "-screen", "0", "1000x800x24" }, 3);
    const std::string display = server.line();
    ::setenv("DISPLAY", (':' + display.substr(0, display.find('\n'))).c_str(), 1);
    ::setenv("QT_QPA_PLATFORM", "xcb", 1);
    measureStart(kestrum, peer);
    measureIdle(kestrum, peer, seconds);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fprintf(stderr, "Usage: StartBenchmark KESTRUM KESTRUMCTL PEER [IDLE_SECONDS]\n");
        return 2;
    }
    try {
        measure(argv[1], argv[2], argv[3], argc > 4 ? std::atoi(argv[4]) : 10);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "StartBenchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
