#pragma once

#include "tests/Support/FileTree.h"

namespace kestrum {

/// A private APT while this object exists, with its own lists, repository folder and record of installed packages. Environment
/// variables make every APT that this process starts use these files. The machine's own APT is not touched.
class AptWorld {
public:
    /// The repository holds the versions in `published`, separated by blanks; see `publish` and `install`.
    explicit AptWorld(const char* published = "", const char* installed = "");
    ~AptWorld();
    Q_DISABLE_COPY_MOVE(AptWorld)

    /// Makes the repository hold exactly these versions of the package `kestrum`, and updates APT's lists. Without a version,
    /// there is no repository.
    void publish(const char* versions);
    /// Records this version of `kestrum` as installed, as dpkg would. An empty version means not installed.
    void install(const char* version);

    /// Writes APT's preferences or its list of sources.
    void prefer(const QByteArray& preferences);
    void setSources(const QByteArray& sources);

    QString root() const { return m_tree.root(); }
    /// The places that this process's APT reads and writes: settings, lists, caches, logs, installed packages.
    static QByteArrayList places();
    /// The output of "apt-cache policy kestrum".
    static QByteArray policy();

private:
    QByteArray package(const QByteArray& version) const;

    FileTree m_tree;
};

} // namespace kestrum
