#pragma once

#include "tests/Support/FileTree.h"

#include <QByteArray>
#include <QStringList>

namespace kestrum {

/// An APT of its own for as long as this lives: own lists, own repository in a folder, own record of what is installed.
/// Every APT that this process starts finds it by the environment; the machine's own is not touched.
class AptWorld {
public:
    AptWorld();
    ~AptWorld();
    Q_DISABLE_COPY_MOVE(AptWorld)

    /// Makes the repository hold packages of `kestrum` in these versions, and nothing else, and has APT read it.
    void publish(const QStringList& versions);
    /// Takes the repository away.
    void withdraw();

    /// Records `kestrum` as installed in this version, as dpkg would; an empty one as not installed.
    void install(const QString& version);

    /// APT's preferences, and its list of sources.
    void prefer(const QByteArray& preferences);
    void setSources(const QByteArray& sources);

    QString root() const { return m_tree.root(); }
    /// Where the APT of this process reads and writes: settings, lists, caches, logs, what is installed.
    static QByteArrayList places();
    /// What "apt-cache policy kestrum" says.
    static QByteArray policy();

private:
    QByteArray package(const QString& version) const;
    void update();

    FileTree m_tree;
};

} // namespace kestrum
