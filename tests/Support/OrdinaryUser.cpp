#include "tests/Support/OrdinaryUser.h"

#include "tests/Support/TestHome.h"

#include <QFile>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr uid_t nobody = 65534;

void require(bool isDone, const char* what)
{
    if (!isDone)
        qFatal("OrdinaryUser: %s: %s", what, qUtf8Printable(qt_error_string(errno)));
}

} // namespace

OrdinaryUser::OrdinaryUser(const QStringList& files, gid_t group)
    : m_wasRoot(::geteuid() == 0)
{
    if (!m_wasRoot)
        return;
    require(::chmod(QFile::encodeName(TestHome::root()).constData(), 0711) == 0, "chmod");
    for (const QString& file : files)
        require(::chown(QFile::encodeName(file).constData(), nobody, group) == 0, "chown");
    require(
        ::setgroups(0, nullptr) == 0 && ::setegid(nobody) == 0 && ::seteuid(nobody) == 0, "become nobody");
}

OrdinaryUser::~OrdinaryUser()
{
    if (m_wasRoot)
        require(::seteuid(0) == 0 && ::setegid(0) == 0, "become root again");
}

QStringList asOrdinaryUser(const QStringList& command)
{
    if (::getuid() != 0)
        return command;
    // Only root may drop its groups.
    const char* const groups = ::geteuid() == 0 ? "--clear-groups" : "--keep-groups";
    return QStringList { QStringLiteral("setpriv"), QStringLiteral("--reuid=%1").arg(nobody),
        QStringLiteral("--regid=%1").arg(nobody), QString::fromLatin1(groups) }
    + command;
}

std::unique_ptr<QProcess> startedAsUser(const QStringList& command)
{
    const QStringList words = asOrdinaryUser(command);
    return Programs::started(words.first(), words.mid(1));
}

QByteArray outputAsUser(const QStringList& command)
{
    const QStringList words = asOrdinaryUser(command);
    return Programs::output(words.first(), words.mid(1));
}

} // namespace kestrum
