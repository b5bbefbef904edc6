#include "tests/Support/AptWorld.h"

#include "tests/Support/Programs.h"

#include <QCryptographicHash>

namespace kestrum {

namespace {

QByteArray control(const QString& version, const QByteArray& status = {})
{
    return "Package: kestrum\n" + status + "Version: " + version.toUtf8()
        + "\nArchitecture: all\nMaintainer: Nobody <nobody@example.org>\nDescription: a package of the "
          "tests\n";
}

} // namespace

AptWorld::AptWorld()
{
    for (const char* directory :
        { "etc/apt/apt.conf.d", "etc/apt/sources.list.d", "etc/apt/preferences.d", "etc/apt/trusted.gpg.d",
            "var/lib/apt/lists/partial", "var/cache/apt/archives/partial", "var/log/apt", "repository" })
        QVERIFY(QDir().mkpath(m_tree.path(QString::fromLatin1(directory))));
    const QByteArray root = m_tree.root().toUtf8();
    // APT must not cache lists: it would miss a list that is rewritten within a second with the same size.
    m_tree.write(QStringLiteral("apt.conf"),
        "Dir \"" + root + "/\";\nDir::State::status \"" + root
            + "/var/lib/dpkg/status\";\n"
              "Dir::Cache::pkgcache \"\";\nDir::Cache::srcpkgcache \"\";\n"
              "APT::Sandbox::User \"\";\nAcquire::Languages \"none\";\n");
    qputenv("APT_CONFIG", root + "/apt.conf");
    install({});
    setSources({});
}

AptWorld::~AptWorld()
{
    qunsetenv("APT_CONFIG");
}

QByteArray AptWorld::package(const QString& version) const
{
    m_tree.write(QStringLiteral("build/DEBIAN/control"), control(version));
    m_tree.write(QStringLiteral("build/usr/share/doc/kestrum/version"), version.toUtf8());
    const QString file = QStringLiteral("repository/kestrum_%1_all.deb").arg(version.section(u':', -1));
    Programs::output(QStringLiteral("dpkg-deb"),
        { QStringLiteral("--build"), QStringLiteral("--root-owner-group"), QStringLiteral("-Znone"),
            m_tree.path(QStringLiteral("build")), m_tree.path(file) });
    QFile built(m_tree.path(file));
    if (!built.open(QIODevice::ReadOnly))
        return {};
    const QByteArray content = built.readAll();
    return control(version) + "Filename: ./" + QFileInfo(file).fileName().toUtf8()
        + "\nSize: " + QByteArray::number(content.size())
        + "\nSHA256: " + QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex() + "\n\n";
}

void AptWorld::publish(const QStringList& versions)
{
    QByteArray index;
    for (const QString& version : versions)
        index += package(version);
    m_tree.write(QStringLiteral("repository/Packages"), index);
    setSources("deb [trusted=yes] file:" + m_tree.path(QStringLiteral("repository")).toUtf8() + " ./\n");
    update();
}

void AptWorld::withdraw()
{
    setSources({});
    update();
}

void AptWorld::install(const QString& version)
{
    m_tree.write(QStringLiteral("var/lib/dpkg/status"),
        version.isEmpty() ? QByteArray() : control(version, "Status: install ok installed\n"));
}

void AptWorld::prefer(const QByteArray& preferences)
{
    m_tree.write(QStringLiteral("etc/apt/preferences"), preferences);
}

void AptWorld::setSources(const QByteArray& sources)
{
    m_tree.write(QStringLiteral("etc/apt/sources.list"), sources);
}

void AptWorld::update()
{
    Programs::output(QStringLiteral("apt-get"), { QStringLiteral("--quiet"), QStringLiteral("update") });
}

QByteArrayList AptWorld::places()
{
    QByteArrayList places;
    for (const char* kind : { "Dir::Etc/d", "Dir::State/d", "Dir::State::lists/d", "Dir::State::status/f",
             "Dir::Cache/d", "Dir::Cache::archives/d", "Dir::Log/d" })
        places += Programs::output(QStringLiteral("apt-config"),
            { QStringLiteral("shell"), QStringLiteral("PLACE"), QString::fromLatin1(kind) })
                      .replace("PLACE='", "")
                      .trimmed();
    return places;
}

QByteArray AptWorld::policy()
{
    return Programs::output(
        QStringLiteral("apt-cache"), { QStringLiteral("policy"), QStringLiteral("kestrum") });
}

} // namespace kestrum
