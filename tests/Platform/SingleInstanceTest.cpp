#include "Platform/Processes/SingleInstance.h"
#include "tests/Support/InstanceFixture.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/Rows.h"

#include <QDir>
#include <QRegularExpression>
#include <csignal>
#include <memory>
#include <sys/stat.h>

using namespace kestrum;

class SingleInstanceTest : public QObject, InstanceFixture {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        QFile::remove(path(".lock"));
        QFile::remove(path(".socket"));
        QDir().rmdir(path(".socket"));
        QDir().rmdir(path(".lock"));
    }

    void onlyOneIsFirst()
    {
        const SingleInstance first("Kestrum");
        QVERIFY(first.isFirst());
        QVERIFY(!SingleInstance("Kestrum").isFirst());
        HelperProcess other(start());
        QCOMPARE(other.line(), QByteArray("second"));
    }

    void everyNameHasAPlaceOfItsOwn()
    {
        const SingleInstance first("Kestrum");
        QVERIFY(SingleInstance("KestrumAgent").isFirst());
    }

    void thePlaceIsFreeAfterAnOrderlyEnd()
    {
        {
            const SingleInstance first("Kestrum");
        }
        QVERIFY(!QFile::exists(path(".socket")));
        QVERIFY(SingleInstance("Kestrum").isFirst());
    }

    void thePlaceIsFreeAfterAKill()
    {
        HelperProcess killed(start());
        QCOMPARE(killed.line(), QByteArray("first"));
        QCOMPARE(::kill(pid_t(killed.pid()), SIGKILL), 0);
        QCOMPARE(killed.finish(), -1);
        QVERIFY(QFile::exists(path(".socket")));
        const FirstInstance next;
        QVERIFY(next.instance.isFirst());
        QVERIFY(isAnswered());
        QTRY_COMPARE(next.asked.count(), 1);
    }

    void aSecondThatGoesLeavesThePlaceAlone()
    {
        const FirstInstance first;
        {
            const SingleInstance second("Kestrum");
        }
        QVERIFY(!SingleInstance("Kestrum").isFirst());
        QVERIFY(isAnswered());
        QTRY_COMPARE(first.asked.count(), 1);
    }

    void aSecondStartHandsItsTokenOver()
    {
        HelperProcess first(start());
        QCOMPARE(first.line(), QByteArray("first"));
        HelperProcess second(start(QStringLiteral("shell/7-host_TIME1234567")));
        QCOMPARE(second.line(), QByteArray("second"));
        QCOMPARE(second.finish(), 0);
        QCOMPARE(first.line(), QByteArray("raise shell/7-host_TIME1234567"));
    }

    void aStartWithoutATokenAsksToo()
    {
        const FirstInstance first;
        const HelperProcess second(start());
        QTRY_COMPARE(first.asked.count(), 1);
        QCOMPARE(first.asked.first().first().toByteArray(), QByteArray());
    }

    void aRequestBeforeTheEventLoopIsHeard()
    {
        // The signal is connected only after the request.
        const SingleInstance first("Kestrum");
        QVERIFY(send("early"));
        const QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        QTRY_COMPARE(asked.count(), 1);
        QCOMPARE(asked.first().first().toByteArray(), QByteArray("early"));
    }

    void aFirstThatHasNotBegunToListenIsWaitedFor()
    {
        // The first start has the lock, but not yet a socket.
        const FirstInstance first;
        QVERIFY(QFile::rename(path(".socket"), path(".later")));
        HelperProcess later(start(QStringLiteral("token")));
        QCOMPARE(later.line(), QByteArray("second"));
        QTest::qWait(quietTime);
        QVERIFY(QFile::rename(path(".later"), path(".socket")));
        QTRY_COMPARE(first.asked.count(), 1);
        QCOMPARE(later.finish(), 0);
    }

    void whoCannotBeToldIsGivenUpWithinSeconds()
    {
        const SingleInstance first("Kestrum");
        SingleInstance second("Kestrum");
        QVERIFY(QFile::remove(path(".socket")));
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!second.raiseFirst("token"));
        QVERIFY2(clock.elapsed() < 3000, QByteArray::number(clock.elapsed()).constData());
    }

    void hostileDatagramsOnlyAsk()
    {
        const std::pair<const char*, QByteArray> rows[] { { "empty", {} },
            { "zero bytes", QByteArray(40, '\0') }, { "control characters", "token\nforged line" },
            { "blanks", "a token" }, { "not ASCII", "\xC3\xA4\xFF" },
            { "one byte too long", QByteArray(SingleInstance::maximumTokenLength + 1, 'a') },
            { "64 KiB", QByteArray(65536, 'a') } };
        for (const auto& [name, datagram] : rows) {
            const FirstInstance first;
            QVERIFY2(send(datagram), name);
            QVERIFY2(QTest::qWaitFor([&] { return first.asked.count() > 0; }), name);
            QCOMPARE_ROW(name, first.asked.count(), 1);
            QCOMPARE_ROW(name, first.asked.first().first().toByteArray(), QByteArray());
        }
    }

    void theLongestTokenIsWhole()
    {
        const FirstInstance first;
        const QByteArray token(SingleInstance::maximumTokenLength, 'a');
        const HelperProcess second(start(QString::fromLatin1(token)));
        QTRY_COMPARE(first.asked.count(), 1);
        QCOMPARE(first.asked.first().first().toByteArray(), token);
    }

    void aFloodIsOneRequest()
    {
        const FirstInstance first;
        int sent = 0;
        while (sent < 100'000 && send("flood"))
            ++sent;
        QVERIFY(sent > 1 && sent < 100'000);
        QTRY_COMPARE(first.asked.count(), 1);
        // Any rest of the flood would be read before this request.
        QVERIFY(isAnswered());
        QCOMPARE(first.asked.count(), 2);
    }

    void descriptorsSentAlongAreNotKept()
    {
        const FirstInstance first;
        const auto open = [] {
            return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::System | QDir::Files).size();
        };
        const auto before = open();
        {
            sockaddr_un address = addressOfSocket();
            const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
            alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
            char byte = 'x';
            iovec part { &byte, 1 };
            msghdr message {};
            message.msg_name = &address;
            message.msg_namelen = sizeof address;
            message.msg_iov = &part;
            message.msg_iovlen = 1;
            message.msg_control = static_cast<char*>(control);
            message.msg_controllen = sizeof control;
            cmsghdr* header = CMSG_FIRSTHDR(&message);
            header->cmsg_level = SOL_SOCKET;
            header->cmsg_type = SCM_RIGHTS;
            header->cmsg_len = CMSG_LEN(sizeof(int));
            const int handed = STDERR_FILENO;
            memcpy(CMSG_DATA(header), &handed, sizeof handed);
            QCOMPARE(::sendmsg(socket.get(), &message, 0), ssize_t(1));
        }
        QTRY_COMPARE(first.asked.count(), 1);
        QCOMPARE(open(), before);
    }

    void aPlaceThatIsGivenBackIsFreeForTheNext()
    {
        SingleInstance ending("Kestrum");
        ending.release();
        QVERIFY(!ending.isFirst());
        const FirstInstance next;
        QVERIFY(next.instance.isFirst());
        // A second release() of the old instance does not affect the new one. Only the new one gets requests.
        ending.release();
        const QSignalSpy old(&ending, &SingleInstance::raiseRequested);
        QVERIFY(isAnswered());
        QTRY_COMPARE(next.asked.count(), 1);
        QCOMPARE(old.count(), 0);
    }

    void aSecondStartFollowsAFirstThatEndsWithoutHearingIt()
    {
        // The first start reads no request, as if its process were about to end.
        auto ending = std::make_unique<SingleInstance>("Kestrum");
        HelperProcess second(start(QStringLiteral("token")));
        QCOMPARE(second.line(), QByteArray("second"));
        QTest::qSleep(quietTime);
        ending->release();
        QCOMPARE(second.line(), QByteArray("first"));
        ending.reset();
        HelperProcess third(start(QStringLiteral("next")));
        QCOMPARE(third.line(), QByteArray("second"));
        QCOMPARE(third.finish(), 0);
        QCOMPARE(second.line(), QByteArray("raise next"));
    }

    void aSecondStartFollowsAFirstThatNoLongerListens()
    {
        auto ending = std::make_unique<SingleInstance>("Kestrum");
        QVERIFY(QFile::remove(path(".socket")));
        HelperProcess second(start());
        QCOMPARE(second.line(), QByteArray("second"));
        QTest::qSleep(quietTime);
        ending.reset();
        QCOMPARE(second.line(), QByteArray("first"));
    }

    void aSecondStartFollowsAFirstThatIsKilledWithoutHearingIt()
    {
        HelperProcess first(start());
        QCOMPARE(first.line(), QByteArray("first"));
        QCOMPARE(::kill(pid_t(first.pid()), SIGSTOP), 0);
        HelperProcess second(start());
        QCOMPARE(second.line(), QByteArray("second"));
        QTest::qSleep(quietTime);
        QCOMPARE(::kill(pid_t(first.pid()), SIGKILL), 0);
        QCOMPARE(second.line(), QByteArray("first"));
    }

    void ofTwoThatFollowOneIsFirst()
    {
        auto ending = std::make_unique<SingleInstance>("Kestrum");
        HelperProcess one(start(QStringLiteral("one")));
        HelperProcess two(start(QStringLiteral("two")));
        QCOMPARE(one.line(), QByteArray("second"));
        QCOMPARE(two.line(), QByteArray("second"));
        ending.reset();
        QTRY_VERIFY(one.hasLine(0) || two.hasLine(0));
        const bool isOne = one.hasLine(0);
        HelperProcess& next = isOne ? one : two;
        QCOMPARE(next.line(), QByteArray("first"));
        QCOMPARE(next.line(), QByteArray(isOne ? "raise two" : "raise one"));
        QCOMPARE((isOne ? two : one).finish(), 0);
    }

    void aFirstThatIsBusyIsLeftInItsPlace()
    {
        SingleInstance first("Kestrum");
        SingleInstance second("Kestrum");
        QVERIFY(second.raiseFirst("token")); // the first start cannot read the request meanwhile
        QVERIFY(!second.isFirst());
        QVERIFY(first.isFirst());
    }

    void onlyWeMayUseTheFiles()
    {
        const SingleInstance first("Kestrum");
        struct stat state { };
        QCOMPARE(::stat(QFile::encodeName(path(".lock")).constData(), &state), 0);
        QCOMPARE(state.st_mode & 07777U, 0600U);
        QCOMPARE(::stat(QFile::encodeName(folder()).constData(), &state), 0);
        QCOMPARE(state.st_mode & 07777U, 0700U);
    }

    void childrenDoNotInheritThePlace()
    {
        auto first = std::make_unique<SingleInstance>("Kestrum");
        HelperProcess child({ QStringLiteral("listen"), QStringLiteral("x") });
        QCOMPARE(child.line(), QByteArray("ready"));
        first.reset();
        QVERIFY(SingleInstance("Kestrum").isFirst());
    }

    void aLinkIsNotFollowed()
    {
        // The first use creates the directory.
        QVERIFY(SingleInstance("Kestrum").isFirst());
        QVERIFY(QFile::remove(path(".lock")));
        const QString elsewhere = TestHome::root() + QStringLiteral("/elsewhere");
        QVERIFY(QFile::link(elsewhere, path(".lock")));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("Kestrum.lock cannot be used")));
        QVERIFY(SingleInstance("Kestrum").isFirst());
        QVERIFY(!QFile::exists(elsewhere));
    }

    void aDirectoryInTheSocketsPlaceIsSaidAndHarmless()
    {
        QVERIFY(QDir().mkpath(path(".socket")));
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("cannot bring this one forward")));
        const SingleInstance first("Kestrum");
        QVERIFY(first.isFirst());
        QVERIFY(!SingleInstance("Kestrum").raiseFirst({}));
    }

    void aFileInTheSocketsPlaceIsReplaced()
    {
        QVERIFY(SingleInstance("Kestrum").isFirst());
        QFile file(path(".socket"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        const FirstInstance first;
        QVERIFY(isAnswered());
        QTRY_COMPARE(first.asked.count(), 1);
    }

    void withoutARuntimeDirectoryEverybodyIsFirst()
    {
        const QByteArray directory = qgetenv("XDG_RUNTIME_DIR");
        qunsetenv("XDG_RUNTIME_DIR");
        HelperProcess one(start());
        HelperProcess another(start());
        qputenv("XDG_RUNTIME_DIR", directory);
        QCOMPARE(one.line(), QByteArray("first"));
        QCOMPARE(another.line(), QByteArray("first"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SingleInstanceTest)
#include "SingleInstanceTest.moc"
