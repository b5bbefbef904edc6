// SPDX-License-Identifier: MIT
// If another program truncates the file of a mapped page, the next access raises SIGBUS, which would end the process. A check
// before each access would need a system call, and the file could be truncated right after the check. So a signal handler
// allocates the page again, and the faulting instruction is repeated. A SIGBUS with another cause has its usual effect.

#include "Platform/Store/GenerationCounter.h"

#include "Platform/Files/FileName.h"
#include "Platform/Files/RuntimeDirectory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr QByteArrayView suffix = ".generation";

const auto pageSize = size_t(::sysconf(_SC_PAGESIZE));

// Allocates the file's only page. A mapped page without memory (a short file, a full tmpfs) would raise SIGBUS on access.
bool allocatePage(int file)
{
    return ::posix_fallocate(file, 0, off_t(pageSize)) == 0;
}

bool isPrivateFile(int file)
{
    struct stat state;
    return ::fstat(file, &state) == 0 && S_ISREG(state.st_mode) && state.st_uid == ::geteuid()
        && (state.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

} // namespace

/// The table of all mapped counters, and the handler of SIGBUS, which makes only async-signal-safe calls.
struct GenerationCounter::Repair {
    static inline std::array<std::atomic<GenerationCounter*>, 64> counters;
    static inline struct sigaction previous;

    static void install()
    {
        [[maybe_unused]] static const int result = [] {
            struct sigaction action { };
            action.sa_sigaction = handle;
            action.sa_flags = SA_SIGINFO | SA_ONSTACK;
            sigemptyset(&action.sa_mask);
            return ::sigaction(SIGBUS, &action, &previous);
        }();
    }

    /// Replaces one table entry that equals `before` by `now`. Returns false if no entry equals `before`.
    static bool exchange(GenerationCounter* before, GenerationCounter* now)
    {
        return std::any_of(counters.begin(), counters.end(), [=](auto& counter) {
            auto* expected = before;
            return counter.compare_exchange_strong(expected, now);
        });
    }

    static void handle(int signal, siginfo_t* info, void*)
    {
        const int error = errno;
        const bool isFault = info->si_code > 0;
        for (auto& entry : counters) {
            const auto* counter = entry.load();
            if (isFault && counter && counter->holds(info->si_addr) && counter->restorePage()) {
                errno = error;
                return;
            }
        }
        // The faulting instruction is repeated and raises SIGBUS again. A SIGBUS that a process sent must be raised here.
        ::sigaction(signal, &previous, nullptr);
        if (!isFault)
            ::raise(signal);
    }
};

bool GenerationCounter::holds(const void* address) const
{
    const auto* const page = reinterpret_cast<const char*>(m_page);
    return address >= page && address < page + pageSize;
}

bool GenerationCounter::restorePage() const
{
    if (allocatePage(m_file.get())) {
        initialize();
        return true;
    }
    constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED;
    if (::mmap(m_page, pageSize, PROT_READ | PROT_WRITE, flags, -1, 0) == MAP_FAILED)
        return false;
    initialize();
    m_page->isOwn = 1;
    return true;
}

/// A new page holds 0, which a reader may have seen before. So the counter starts at the time since boot in ns. No earlier
/// counter can have reached this value.
void GenerationCounter::initialize() const
{
    struct timespec now { };
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    quint64 none = 0;
    __atomic_compare_exchange_n(&m_page->value, &none,
        quint64(now.tv_sec) * 1'000'000'000 + quint64(now.tv_nsec), false, __ATOMIC_ACQ_REL,
        __ATOMIC_ACQUIRE);
}

std::unique_ptr<GenerationCounter> GenerationCounter::open(const QString& name)
{
    const auto& directory = RuntimeDirectory::shared();
    const std::optional<QByteArray> fileName = FileName::encoded(name, suffix);
    if (!directory || !fileName)
        return nullptr;
    FileDescriptor file(::openat(directory->descriptor(), fileName->constData(),
        O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR));
    if (!file.isValid() || !isPrivateFile(file.get()) || !allocatePage(file.get()))
        return nullptr;
    void* page = ::mmap(nullptr, pageSize, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (page == MAP_FAILED)
        return nullptr;
    std::unique_ptr<GenerationCounter> counter(
        new GenerationCounter(static_cast<Page*>(page), std::move(file)));
    Repair::install();
    counter->initialize();
    return Repair::exchange(nullptr, counter.get()) ? std::move(counter) : nullptr;
}

GenerationCounter::~GenerationCounter()
{
    Repair::exchange(this, nullptr);
    ::munmap(m_page, pageSize);
}

} // namespace kestrum
