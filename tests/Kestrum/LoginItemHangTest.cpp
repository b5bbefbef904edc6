#include "Kestrum/Agent/LoginItemManager.h"

#include "tests/Support/FreshSettings.h"
#include "tests/Support/LoginItemFixture.h"
#include "tests/Support/SystemCallFilter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QTimer>
#include <cstdio>

using namespace kestrum;

namespace {

constexpr int cannotHang = 10;
constexpr int patience = 10'000;

#ifdef SYS_mkdir
const QList<int> makeDirectory { SYS_mkdir, SYS_mkdirat };
#else
const QList<int> makeDirectory { SYS_mkdirat };
#endif

/// A program that switches the login item on twice and then ends. The second change waits for a pause before it makes the item
/// anew. If `hangs`, mkdir calls hang until the application object is destroyed. The program prints the milliseconds of the
/// destruction, the number of mkdir calls that returned after it, and whether the login item exists at the end.
int switchOnAndEnd(int argc, char** argv, bool hangs)
{
    const TestHome home;
    auto application = std::make_unique<QCoreApplication>(argc, argv);
    const LoginItemFixture fixture;
    const int hanging = hangs ? SystemCallFilter::hanging(makeDirectory).enter() : 0;
    if (hanging < 0)
        return cannotHang;
    {
        LoginItemManager manager;
        manager.setEnabled(true);
        manager.setEnabled(true);
        QTimer::singleShot(50, &QCoreApplication::quit);
        QCoreApplication::exec();
    }
    QElapsedTimer timer;
    timer.start();
    application.reset();
    const qint64 elapsed = timer.elapsed();
    int released = 0;
    while (hangs && SystemCallFilter::answer(hanging, EIO, released == 0 ? patience : 500))
        ++released;
    std::printf("%lld %d %s\n", static_cast<long long>(elapsed), released,
        QFile::exists(LoginItemFixture::entry()) ? "registered" : "not registered");
    return 0;
}

/// A program that ends while a mkdir call hangs.
int switchOnAndLeave(int argc, char** argv)
{
    const TestHome home;
    QCoreApplication application(argc, argv);
    const LoginItemFixture fixture;
    if (SystemCallFilter::hanging(makeDirectory).enter() < 0)
        return cannotHang;
    LoginItemManager manager;
    manager.setEnabled(true);
    QTimer::singleShot(50, &QCoreApplication::quit);
    return QCoreApplication::exec();
}

} // namespace

/// The application ends while the login item is being changed.
class LoginItemHangTest : public QObject {
    Q_OBJECT

    struct Outcome {
        int code = -1;
        qint64 milliseconds = 0;
        QList<QByteArray> words;
        QByteArray errors;
    };

    static Outcome run(const char* part)
    {
        QProcess child;
        QElapsedTimer timer;
        timer.start();
        child.start(
            QCoreApplication::applicationFilePath(), TestRunner::again({ QString::fromLatin1(part) }));
        if (!child.waitForFinished(patience)) {
            child.kill();
            child.waitForFinished();
        }
        return { child.exitStatus() == QProcess::NormalExit ? child.exitCode() : -1, timer.elapsed(),
            child.readAllStandardOutput().trimmed().split(' '), child.readAllStandardError() };
    }

private Q_SLOTS:
    void aChangeThatIsUnderWayIsMadeBeforeTheEnd()
    {
        const Outcome outcome = run("--change");
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.words.value(2), QByteArray("registered"));
        QCOMPARE(outcome.errors, QByteArray());
    }

    void aChangeThatHangsHoldsTheEndUpForTwoSecondsOnly()
    {
        const Outcome outcome = run("--hang");
        if (outcome.code == cannotHang)
            QSKIP("the kernel does not let a system call hang here");
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.errors, QByteArray());
        QVERIFY2(outcome.milliseconds >= 2000 && outcome.milliseconds < 5000,
            qPrintable(QString::number(outcome.milliseconds)));
    }

    void aChangeThatComesBackAfterTheEndTouchesNothing()
    {
        const Outcome outcome = run("--return");
        if (outcome.code == cannotHang)
            QSKIP("the kernel does not let a system call hang here");
        QCOMPARE(outcome.code, 0);
        QCOMPARE(outcome.errors, QByteArray());
        const qint64 end = outcome.words.value(0).toLongLong();
        QVERIFY2(end >= 1900 && end < 5000, qPrintable(QString::number(end)));
        // The change that waited behind the hanging one was not started.
        QCOMPARE(outcome.words.value(1), QByteArray("1"));
    }
};

KESTRUM_TEST_MAIN_OF(LoginItemHangTest)(int argc, char** argv)
{
    const QByteArrayView part(argc > 1 ? argv[1] : "");
    if (part == "--change" || part == "--return")
        return switchOnAndEnd(argc, argv, part == "--return");
    if (part == "--hang")
        return switchOnAndLeave(argc, argv);
    const TestHome home;
    QCoreApplication application(argc, argv);
    LoginItemHangTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "LoginItemHangTest.moc"
