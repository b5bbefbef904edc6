#include "tests/Support/LoginItemFixture.h"

#include <QCoreApplication>
#include <QTest>
#include <QtEndian>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace kestrum;

namespace {

constexpr char attribute[] = "system.posix_acl_access";
constexpr quint32 somebody = 1234;
constexpr quint32 noId = 0xFFFF'FFFF;
constexpr quint16 reads = ACL_READ | ACL_EXECUTE;
constexpr quint16 writes = ACL_READ | ACL_WRITE | ACL_EXECUTE;

struct Entry {
    quint16 tag;
    quint16 permissions;
    quint32 id;
};

/// An access list in the kernel's binary form. The owner has all rights, others have none. `entry` has its own permissions,
/// limited by `mask`.
QByteArray accessList(const Entry& entry, quint16 mask)
{
    const bool isUser = entry.tag == ACL_USER;
    const Entry nobody { ACL_GROUP_OBJ, entry.tag == ACL_GROUP_OBJ ? entry.permissions : quint16(0), noId };
    QList<Entry> entries { { ACL_USER_OBJ, writes, noId } };
    if (isUser)
        entries.append(entry);
    entries.append(nobody);
    if (entry.tag == ACL_GROUP)
        entries.append(entry);
    entries.append({ { ACL_MASK, mask, noId }, { ACL_OTHER, 0, noId } });

    const auto append = [](QByteArray& bytes, auto value) {
        const auto little = qToLittleEndian(value);
        bytes.append(reinterpret_cast<const char*>(&little), sizeof little);
    };
    QByteArray bytes;
    append(bytes, quint32(POSIX_ACL_XATTR_VERSION));
    for (const Entry& one : entries) {
        append(bytes, one.tag);
        append(bytes, one.permissions);
        append(bytes, one.id);
    }
    return bytes;
}

} // namespace

/// Only the user and root may be able to change a program that is started at every login. Access lists count, too.
class LoginItemTrustTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { m_fixture = std::make_unique<LoginItemFixture>(); }
    void init() { LoginItemFixture::clear(); }
    void cleanupTestCase() { m_fixture.reset(); }

    void whoIsLetInByAnAccessListCounts_data()
    {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<QString>("reason");
        const Entry user { ACL_USER, writes, somebody };
        QTest::newRow("another user writes")
            << accessList(user, writes) << QStringLiteral("its access list lets user 1234 change it");
        QTest::newRow("another group writes") << accessList({ ACL_GROUP, writes, somebody }, writes)
                                              << QStringLiteral("its access list lets group 1234 change it");
        QTest::newRow("another user reads") << accessList({ ACL_USER, reads, somebody }, writes) << QString();
        QTest::newRow("the mask keeps it to reading") << accessList(user, reads) << QString();
        QTest::newRow("root") << accessList({ ACL_USER, writes, 0 }, writes) << QString();
        QTest::newRow("its own user") << accessList({ ACL_USER, writes, ::geteuid() }, writes) << QString();
        QTest::newRow("the group of its own user's")
            << accessList({ ACL_GROUP, writes, ::geteuid() }, writes) << QString();
    }

    void whoIsLetInByAnAccessListCounts()
    {
        QFETCH(const QByteArray, list);
        QFETCH(const QString, reason);
        for (const QString& place : { m_fixture->agentProgram(), m_fixture->bundlePath() }) {
            const QByteArray path = QFile::encodeName(place);
            if (::setxattr(path.constData(), attribute, list.constData(), size_t(list.size()), 0) != 0)
                QSKIP("this file system has no access lists");
            const auto result = m_fixture->service().registerItem();
            QCOMPARE(::removexattr(path.constData(), attribute), 0);
            QCOMPARE(::chmod(path.constData(), 0700), 0);
            QCOMPARE(
                result.failureText(), reason.isEmpty() ? QString() : place + QStringLiteral(": ") + reason);
            QCOMPARE(result ? 0 : result.failure().error, reason.isEmpty() ? 0 : 3);
            LoginItemFixture::clear();
        }
    }

    void aListForWhatIsMadeInAFolderLetsNobodyIn()
    {
        const QByteArray path = QFile::encodeName(m_fixture->bundlePath());
        const QByteArray list = accessList({ ACL_USER, writes, somebody }, writes);
        constexpr char ofNewFiles[] = "system.posix_acl_default";
        if (::setxattr(path.constData(), ofNewFiles, list.constData(), size_t(list.size()), 0) != 0)
            QSKIP("this file system has no access lists");
        const auto result = m_fixture->service().registerItem();
        QCOMPARE(::removexattr(path.constData(), ofNewFiles), 0);
        QVERIFY(result);
    }

    void inAStickyFolderAllKeepTheirOwn()
    {
        const QByteArray path = QFile::encodeName(m_fixture->bundlePath());
        const QByteArray list = accessList({ ACL_USER, writes, somebody }, writes);
        QCOMPARE(::chmod(path.constData(), 01700), 0);
        if (::setxattr(path.constData(), attribute, list.constData(), size_t(list.size()), 0) != 0)
            QSKIP("this file system has no access lists");
        const auto result = m_fixture->service().registerItem();
        QCOMPARE(::removexattr(path.constData(), attribute), 0);
        QCOMPARE(::chmod(path.constData(), 0700), 0);
        QVERIFY(result);
    }

    void theReasonSaysWhoMayChangeWhat()
    {
        const QByteArray program = QFile::encodeName(m_fixture->agentProgram());
        QCOMPARE(::chmod(program.constData(), 0757), 0);
        const auto result = m_fixture->service().registerItem();
        QCOMPARE(::chmod(program.constData(), 0700), 0);
        QVERIFY(!result);
        QCOMPARE(result.failureText(),
            m_fixture->agentProgram() + QStringLiteral(": everybody may change it (mode 0757)"));
    }

    void aFolderOfAnotherUserOrGroupIsNamedWithItsNumber()
    {
        if (::getuid() != 0)
            QSKIP("only root can give a folder to others");
        const QByteArray folder = QFile::encodeName(m_fixture->agentBundle());
        const auto given = [&folder](uid_t user, gid_t group, mode_t mode) {
            return ::seteuid(0) == 0 && ::chown(folder.constData(), user, group) == 0
                && ::chmod(folder.constData(), mode) == 0 && ::seteuid(65534) == 0;
        };
        QVERIFY(given(somebody, 65534, 0755));
        const auto user = m_fixture->service().registerItem();
        QVERIFY(given(65534, 100, 0770));
        const auto group = m_fixture->service().registerItem();
        QVERIFY(given(65534, 65534, 0700));
        QVERIFY(!user && !group);
        QCOMPARE(user.failureText(), m_fixture->agentBundle() + QStringLiteral(": it belongs to user 1234"));
        QCOMPARE(group.failureText(),
            m_fixture->agentBundle() + QStringLiteral(": group 100 may change it (mode 0770)"));
    }

private:
    std::unique_ptr<LoginItemFixture> m_fixture;
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemTrustTest)
#include "LoginItemTrustTest.moc"
