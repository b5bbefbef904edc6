// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

namespace kestrum {

/// Puts the settings directory in memory while this object exists: on a slow or busy disk, thousands of saves take minutes.
class SettingsInMemory {
public:
    SettingsInMemory()
    {
        if (m_memory.isValid())
            qputenv("XDG_CONFIG_HOME", QFile::encodeName(m_memory.filePath(QStringLiteral(".config"))));
    }
    ~SettingsInMemory() { qputenv("XDG_CONFIG_HOME", m_before); }
    Q_DISABLE_COPY_MOVE(SettingsInMemory)

private:
    const QByteArray m_before = qgetenv("XDG_CONFIG_HOME");
    const QTemporaryDir m_memory { QStringLiteral("/dev/shm/kestrum-XXXXXX") };
};

} // namespace kestrum
