#include "tests/Support/TestHome.h"

#include <QDir>
#include <sys/stat.h>

namespace kestrum {

TestHome::TestHome()
{
    const QDir directory(m_directory.path());
    for (const char* variable : { "XDG_CONFIG_DIRS", "LANGUAGE", "LC_ALL", "LC_NUMERIC", "LC_MEASUREMENT",
             "LC_MESSAGES", "KESTRUM_SETTINGS_SUITE", "KESTRUM_LANGUAGE", "XDG_CURRENT_DESKTOP" })
        qunsetenv(variable);
    qputenv("LANG", "C.UTF-8");
    qputenv("HOME", directory.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", directory.filePath(QStringLiteral(".config")).toUtf8());
    qputenv("XDG_CONFIG_DIRS", directory.filePath(QStringLiteral("xdg")).toUtf8());
    qputenv("XDG_DATA_HOME", directory.filePath(QStringLiteral(".local/share")).toUtf8());
    qputenv("XDG_CACHE_HOME", directory.filePath(QStringLiteral(".cache")).toUtf8());
    qputenv("XDG_RUNTIME_DIR", directory.filePath(QStringLiteral("run")).toUtf8());
    ::mkdir(qgetenv("XDG_CONFIG_HOME").constData(), 0700);
    ::mkdir(qgetenv("XDG_RUNTIME_DIR").constData(), 0700);
}

QString TestHome::root()
{
    return QString::fromUtf8(qgetenv("HOME"));
}

QString TestHome::configDirectory()
{
    return QString::fromUtf8(qgetenv("XDG_CONFIG_HOME")) + QStringLiteral("/kestrum");
}

QString TestHome::runtimeDirectory()
{
    return QString::fromUtf8(qgetenv("XDG_RUNTIME_DIR"));
}

} // namespace kestrum
