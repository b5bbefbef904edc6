// Saves on a file system that is really full: 256 KiB of memory, mounted in a private mount namespace before the test begins.
// Other tests simulate ENOSPC for a call. A really full disk also shows the calls that report no error.

#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/SettingsText.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/JsonValues.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTest>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace kestrum;

namespace {

constexpr char mountPoint[] = "/mnt";

bool writeWhole(const char* path, const QByteArray& text)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
}

/// Moves the process into a private mount namespace; without root rights, also into a user namespace. The process must have
/// only one thread. Returns false on failure.
bool enterNameSpace()
{
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (::unshare(CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER)) != 0)
        return false;
    if (user != 0
        && (!writeWhole("/proc/self/setgroups", "deny")
            || !writeWhole("/proc/self/uid_map", "0 " + QByteArray::number(user) + " 1\n")
            || !writeWhole("/proc/self/gid_map", "0 " + QByteArray::number(group) + " 1\n")))
        return false;
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

} // namespace

class StoreFullDiskTest : public QObject {
    Q_OBJECT

public:
    static inline bool s_hasNameSpace = false;

private Q_SLOTS:
    void initTestCase()
    {
        if (!s_hasNameSpace)
            QSKIP("the kernel gives this user no mount name space of their own");
    }

    void init()
    {
        // Room for the old and the new file of the largest size, before the ballast takes it.
        m_isMounted = ::mount("kestrum", mountPoint, "tmpfs", 0, "size=256k,mode=0700") == 0;
        QVERIFY2(m_isMounted, qUtf8Printable(qt_error_string(errno)));
    }

    void cleanup()
    {
        if (m_isMounted)
            QCOMPARE(::umount2(mountPoint, MNT_DETACH), 0);
    }

    void fullDiskKeepsTheOldFileAndIsTold_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("freePages");
        for (const int freePages : { 0, 1, 2 }) {
            const auto row = [freePages](int size) {
                QTest::addRow("%d bytes, %d pages free", size, freePages) << size << freePages;
            };
            for (const int size : { 100, 4050, 4096, 8150, 12'250, 16'350, 20'450, 24'550, 28'650 })
                row(size);
            for (int size = 1000; size <= 64'000; size += 1000)
                row(size);
        }
    }

    void fullDiskKeepsTheOldFileAndIsTold()
    {
        QFETCH(const int, size);
        QFETCH(const int, freePages);
        FaultRow row("full disk");
        const SettingsFile file(path());
        QVERIFY(file.save(payload(size, 0)));
        const QByteArray before = contentOf(path());
        const bool fits = (before.size() + 4095) / 4096 <= freePages;
        fillUpTo(quint64(freePages));

        const auto saved = file.save(payload(size, 1));
        QCOMPARE(bool(saved), fits);
        QCOMPARE(flawOf(size, before, bool(saved)), QByteArray());
        if (!fits) {
            QVERIFY2(saved.failureText().contains(path())
                    && saved.failureText().contains(QStringLiteral("No space left")),
                qUtf8Printable(saved.failureText()));
            QCOMPARE(SettingsFile::troubleOf(saved.failure()), SettingsFile::Trouble::diskFull);
            QCOMPARE(QDir(QString::fromLatin1(mountPoint) + QStringLiteral("/kestrum"))
                         .entryList({ QStringLiteral(".kestrum-*") }, QDir::Files | QDir::Hidden),
                QStringList());
            QVERIFY(QFile::remove(QString::fromLatin1(mountPoint) + QStringLiteral("/ballast")));
            QVERIFY(file.save(payload(size, 1)));
        }
        QCOMPARE(file.read()->values, payload(size, 1).values);
        row.add(fits ? 0 : 1); // what fits shows only that the disk is not too full
    }

    void wrongWriterIsFoundOut()
    {
        // Proves that the check above can fail. This writer does not look at what `write` returns.
        FaultRow row("full disk");
        QVERIFY(SettingsFile(path()).save(payload(5000, 0)));
        const QByteArray before = contentOf(path());
        fillUpTo(0);
        QFile file(path() + u'~');
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        (void)file.write(SettingsText::serialised(payload(5000, 1).values));
        file.close();
        QCOMPARE(
            ::rename(QFile::encodeName(file.fileName()).constData(), QFile::encodeName(path()).constData()),
            0);
        QCOMPARE(flawOf(5000, before, true), QByteArray("told as saved, but not there"));
        row.addFoundOut();
    }

    void noInodeLeftKeepsTheOldFileAndIsTold()
    {
        FaultRow row("full disk");
        const SettingsFile file(path());
        QVERIFY(file.save(payload(100, 0)));
        const QByteArray before = contentOf(path());
        // The limit is the number of inodes in use: the root, the directory, the file and its lock.
        QCOMPARE(::mount("kestrum", mountPoint, "tmpfs", MS_REMOUNT, "size=256k,nr_inodes=4"), 0);
        const auto saved = file.save(payload(100, 1));
        QVERIFY(!saved);
        QVERIFY2(saved.failureText().contains(QStringLiteral("temporary file: No space left")),
            qUtf8Printable(saved.failureText()));
        QCOMPARE(contentOf(path()), before);
        const auto first = SettingsFile(path() + QStringLiteral(".other")).save(payload(100, 0));
        QVERIFY(!first);
        QVERIFY2(first.failureText().contains(QStringLiteral("lock: No space left")),
            qUtf8Printable(first.failureText()));
        QCOMPARE(::mount("kestrum", mountPoint, "tmpfs", MS_REMOUNT, "size=256k,nr_inodes=100"), 0);
        QVERIFY(file.save(payload(100, 1)));
        row.add(2);
    }

    void readOnlyFileSystemIsTold()
    {
        const SettingsFile file(path());
        QVERIFY(file.save(payload(100, 0)));
        QCOMPARE(::mount("kestrum", mountPoint, "tmpfs", MS_REMOUNT | MS_RDONLY, "size=256k"), 0);
        const auto saved = file.save(payload(100, 1));
        QVERIFY(!saved);
        QVERIFY2(saved.failureText().contains(QStringLiteral("Read-only file system")),
            qUtf8Printable(saved.failureText()));
        QCOMPARE(file.read()->values, payload(100, 0).values);
    }

private:
    QString path() const { return QString::fromLatin1(mountPoint) + QStringLiteral("/kestrum/suite.json"); }

    /// Checks the file after a save of `payload(size, 1)` over a file with the content `before`. Returns the fault, or an empty text.
    QByteArray flawOf(int size, const QByteArray& before, bool isSaved) const
    {
        if (isSaved)
            return SettingsFile(path()).read()->values == payload(size, 1).values
                ? ""
                : "told as saved, but not there";
        return contentOf(path()) == before ? "" : "told as failed, but the old file is another one";
    }

    static void fillUpTo(quint64 freePages)
    {
        struct statvfs state = {};
        QCOMPARE(::statvfs(mountPoint, &state), 0);
        QVERIFY(state.f_bfree >= freePages);
        const QByteArray name = mountPoint + QByteArray("/ballast");
        const int file = ::open(name.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const QByteArray page(qsizetype(state.f_bsize), 'x');
        for (quint64 i = freePages; i < state.f_bfree; ++i)
            QCOMPARE(::write(file, page.constData(), size_t(page.size())), ssize_t(page.size()));
        ::close(file);
        QCOMPARE(::statvfs(mountPoint, &state), 0);
        QCOMPARE(state.f_bfree, freePages);
    }

    static SettingsFile::Changes payload(int size, int version)
    {
        return { json({ { "a", QString(size, QChar(u'a' + version)) }, { "v", version } }), {} };
    }

    bool m_isMounted = false;
};

KESTRUM_TEST_MAIN_OF(StoreFullDiskTest)(int argc, char** argv)
{
    StoreFullDiskTest::s_hasNameSpace = enterNameSpace();
    const TestHome home;
    const QCoreApplication application(argc, argv);
    StoreFullDiskTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "StoreFullDiskTest.moc"
