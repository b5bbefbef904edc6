#include "tests/Support/AptWorld.h"

#include "tests/Support/Programs.h"
#include "tests/Support/Text.h"

#include <QCryptographicHash>

namespace kestrum {

namespace {

QByteArray control(const QByteArray& version, const QByteArray& status = {})
{
    return "Package: kestrum\n" + status + "Version: " + version
        + "\nArchitecture: all\nMaintainer: Nobody <nobody@example.org>\nDescription: a package of the "
          "tests\n";
}

} // namespace

AptWorld::AptWorld(const char* published, const char* installed)
{
    for (const char* directory :
        { "etc/apt/apt.conf.d", "etc/apt/sources.list.d", "etc/apt/preferences.d", "etc/apt/trusted.gpg.d",
            "var/lib/apt/lists/partial", "var/cache/apt/archives/partial", "var/log/apt", "repository" })
        QVERIFY(QDir().mkpath(m_tree.path(QString::fromLatin1(directory))));
    const QByteArray root = m_tree.root().toUtf8();
    // APT must not cache lists: it would miss a list that is rewritten within a second with the same size.
    m_tree.write(text("apt.conf"),
        "Dir \"" + root + "/\";\nDir::State::status \"" + root
            + "/var/lib/dpkg/status\";\n"
              "Dir::Cache::pkgcache \"\";\nDir::Cache::srcpkgcache \"\";\n"
              "APT::Sandbox::User \"\";\nAcquire::Languages \"none\";\n");
    qputenv("APT_CONFIG", root + "/apt.conf");
    install(installed);
    publish(published);
}

AptWorld::~AptWorld()
{
    qunsetenv("APT_CONFIG");
}

QByteArray AptWorld::package(const QByteArray& version) const
{
    m_tree.write(text("build/DEBIAN/control"), control(version));
    m_tree.write(text("build/usr/share/doc/kestrum/version"), version);
    const QString file
        = text("repository/kestrum_%1_all.deb").arg(QString::fromUtf8(version).section(u':', -1));
    Programs::output(text("dpkg-deb"),
        words("--build --root-owner-group -Znone") << m_tree.path(text("build")) << m_tree.path(file));
    const QByteArray content = m_tree.read(file);
    return control(version) + "Filename: ./" + QFileInfo(file).fileName().toUtf8()
        + "\nSize: " + QByteArray::number(content.size())
        + "\nSHA256: " + QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex() + "\n\n";
}

void AptWorld::publish(const char* versions)
{
    QByteArray index;
    for (const QString& version : words(versions))
        index += package(version.toUtf8());
    m_tree.write(text("repository/Packages"), index);
    const QByteArray repository = m_tree.path(text("repository")).toUtf8();
    setSources(index.isEmpty() ? QByteArray() : "deb [trusted=yes] file:" + repository + " ./\n");
    Programs::output(text("apt-get"), words("--quiet update"));
}

void AptWorld::install(const char* version)
{
    m_tree.write(text("var/lib/dpkg/status"),
        *version ? control(version, "Status: install ok installed\n") : QByteArray());
}

void AptWorld::prefer(const QByteArray& preferences)
{
    m_tree.write(text("etc/apt/preferences"), preferences);
}

void AptWorld::setSources(const QByteArray& sources)
{
    m_tree.write(text("etc/apt/sources.list"), sources);
}

QByteArrayList AptWorld::places()
{
    QByteArrayList places;
    for (const char* kind : { "Dir::Etc/d", "Dir::State/d", "Dir::State::lists/d", "Dir::State::status/f",
             "Dir::Cache/d", "Dir::Cache::archives/d", "Dir::Log/d" })
        places += Programs::output(text("apt-config"), words("shell PLACE") << text(kind))
                      .replace("PLACE='", "")
                      .trimmed();
    return places;
}

QByteArray AptWorld::policy()
{
    return Programs::output(text("apt-cache"), words("policy kestrum"));
}

} // namespace kestrum
