// SPDX-License-Identifier: MIT
#include "Platform/Store/SettingsWatch.h"

#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <utility>

namespace kestrum {

SettingsWatch::SettingsWatch(const SettingsFile& file, std::function<void()> changed)
    : m_file(file)
    , m_changed(std::move(changed))
{
}

void SettingsWatch::follow()
{
    const QStringList linkChain = m_file.linkChain();
    if (linkChain == m_linkChain)
        return;
    m_linkChain = linkChain;

    QMap<QString, QByteArrayList> entries;
    for (const QString& path : linkChain) {
        const QFileInfo info(path);
        entries[info.path()].append(QFile::encodeName(info.fileName()));
    }
    m_watches.clear();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        const auto notify = [this, names = entry.value()](const QByteArray& changedName) {
            if (changedName.isEmpty() || names.contains(changedName))
                m_changed();
        };
        m_watches.push_back(
            std::make_unique<DirectoryWatch>(entry.key(), DirectoryWatch::Interest::content, notify));
    }
}

} // namespace kestrum
