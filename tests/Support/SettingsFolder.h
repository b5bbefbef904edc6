#pragma once

#include "Platform/Store/SettingsFile.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/TestHome.h"

#include <sys/stat.h>

namespace kestrum {

/// A folder for each test of a settings file. Names are relative to it.
class SettingsFolder {
protected:
    void makeFolder()
    {
        m_directory = TestHome::root() + QStringLiteral("/file%1").arg(++m_number);
        QVERIFY(QDir().mkpath(m_directory));
    }
    QString path(const char* name = "suite.json") const
    {
        return m_directory + u'/' + QString::fromLatin1(name);
    }
    /// The state of the entry itself; links are not followed.
    static struct stat stateOf(const QString& path)
    {
        struct stat state = {};
        ::lstat(QFile::encodeName(path).constData(), &state);
        return state;
    }

    const SettingsFile::Changes someChange { { { QStringLiteral("a"), 1 } }, {} };
    QString m_directory;

private:
    int m_number = 0;
};

} // namespace kestrum
