#include "Platform/Files/RuntimeDirectory.h"

#include "Platform/Log/Log.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kestrum {

namespace {

constexpr const char* ownName = "kestrum";

// Opens `name` below `parent` and checks the opened directory itself, so that nothing can be put in its place
// between the check and the use. Returns -1 and a reason when it is not ours alone.
int openPrivate(int parent, const QByteArray& name, QString* reason)
{
    const int descriptor
        = ::openat(parent, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        *reason = errno == ENOTDIR || errno == ELOOP ? QStringLiteral("it is not a directory")
                                                     : qt_error_string(errno);
        return -1;
    }
    struct stat state;
    if (::fstat(descriptor, &state) != 0)
        *reason = qt_error_string(errno);
    else if (state.st_uid != ::geteuid())
        *reason = QStringLiteral("it belongs to another user");
    else if ((state.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        *reason = QStringLiteral("others may enter it (mode %1)")
                      .arg(state.st_mode & 07777, 4, 8, QLatin1Char('0'));
    else
        return descriptor;
    ::close(descriptor);
    return -1;
}

int makePrivate(int parent, const QByteArray& name, QString* reason)
{
    if (::mkdirat(parent, name.constData(), S_IRWXU) != 0 && errno != EEXIST) {
        *reason = qt_error_string(errno);
        return -1;
    }
    return openPrivate(parent, name, reason);
}

} // namespace

const RuntimeDirectory& RuntimeDirectory::shared()
{
    // Never closed: signals may still be posted while the process's other statics are destroyed.
    static const auto* const directory = new RuntimeDirectory(QFile::decodeName(qgetenv("XDG_RUNTIME_DIR")));
    return *directory;
}

RuntimeDirectory::RuntimeDirectory(const QString& root)
{
    if (root.isEmpty()) {
        m_reason = QStringLiteral("XDG_RUNTIME_DIR is not set");
        return;
    }
    if (!QDir::isAbsolutePath(root)) {
        m_reason = QStringLiteral("XDG_RUNTIME_DIR is not an absolute path: %1").arg(Log::escaped(root));
        return;
    }
    // A final "/" or "/." would make the kernel follow a symbolic link in spite of O_NOFOLLOW.
    m_rootPath = QDir::cleanPath(root);
    m_path = m_rootPath + QLatin1Char('/') + QLatin1String(ownName);

    QString reason;
    m_rootDescriptor = openPrivate(AT_FDCWD, QFile::encodeName(m_rootPath), &reason);
    if (m_rootDescriptor < 0) {
        m_reason = Log::escaped(m_rootPath) + QStringLiteral(": ") + reason;
        return;
    }
    m_descriptor = makePrivate(m_rootDescriptor, ownName, &reason);
    if (m_descriptor < 0) {
        m_reason = Log::escaped(m_path) + QStringLiteral(": ") + reason;
        ::close(std::exchange(m_rootDescriptor, -1));
    }
}

RuntimeDirectory::~RuntimeDirectory()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
    if (m_rootDescriptor >= 0)
        ::close(m_rootDescriptor);
}

int RuntimeDirectory::openSubdirectory(const char* name) const
{
    QString reason;
    return isValid() ? makePrivate(m_descriptor, name, &reason) : -1;
}

} // namespace kestrum
