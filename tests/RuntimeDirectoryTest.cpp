#include "Platform/Files/RuntimeDirectory.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class RuntimeDirectoryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void directoryIsMadeForUsAlone();
    void modeDoesNotDependOnTheUmask();
    void existingDirectoryIsTaken();
    void emptyOrRelativeRootIsRefused();
    void absentRootIsRefused();
    void fileAsRootIsRefused();
    void rootThatOthersMayEnterIsRefused_data();
    void rootThatOthersMayEnterIsRefused();
    void rootOfAnotherUserIsRefused();
    void linkedRootIsRefused_data();
    void linkedRootIsRefused();
    void linkInPlaceOfTheDirectoryIsRefused();
    void directoryThatOthersMayEnterIsRefused();
    void subdirectoryIsCheckedLikewise();
    void refusalLeavesNothingBehind();
    void reasonCannotForgeALogLine();
    void descriptorsAreNotInherited();
    void sharedDirectoryIsTheEnvironmentsOne();

private:
    QByteArray rootName() const { return QFile::encodeName(m_root); }
    static mode_t modeOf(const QString& path);

    std::unique_ptr<QTemporaryDir> m_place;
    QString m_root;
};

void RuntimeDirectoryTest::init()
{
    m_place = std::make_unique<QTemporaryDir>();
    m_root = m_place->filePath(QStringLiteral("run"));
    QCOMPARE(::mkdir(rootName().constData(), 0700), 0);
}

mode_t RuntimeDirectoryTest::modeOf(const QString& path)
{
    struct stat state { };
    return ::lstat(QFile::encodeName(path).constData(), &state) == 0 ? state.st_mode & 07777 : 0;
}

void RuntimeDirectoryTest::directoryIsMadeForUsAlone()
{
    const RuntimeDirectory directory(m_root);
    QVERIFY2(directory.isValid(), qPrintable(directory.reason()));
    QVERIFY(directory.reason().isEmpty());
    QCOMPARE(directory.path(), m_root + QStringLiteral("/kestrum"));
    QCOMPARE(modeOf(directory.path()), mode_t(0700));
    struct stat byPath { };
    struct stat byDescriptor { };
    QCOMPARE(::stat(QFile::encodeName(directory.path()).constData(), &byPath), 0);
    QCOMPARE(::fstat(directory.descriptor(), &byDescriptor), 0);
    QCOMPARE(byDescriptor.st_ino, byPath.st_ino);
}

void RuntimeDirectoryTest::modeDoesNotDependOnTheUmask()
{
    const mode_t saved = ::umask(0);
    const RuntimeDirectory directory(m_root);
    const int sub = directory.openSubdirectory("sub");
    ::umask(saved);
    QVERIFY(sub >= 0);
    ::close(sub);
    QCOMPARE(modeOf(directory.path()), mode_t(0700));
    QCOMPARE(modeOf(directory.path() + QStringLiteral("/sub")), mode_t(0700));
}

void RuntimeDirectoryTest::existingDirectoryIsTaken()
{
    QVERIFY(RuntimeDirectory(m_root).isValid());
    QFile file(m_root + QStringLiteral("/kestrum/kept"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(RuntimeDirectory(m_root + QStringLiteral("/.//")).isValid());
    QVERIFY(file.exists());
}

void RuntimeDirectoryTest::emptyOrRelativeRootIsRefused()
{
    QVERIFY(!RuntimeDirectory(QString()).isValid());
    QVERIFY(QDir::setCurrent(m_place->path()));
    const RuntimeDirectory relative(QStringLiteral("run"));
    QVERIFY(QDir::setCurrent(QStringLiteral("/")));
    QVERIFY(!relative.isValid());
    QVERIFY(relative.reason().contains(QStringLiteral("absolute")));
    QCOMPARE(relative.descriptor(), -1);
}

void RuntimeDirectoryTest::absentRootIsRefused()
{
    const QString absent = m_place->filePath(QStringLiteral("absent"));
    QVERIFY(!RuntimeDirectory(absent).isValid());
    QVERIFY(!QFile::exists(absent));
}

void RuntimeDirectoryTest::fileAsRootIsRefused()
{
    QFile file(m_place->filePath(QStringLiteral("file")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QVERIFY(!RuntimeDirectory(file.fileName()).isValid());
}

void RuntimeDirectoryTest::rootThatOthersMayEnterIsRefused_data()
{
    QTest::addColumn<int>("mode");
    for (const int mode : { 0710, 0701, 0770, 0755, 0750, 0702, 0777, 01777 })
        QTest::addRow("%o", unsigned(mode)) << mode;
}

void RuntimeDirectoryTest::rootThatOthersMayEnterIsRefused()
{
    QFETCH(const int, mode);
    QCOMPARE(::chmod(rootName().constData(), mode_t(mode)), 0);
    const RuntimeDirectory directory(m_root);
    QVERIFY(!directory.isValid());
    QVERIFY(directory.reason().contains(QString::number(mode, 8)));
}

void RuntimeDirectoryTest::rootOfAnotherUserIsRefused()
{
    if (::geteuid() == 0) {
        QCOMPARE(::chown(rootName().constData(), 65534, 65534), 0);
        const RuntimeDirectory directory(m_root);
        QVERIFY(!directory.isValid());
        QVERIFY(directory.reason().contains(QStringLiteral("another user")));
    } else {
        QVERIFY(!RuntimeDirectory(QStringLiteral("/root")).isValid());
    }
}

void RuntimeDirectoryTest::linkedRootIsRefused_data()
{
    QTest::addColumn<QString>("tail");
    QTest::newRow("as it is") << QString();
    QTest::newRow("with a final slash") << QStringLiteral("/");
    QTest::newRow("with a final dot") << QStringLiteral("/.");
}

void RuntimeDirectoryTest::linkedRootIsRefused()
{
    QFETCH(const QString, tail);
    const QString link = m_place->filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(m_root, link));
    QVERIFY(!RuntimeDirectory(link + tail).isValid());
    QVERIFY(!QFile::exists(m_root + QStringLiteral("/kestrum")));
}

void RuntimeDirectoryTest::linkInPlaceOfTheDirectoryIsRefused()
{
    const QString elsewhere = m_place->filePath(QStringLiteral("elsewhere"));
    QCOMPARE(::mkdir(QFile::encodeName(elsewhere).constData(), 0700), 0);
    QVERIFY(QFile::link(elsewhere, m_root + QStringLiteral("/kestrum")));
    QVERIFY(!RuntimeDirectory(m_root).isValid());
}

void RuntimeDirectoryTest::directoryThatOthersMayEnterIsRefused()
{
    QVERIFY(RuntimeDirectory(m_root).isValid());
    QCOMPARE(::chmod(QFile::encodeName(m_root + QStringLiteral("/kestrum")).constData(), 0711), 0);
    const RuntimeDirectory directory(m_root);
    QVERIFY(!directory.isValid());
    QCOMPARE(directory.rootDescriptor(), -1);
}

void RuntimeDirectoryTest::subdirectoryIsCheckedLikewise()
{
    const RuntimeDirectory directory(m_root);
    const int made = directory.openSubdirectory("made");
    QVERIFY(made >= 0);
    ::close(made);
    QCOMPARE(modeOf(directory.path() + QStringLiteral("/made")), mode_t(0700));

    QCOMPARE(::mkdirat(directory.descriptor(), "open", 0700), 0);
    QCOMPARE(::fchmodat(directory.descriptor(), "open", 0755, 0), 0);
    QCOMPARE(directory.openSubdirectory("open"), -1);
    QCOMPARE(::symlinkat("made", directory.descriptor(), "linked"), 0);
    QCOMPARE(directory.openSubdirectory("linked"), -1);
    QCOMPARE(::mkfifoat(directory.descriptor(), "fifo", 0600), 0);
    QCOMPARE(directory.openSubdirectory("fifo"), -1);
    QCOMPARE(RuntimeDirectory(QString()).openSubdirectory("made"), -1);
}

void RuntimeDirectoryTest::refusalLeavesNothingBehind()
{
    QCOMPARE(::chmod(rootName().constData(), 0755), 0);
    const int before = ::dup(STDIN_FILENO);
    ::close(before);
    QVERIFY(!RuntimeDirectory(m_root).isValid());
    const int after = ::dup(STDIN_FILENO);
    ::close(after);
    QCOMPARE(after, before);
    QVERIFY(!QFile::exists(m_root + QStringLiteral("/kestrum")));
}

void RuntimeDirectoryTest::reasonCannotForgeALogLine()
{
    QVERIFY(!RuntimeDirectory(QStringLiteral("/no\nwhere")).reason().contains(u'\n'));
    QVERIFY(!RuntimeDirectory(QStringLiteral("no\nwhere")).reason().contains(u'\n'));
}

void RuntimeDirectoryTest::descriptorsAreNotInherited()
{
    const RuntimeDirectory directory(m_root);
    const int sub = directory.openSubdirectory("sub");
    for (const int descriptor : { directory.descriptor(), directory.rootDescriptor(), sub })
        QCOMPARE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    ::close(sub);
}

void RuntimeDirectoryTest::sharedDirectoryIsTheEnvironmentsOne()
{
    QVERIFY(RuntimeDirectory::shared().isValid());
    QCOMPARE(RuntimeDirectory::shared().rootPath(), TestHome::runtimeDirectory());
    QCOMPARE(&RuntimeDirectory::shared(), &RuntimeDirectory::shared());
}

KESTRUM_TEST_MAIN(QCoreApplication, RuntimeDirectoryTest)
#include "RuntimeDirectoryTest.moc"
