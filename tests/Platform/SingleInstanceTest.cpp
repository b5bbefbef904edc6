#include "Platform/Processes/SingleInstance.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

using namespace kestrum;

class SingleInstanceTest : public QObject {
    Q_OBJECT

    static QString path(const char* suffix)
    {
        return TestHome::runtimeDirectory() + QStringLiteral("/kestrum/Kestrum") + QLatin1String(suffix);
    }

    static QStringList instance(const QString& token = {})
    {
        return { QStringLiteral("instance"), QStringLiteral("Kestrum"), token };
    }

    /// Sends any datagram to the socket, as every program of the user can. False if the socket's queue is full.
    static bool send(const QByteArray& datagram)
    {
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        const QByteArray name = QFile::encodeName(path(".socket"));
        std::copy(name.begin(), name.end(), static_cast<char*>(address.sun_path));
        const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        return ::sendto(socket.get(), datagram.constData(), size_t(datagram.size()), MSG_NOSIGNAL,
                   reinterpret_cast<const sockaddr*>(&address), sizeof address)
            == ssize_t(datagram.size());
    }

    static bool anybodyAnswers()
    {
        HelperProcess second(instance());
        return second.line() == "second" && QTest::qWaitFor([&] { return second.hasEnded(); })
            && second.finish() == 0;
    }

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
        HelperProcess other(instance());
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
        HelperProcess killed(instance());
        QCOMPARE(killed.line(), QByteArray("first"));
        QCOMPARE(::kill(pid_t(killed.pid()), SIGKILL), 0);
        QCOMPARE(killed.finish(), -1);
        QVERIFY(QFile::exists(path(".socket")));
        const SingleInstance next("Kestrum");
        QVERIFY(next.isFirst());
        QSignalSpy asked(&next, &SingleInstance::raiseRequested);
        QVERIFY(anybodyAnswers());
        QTRY_COMPARE(asked.count(), 1);
    }

    void aSecondThatGoesLeavesThePlaceAlone()
    {
        const SingleInstance first("Kestrum");
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        {
            const SingleInstance second("Kestrum");
        }
        QVERIFY(!SingleInstance("Kestrum").isFirst());
        QVERIFY(anybodyAnswers());
        QTRY_COMPARE(asked.count(), 1);
    }

    void aSecondStartHandsItsTokenOver()
    {
        HelperProcess first(instance());
        QCOMPARE(first.line(), QByteArray("first"));
        HelperProcess second(instance(QStringLiteral("shell/7-host_TIME1234567")));
        QCOMPARE(second.line(), QByteArray("second"));
        QCOMPARE(second.finish(), 0);
        QCOMPARE(first.line(), QByteArray("raise shell/7-host_TIME1234567"));
    }

    void aStartWithoutATokenAsksToo()
    {
        const SingleInstance first("Kestrum");
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        QVERIFY(SingleInstance("Kestrum").raiseFirst({}));
        QTRY_COMPARE(asked.count(), 1);
        QCOMPARE(asked.first().first().toByteArray(), QByteArray());
    }

    void aRequestBeforeTheEventLoopIsHeard()
    {
        SingleInstance first("Kestrum");
        QVERIFY(SingleInstance("Kestrum").raiseFirst("early"));
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        QTRY_COMPARE(asked.count(), 1);
        QCOMPARE(asked.first().first().toByteArray(), QByteArray("early"));
    }

    void aFirstThatHasNotBegunToListenIsWaitedFor()
    {
        // The first start has the lock but no socket yet.
        const SingleInstance first("Kestrum");
        QVERIFY(QFile::rename(path(".socket"), path(".later")));
        HelperProcess later(instance(QStringLiteral("token")));
        QCOMPARE(later.line(), QByteArray("second"));
        QTest::qWait(100);
        QVERIFY(QFile::rename(path(".later"), path(".socket")));
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        QTRY_COMPARE(asked.count(), 1);
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

    void hostileDatagramsOnlyAsk_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("zero bytes") << QByteArray(40, '\0');
        QTest::newRow("control characters") << QByteArray("token\nforged line");
        QTest::newRow("blanks") << QByteArray("a token");
        QTest::newRow("not ASCII") << QByteArray("\xC3\xA4\xFF");
        QTest::newRow("one byte too long") << QByteArray(SingleInstance::maximumTokenLength + 1, 'a');
        QTest::newRow("64 KiB") << QByteArray(65536, 'a');
    }

    void hostileDatagramsOnlyAsk()
    {
        QFETCH(QByteArray, datagram);
        const SingleInstance first("Kestrum");
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        QVERIFY(send(datagram));
        QTRY_COMPARE(asked.count(), 1);
        QCOMPARE(asked.first().first().toByteArray(), QByteArray());
    }

    void theLongestTokenIsWhole()
    {
        const SingleInstance first("Kestrum");
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        const QByteArray token(SingleInstance::maximumTokenLength, 'a');
        QVERIFY(SingleInstance("Kestrum").raiseFirst(token));
        QTRY_COMPARE(asked.count(), 1);
        QCOMPARE(asked.first().first().toByteArray(), token);
    }

    void aFloodIsOneRequest()
    {
        const SingleInstance first("Kestrum");
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        int sent = 0;
        while (sent < 100'000 && send("flood"))
            ++sent;
        QVERIFY(sent > 1 && sent < 100'000);
        QTRY_COMPARE(asked.count(), 1);
        QTest::qWait(50);
        QCOMPARE(asked.count(), 1);
        QVERIFY(anybodyAnswers());
        QTRY_COMPARE(asked.count(), 2);
    }

    void descriptorsSentAlongAreNotKept()
    {
        const SingleInstance first("Kestrum");
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        const auto open = [] {
            return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::System | QDir::Files).size();
        };
        const auto before = open();
        {
            sockaddr_un address {};
            address.sun_family = AF_UNIX;
            const QByteArray name = QFile::encodeName(path(".socket"));
            std::copy(name.begin(), name.end(), static_cast<char*>(address.sun_path));
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
        QTRY_COMPARE(asked.count(), 1);
        QCOMPARE(open(), before);
    }

    void aPlaceThatIsGivenBackIsFreeForTheNext()
    {
        SingleInstance ending("Kestrum");
        ending.release();
        QVERIFY(!ending.isFirst());
        const SingleInstance next("Kestrum");
        QVERIFY(next.isFirst());
        // A second release() of the old instance does not affect the new one. Only the new one gets requests.
        ending.release();
        QSignalSpy old(&ending, &SingleInstance::raiseRequested);
        QSignalSpy asked(&next, &SingleInstance::raiseRequested);
        QVERIFY(anybodyAnswers());
        QTRY_COMPARE(asked.count(), 1);
        QCOMPARE(old.count(), 0);
    }

    void aSecondStartFollowsAFirstThatEndsWithoutHearingIt()
    {
        // The first start reads no request, as when the process is about to end.
        auto ending = std::make_unique<SingleInstance>("Kestrum");
        HelperProcess second(instance(QStringLiteral("token")));
        QCOMPARE(second.line(), QByteArray("second"));
        QTest::qSleep(200);
        ending->release();
        QCOMPARE(second.line(), QByteArray("first"));
        ending.reset();
        HelperProcess third(instance(QStringLiteral("next")));
        QCOMPARE(third.line(), QByteArray("second"));
        QCOMPARE(third.finish(), 0);
        QCOMPARE(second.line(), QByteArray("raise next"));
    }

    void aSecondStartFollowsAFirstThatNoLongerListens()
    {
        auto ending = std::make_unique<SingleInstance>("Kestrum");
        QVERIFY(QFile::remove(path(".socket")));
        HelperProcess second(instance());
        QCOMPARE(second.line(), QByteArray("second"));
        QTest::qSleep(200);
        ending.reset();
        QCOMPARE(second.line(), QByteArray("first"));
    }

    void aSecondStartFollowsAFirstThatIsKilledWithoutHearingIt()
    {
        HelperProcess first(instance());
        QCOMPARE(first.line(), QByteArray("first"));
        QCOMPARE(::kill(pid_t(first.pid()), SIGSTOP), 0);
        HelperProcess second(instance());
        QCOMPARE(second.line(), QByteArray("second"));
        QTest::qSleep(200);
        QCOMPARE(::kill(pid_t(first.pid()), SIGKILL), 0);
        QCOMPARE(second.line(), QByteArray("first"));
    }

    void ofTwoThatFollowOneIsFirst()
    {
        auto ending = std::make_unique<SingleInstance>("Kestrum");
        HelperProcess one(instance(QStringLiteral("one")));
        HelperProcess two(instance(QStringLiteral("two")));
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
        QVERIFY(second.raiseFirst("token")); // the first cannot read the request meanwhile
        QVERIFY(!second.isFirst());
        QVERIFY(first.isFirst());
    }

    void onlyWeMayUseTheFiles()
    {
        const SingleInstance first("Kestrum");
        struct stat state { };
        QCOMPARE(::stat(QFile::encodeName(path(".lock")).constData(), &state), 0);
        QCOMPARE(state.st_mode & 07777U, 0600U);
        QCOMPARE(
            ::stat(QFile::encodeName(TestHome::runtimeDirectory() + QStringLiteral("/kestrum")).constData(),
                &state),
            0);
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
        const SingleInstance first("Kestrum");
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        QVERIFY(anybodyAnswers());
        QTRY_COMPARE(asked.count(), 1);
    }

    void withoutARuntimeDirectoryEverybodyIsFirst()
    {
        const QByteArray directory = qgetenv("XDG_RUNTIME_DIR");
        qunsetenv("XDG_RUNTIME_DIR");
        HelperProcess one(instance());
        HelperProcess another(instance());
        qputenv("XDG_RUNTIME_DIR", directory);
        QCOMPARE(one.line(), QByteArray("first"));
        QCOMPARE(another.line(), QByteArray("first"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SingleInstanceTest)
#include "SingleInstanceTest.moc"
