#include "tests/Support/LoginItemTest.h"
#include "tests/Support/Rows.h"

#include <QtEndian>
#include <linux/posix_acl.h>
#include <linux/posix_acl_xattr.h>
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

/// An access list in the kernel's binary form. The owner has all rights, other users have none. `entry` has its own
/// permissions, limited by `mask`.
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

/// Only the user and root may be able to change a program that is started at every login. Access lists also count.
class LoginItemTrustTest : public LoginItemTest {
    Q_OBJECT

private Q_SLOTS:
    void whoIsLetInByAnAccessListCounts()
    {
        const Entry user { ACL_USER, writes, somebody };
        const struct {
            const char* name;
            QByteArray list;
            const char* reason;
        } rows[] {
            { "another user writes", accessList(user, writes), "its access list lets user 1234 change it" },
            { "another group writes", accessList({ ACL_GROUP, writes, somebody }, writes),
                "its access list lets group 1234 change it" },
            { "another user reads", accessList({ ACL_USER, reads, somebody }, writes), nullptr },
            { "the mask keeps it to reading", accessList(user, reads), nullptr },
            { "root", accessList({ ACL_USER, writes, 0 }, writes), nullptr },
            { "its own user", accessList({ ACL_USER, writes, ::geteuid() }, writes), nullptr },
            { "its own user's group", accessList({ ACL_GROUP, writes, ::geteuid() }, writes), nullptr },
        };
        for (const auto& row : rows) {
            for (const QString& place : { agentProgram(), bundlePath() }) {
                const auto result = registeredWithList(place, attribute, row.list);
                if (!result)
                    QSKIP("this file system has no access lists");
                QCOMPARE_ROW(row.name, result->failureText(),
                    row.reason ? place + text(": ") + text(row.reason) : QString());
                QCOMPARE_ROW(row.name, codeOf(*result), row.reason ? 3 : 0);
                LoginItemFixture::clear();
            }
        }
    }

    void aListLetsNobodyInByNewFilesOrIntoAStickyFolder()
    {
        const QByteArray list = accessList({ ACL_USER, writes, somebody }, writes);
        const auto ofNewFiles = registeredWithList(bundlePath(), "system.posix_acl_default", list);
        LoginItemFixture::clear();
        const auto sticky = registeredWithList(bundlePath(), attribute, list, 01700);
        if (!ofNewFiles || !sticky)
            QSKIP("this file system has no access lists");
        QCOMPARE(ofNewFiles->failureText(), QString());
        QCOMPARE(sticky->failureText(), QString());
    }

    void aFolderOfAnotherUserOrGroupIsNamedWithItsNumber()
    {
        if (::getuid() != 0)
            QSKIP("only root can give a folder to others");
        const struct {
            uid_t user;
            gid_t group;
            mode_t mode;
            const char* reason;
        } rows[] {
            { somebody, 65534, 0755, "it belongs to user 1234" },
            { 65534, 100, 0770, "group 100 may change it (mode 0770)" },
            { 65534, 65534, 0770, nullptr },
        };
        const QByteArray folder = QFile::encodeName(agentBundle());
        for (const auto& row : rows) {
            QVERIFY(::seteuid(0) == 0 && ::chown(folder.constData(), row.user, row.group) == 0
                && ::chmod(folder.constData(), row.mode) == 0 && ::seteuid(65534) == 0);
            const auto result = service().registerItem();
            QCOMPARE(
                result.failureText(), row.reason ? agentBundle() + text(": ") + text(row.reason) : QString());
            QCOMPARE(codeOf(result), row.reason ? 3 : 0);
        }
        QCOMPARE(::chmod(folder.constData(), 0700), 0);
    }

private:
    /// The outcome of registering while the path has this access list; nothing if the path's file system has no access lists.
    std::optional<Result<>> registeredWithList(
        const QString& place, const char* kind, const QByteArray& list, int mode = 0700) const
    {
        const QByteArray path = QFile::encodeName(place);
        ::chmod(path.constData(), mode_t(mode));
        const bool isSet = ::setxattr(path.constData(), kind, list.constData(), size_t(list.size()), 0) == 0;
        std::optional<Result<>> result;
        if (isSet)
            result = service().registerItem();
        ::removexattr(path.constData(), kind);
        ::chmod(path.constData(), 0700);
        return result;
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemTrustTest)
#include "LoginItemTrustTest.moc"
