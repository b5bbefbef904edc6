// Reading a page of memory whose file has been cut off ends the process by SIGBUS, and nothing that could be asked before says
// so without a system call, or for longer than a moment. So that signal is taken: the file gets its page again, and the program
// goes on with the instruction that failed. A signal for another reason has the effect that it would have had without us.

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

size_t pageSize()
{
    static const auto size = size_t(::sysconf(_SC_PAGESIZE));
    return size;
}

// Touching a page that has no memory behind it (a file that is too short, a full tmpfs) is the fault described above, so the page
// is really allocated before it is mapped.
bool hasPage(int file)
{
    return ::posix_fallocate(file, 0, off_t(pageSize())) == 0;
}

bool isPrivateFile(int file)
{
    struct stat state;
    return ::fstat(file, &state) == 0 && S_ISREG(state.st_mode) && state.st_uid == ::geteuid()
        && (state.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

} // namespace

/// The counters whose pages are mapped, and what is done at the signal: only what a handler of signals may do.
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

    /// Puts `now` in a place where `before` stands; false when there is none.
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
            if (isFault && counter && counter->holds(info->si_addr) && counter->mend()) {
                errno = error;
                return;
            }
        }
        // A fault comes again by itself.
        ::sigaction(signal, &previous, nullptr);
        if (!isFault)
            ::raise(signal);
    }
};

bool GenerationCounter::holds(const void* address) const
{
    const auto* const page = reinterpret_cast<const char*>(m_page);
    return address >= page && address < page + pageSize();
}

bool GenerationCounter::mend() const
{
    if (hasPage(m_file.get())) {
        begin();
        return true;
    }
    constexpr int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED;
    if (::mmap(m_page, pageSize(), PROT_READ | PROT_WRITE, flags, -1, 0) == MAP_FAILED)
        return false;
    begin();
    m_page->isOwn = 1;
    return true;
}

/// A page of memory is 0 at first, and that may be what a reader saw last. The time since the machine's start, in ns, is a number
/// that no counter can have had before.
void GenerationCounter::begin() const
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
    const RuntimeDirectory& directory = RuntimeDirectory::shared();
    const std::optional<QByteArray> fileName = FileName::encoded(name, suffix);
    if (!directory.isValid() || !fileName)
        return nullptr;
    FileDescriptor file(::openat(directory.descriptor(), fileName->constData(),
        O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR));
    if (!file.isValid() || !isPrivateFile(file.get()) || !hasPage(file.get()))
        return nullptr;
    void* page = ::mmap(nullptr, pageSize(), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (page == MAP_FAILED)
        return nullptr;
    std::unique_ptr<GenerationCounter> counter(
        new GenerationCounter(static_cast<Page*>(page), std::move(file)));
    Repair::install();
    counter->begin();
    return Repair::exchange(nullptr, counter.get()) ? std::move(counter) : nullptr;
}

GenerationCounter::~GenerationCounter()
{
    Repair::exchange(this, nullptr);
    ::munmap(m_page, pageSize());
}

} // namespace kestrum
