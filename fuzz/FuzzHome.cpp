// SPDX-License-Identifier: MIT
#include "fuzz/FuzzHome.h"

#include "fuzz/FuzzTarget.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace kestrum {

namespace {

const QTemporaryDir& folder()
{
    static const QTemporaryDir directory;
    return directory;
}

} // namespace

void FuzzHome::prepare()
{
    const QDir home(folder().path());
    const auto give = [&home](const char* variable, const char* name) {
        const QString path = home.filePath(QString::fromLatin1(name));
        expect(QDir().mkpath(path), "a folder of the target's own can be made");
        // A runtime directory must be private.
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv(variable, path.toUtf8());
    };
    give("HOME", "home");
    give("XDG_CONFIG_HOME", "config");
    give("XDG_CONFIG_DIRS", "administrator");
    give("XDG_DATA_HOME", "data");
    give("XDG_CACHE_HOME", "cache");
    give("XDG_RUNTIME_DIR", "run");
    give("PATH", "programs"); // no target starts one
    for (const char* variable : { "DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS" })
        qputenv(variable, "disabled:");
    for (const char* variable :
        { "KESTRUM_SETTINGS_SUITE", "KESTRUM_LANGUAGE", "LANGUAGE", "XDG_CURRENT_DESKTOP" })
        qunsetenv(variable);
    qputenv("LC_ALL", "C.UTF-8");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "*=false");
}

} // namespace kestrum
