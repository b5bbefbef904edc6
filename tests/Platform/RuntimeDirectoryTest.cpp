#include "Platform/Files/RuntimeDirectory.h"
#include "tests/Support/KernelResources.h"
#include "tests/Support/TestHome.h"

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
    void init()
    {
        m_place = std::make_unique<QTemporaryDir>();
        m_root = m_place->filePath(QStringLiteral("run"));
        QCOMPARE(::mkdir(rootName().constData(), 0700), 0);
    }

    void directoryIsMadeForUsAlone()
    {
        const auto directory = RuntimeDirectory::open(m_root);
        QVERIFY2(directory, qPrintable(directory.failureText()));
        QCOMPARE(directory->path(), m_root + QStringLiteral("/kestrum"));
        QCOMPARE(modeOf(directory->path()), mode_t(0700));
        struct stat byPath { };
        struct stat byDescriptor { };
        QCOMPARE(::stat(QFile::encodeName(directory->path()).constData(), &byPath), 0);
        QCOMPARE(::fstat(directory->descriptor(), &byDescriptor), 0);
        QCOMPARE(byDescriptor.st_ino, byPath.st_ino);
    }

    void modeDoesNotDependOnTheUmask()
    {
        const mode_t saved = ::umask(0);
        const auto directory = RuntimeDirectory::open(m_root);
        const auto sub = directory->openSubdirectory("sub");
        ::umask(saved);
        QVERIFY(sub);
        QCOMPARE(modeOf(directory->path()), mode_t(0700));
        QCOMPARE(modeOf(directory->path() + QStringLiteral("/sub")), mode_t(0700));
    }

    void existingDirectoryIsTaken()
    {
        QVERIFY(RuntimeDirectory::open(m_root));
        QFile file(m_root + QStringLiteral("/kestrum/kept"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(RuntimeDirectory::open(m_root + QStringLiteral("/.//")));
        QVERIFY(file.exists());
    }

    void rootIsRefused_data()
    {
        QTest::addColumn<QString>("root");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* root, const char* reason) {
            QTest::newRow(*root ? root : "empty") << QString::fromLatin1(root) << QString::fromLatin1(reason);
        };
        row("", "not set");
        row("run", "absolute");
        row("%1/absent", "No such file");
        row("%1/file", "not a directory");
        row("%1/link", "not a directory");
        row("%1/link/", "not a directory");
        row("%1/link/.", "not a directory");
    }

    void rootIsRefused()
    {
        QFETCH(QString, root);
        QFETCH(const QString, reason);
        QVERIFY(QFile(m_place->filePath(QStringLiteral("file"))).open(QIODevice::WriteOnly));
        QVERIFY(QFile::link(m_root, m_place->filePath(QStringLiteral("link"))));
        QVERIFY(QDir::setCurrent(m_place->path()));
        const auto directory = RuntimeDirectory::open(root.replace(QStringLiteral("%1"), m_place->path()));
        QVERIFY(QDir::setCurrent(QStringLiteral("/")));
        QVERIFY(!directory);
        QVERIFY2(directory.failureText().contains(reason), qUtf8Printable(directory.failureText()));
        QVERIFY(!QFile::exists(m_place->filePath(QStringLiteral("absent"))));
        QVERIFY(!QFile::exists(m_root + QStringLiteral("/kestrum")));
    }

    void rootThatOthersMayEnterIsRefused_data()
    {
        QTest::addColumn<int>("mode");
        for (const int mode : { 0710, 0701, 0770, 0755, 0750, 0702, 0777, 01777 })
            QTest::addRow("%o", unsigned(mode)) << mode;
    }

    void rootThatOthersMayEnterIsRefused()
    {
        QFETCH(const int, mode);
        QCOMPARE(::chmod(rootName().constData(), mode_t(mode)), 0);
        const int before = lowestFreeDescriptor();
        const auto directory = RuntimeDirectory::open(m_root);
        QVERIFY(!directory);
        QVERIFY(directory.failureText().contains(QString::number(mode, 8)));
        // The refusal leaves nothing behind.
        QCOMPARE(lowestFreeDescriptor(), before);
        QVERIFY(!QFile::exists(m_root + QStringLiteral("/kestrum")));
    }

    void rootOfAnotherUserIsRefused()
    {
        const bool isRoot = ::geteuid() == 0;
        QVERIFY(!isRoot || ::chown(rootName().constData(), 65534, 65534) == 0);
        const auto directory = RuntimeDirectory::open(isRoot ? m_root : QStringLiteral("/root"));
        QVERIFY(!directory);
        QVERIFY(!isRoot || directory.failureText().contains(QStringLiteral("another user")));
    }

    void linkInPlaceOfTheDirectoryIsRefused()
    {
        const QString elsewhere = m_place->filePath(QStringLiteral("elsewhere"));
        QCOMPARE(::mkdir(QFile::encodeName(elsewhere).constData(), 0700), 0);
        QVERIFY(QFile::link(elsewhere, m_root + QStringLiteral("/kestrum")));
        QVERIFY(!RuntimeDirectory::open(m_root));
    }

    void directoryThatOthersMayEnterIsRefused()
    {
        QVERIFY(RuntimeDirectory::open(m_root));
        QCOMPARE(::chmod(QFile::encodeName(m_root + QStringLiteral("/kestrum")).constData(), 0711), 0);
        const auto directory = RuntimeDirectory::open(m_root);
        QVERIFY(!directory);
    }

    void subdirectoryIsCheckedLikewise()
    {
        const auto directory = RuntimeDirectory::open(m_root);
        QVERIFY(directory->openSubdirectory("made"));
        QCOMPARE(modeOf(directory->path() + QStringLiteral("/made")), mode_t(0700));

        QCOMPARE(::mkdirat(directory->descriptor(), "open", 0700), 0);
        QCOMPARE(::fchmodat(directory->descriptor(), "open", 0755, 0), 0);
        QVERIFY(!directory->openSubdirectory("open"));
        QCOMPARE(::symlinkat("made", directory->descriptor(), "linked"), 0);
        QVERIFY(!directory->openSubdirectory("linked"));
        QCOMPARE(::mkfifoat(directory->descriptor(), "fifo", 0600), 0);
        QVERIFY(!directory->openSubdirectory("fifo"));
    }

    void reasonCannotForgeALogLine()
    {
        QVERIFY(!RuntimeDirectory::open(QStringLiteral("/no\nwhere")).failureText().contains(u'\n'));
        QVERIFY(!RuntimeDirectory::open(QStringLiteral("no\nwhere")).failureText().contains(u'\n'));
    }

    void descriptorsAreNotInherited()
    {
        const auto directory = RuntimeDirectory::open(m_root);
        const auto sub = directory->openSubdirectory("sub");
        for (const int descriptor : { directory->descriptor(), directory->rootDescriptor(), sub->get() })
            QCOMPARE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    }

    void sharedDirectoryIsTheEnvironmentsOne()
    {
        QVERIFY(RuntimeDirectory::shared());
        QCOMPARE(RuntimeDirectory::shared()->rootPath(), TestHome::runtimeDirectory());
        QCOMPARE(&RuntimeDirectory::shared(), &RuntimeDirectory::shared());
    }

private:
    QByteArray rootName() const { return QFile::encodeName(m_root); }

    static mode_t modeOf(const QString& path)
    {
        struct stat state { };
        return ::lstat(QFile::encodeName(path).constData(), &state) == 0 ? state.st_mode & 07777 : 0;
    }

    std::unique_ptr<QTemporaryDir> m_place;
    QString m_root;
};

KESTRUM_TEST_MAIN(QCoreApplication, RuntimeDirectoryTest)
#include "RuntimeDirectoryTest.moc"
