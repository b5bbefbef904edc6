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
    const QStringList trail = m_file.trail();
    if (trail == m_trail)
        return;
    m_trail = trail;

    QMap<QString, QByteArrayList> entries;
    for (const QString& path : trail) {
        const QFileInfo place(path);
        entries[place.path()].append(QFile::encodeName(place.fileName()));
    }
    m_watches.clear();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        const auto heard = [this, names = entry.value()](const QByteArray& changedName) {
            if (changedName.isEmpty() || names.contains(changedName))
                m_changed();
        };
        m_watches.push_back(
            std::make_unique<DirectoryWatch>(entry.key(), DirectoryWatch::Interest::content, heard));
    }
}

} // namespace kestrum
