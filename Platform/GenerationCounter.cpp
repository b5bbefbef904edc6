#include "Platform/GenerationCounter.h"

#include "Platform/FileName.h"
#include "Platform/RuntimeDirectory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr QByteArrayView suffix = ".generation";

size_t pageSize()
{
    return size_t(::sysconf(_SC_PAGESIZE));
}

// Touching a page that has no memory behind it (a file that is too short, a full tmpfs) kills the process, so
// the page is really allocated before it is mapped.
void* mappedPage(int descriptor)
{
    struct stat state;
    if (::fstat(descriptor, &state) != 0 || !S_ISREG(state.st_mode) || state.st_uid != ::geteuid()
        || (state.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return nullptr;
    if (::posix_fallocate(descriptor, 0, off_t(pageSize())) != 0 || ::fstat(descriptor, &state) != 0
        || state.st_size < off_t(pageSize()))
        return nullptr;
    void* page = ::mmap(nullptr, pageSize(), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    return page == MAP_FAILED ? nullptr : page;
}

} // namespace

std::unique_ptr<GenerationCounter> GenerationCounter::open(const QString& name)
{
    const RuntimeDirectory& directory = RuntimeDirectory::shared();
    const std::optional<QByteArray> fileName = FileName::encoded(name, suffix);
    if (!directory.isValid() || !fileName)
        return nullptr;
    const int descriptor = ::openat(directory.descriptor(), fileName->constData(),
        O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        return nullptr;
    void* page = mappedPage(descriptor);
    ::close(descriptor); // the mapping stays
    if (!page)
        return nullptr;
    return std::unique_ptr<GenerationCounter>(new GenerationCounter(static_cast<quint64*>(page)));
}

GenerationCounter::~GenerationCounter()
{
    ::munmap(m_value, pageSize());
}

} // namespace kestrum
