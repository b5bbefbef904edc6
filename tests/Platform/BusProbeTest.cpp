#include "Platform/Desktop/BusProbe.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>
#include <csignal>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace kestrum;
using namespace std::chrono_literals;

class BusProbeTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void aBusAnswersUnlessItIsStopped()
    {
        const SessionBus bus(SessionBus::Services::none);
        QVERIFY(bus.isUp());
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!BusProbe::isSilent(bus.address(), 5s));
        QVERIFY(timer.elapsed() < 2000);
        ::kill(pid_t(bus.processId()), SIGSTOP);
        timer.start();
        QVERIFY(BusProbe::isSilent(bus.address(), 200ms));
        QVERIFY(timer.elapsed() >= 200);
        // The bus library tries one after the other, so one is enough to stop it.
        QVERIFY(BusProbe::isSilent(QStringLiteral("unix:path=/nobody;") + bus.address(), 50ms));
        ::kill(pid_t(bus.processId()), SIGCONT);
        QVERIFY(!BusProbe::isSilent(bus.address(), 5s));
    }

    void abstractNamesAreTriedToo()
    {
        const QByteArray name = "kestrum-test-" + QByteArray::number(::getpid());
        const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        std::copy(name.begin(), name.end(), address.sun_path + 1);
        const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + size_t(name.size()));
        QCOMPARE(::bind(listener, reinterpret_cast<const sockaddr*>(&address), size), 0);
        QCOMPARE(::listen(listener, 1), 0);
        // A name with a percent sign and an identity, as addresses have them.
        const QString named = QStringLiteral("unix:guid=1,abstract=%6Bestrum-test-%1").arg(::getpid());
        QVERIFY(BusProbe::isSilent(named, 50ms));
        ::close(listener);
        QVERIFY(!BusProbe::isSilent(named, 5s)); // nobody is there, which is known at once
    }

    void whatIsNoSocketIsNotTried()
    {
        for (const char* address : { "", "tcp:host=localhost,port=1", "unix:", "unix:runtime=yes",
                 "disabled:", "unix:path=/nobody", "unix:path=" })
            QVERIFY2(!BusProbe::isSilent(QString::fromLatin1(address), 50ms), address);
        QVERIFY(!BusProbe::isSilent(QStringLiteral("unix:path=/") + QString(200, u'x'), 50ms));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, BusProbeTest)
#include "BusProbeTest.moc"
