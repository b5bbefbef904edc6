#include "tests/Support/HelperProcess.h"
#include "tests/Support/SignalRecorder.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>
#include <sys/stat.h>

using namespace kestrum;

namespace {
int warnings = 0; // NOLINT: a message handler can only count in a global
QtMessageHandler previous = nullptr;
} // namespace

/// Signals of a program that has no private runtime directory.
class SignalsWithinTest : public QObject {
    Q_OBJECT

    static void postElsewhere(const QString& name)
    {
        HelperProcess other({ QStringLiteral("post"), name, QStringLiteral("1") });
        QCOMPARE(other.finish(), 0);
    }

private Q_SLOTS:
    void signalsStayWithinTheProgramAndTheLogSaysSoOnce()
    {
        previous
            = qInstallMessageHandler([](QtMsgType, const QMessageLogContext& context, const QString& text) {
                  if (QByteArray(context.category) == "com.orvale.kestrum.signals"
                      && text.contains(QStringLiteral("stay within this program")))
                      ++warnings;
              });
        int calls = 0;
        const auto token = NotificationCentre::registerDispatch(QStringLiteral("x"), [&calls] { ++calls; });
        QVERIFY(token);
        NotificationCentre::post(QStringLiteral("x"));
        QCOMPARE(calls, 0);
        QTRY_COMPARE(calls, 1);
        NotificationCentre::post(QStringLiteral("X"));
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(calls, 2);
        NotificationCentre::cancel(*token);
        qInstallMessageHandler(previous);
        QCOMPARE(warnings, 1);
    }

    void listenersHearInTheOrderOfRegistration()
    {
        QList<int> order;
        QList<NotificationCentre::Token> tokens;
        for (int i = 0; i < 3; ++i)
            tokens << *NotificationCentre::registerDispatch(QStringLiteral("x"), [&order, i] { order << i; });
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(order, (QList<int> { 0, 1, 2 }));
        for (const NotificationCentre::Token token : tokens)
            NotificationCentre::cancel(token);
    }

    void postBeforeTheRegistrationIsNotDelivered()
    {
        NotificationCentre::post(QStringLiteral("x"));
        const Ear ear(QStringLiteral("x"));
        QCOMPARE(ear.settled(), 0);
    }

    void cancelledHandlerDoesNotRun()
    {
        int calls = 0;
        const auto token = NotificationCentre::registerDispatch(QStringLiteral("x"), [&calls] { ++calls; });
        NotificationCentre::post(QStringLiteral("x"));
        NotificationCentre::cancel(*token);
        deliverPendingEvents();
        QCOMPARE(calls, 0);
    }

    void postsOfOtherThreadsArriveOnTheMainThread()
    {
        const Ear ear(QStringLiteral("x"));
        postFromAnotherThread(QStringLiteral("x"));
        QTRY_COMPARE(ear.thread, QCoreApplication::instance()->thread());
    }

    void nothingIsWritten()
    {
        QVERIFY(QDir(TestHome::runtimeDirectory())
                    .isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    // From here on, the directory has been private.
    void onceTheDirectoryIsPrivateTheFirstPostIsHeard()
    {
        const QByteArray directory = qgetenv("XDG_RUNTIME_DIR");
        ::chmod(directory.constData(), 0700);
        postElsewhere(QStringLiteral("old"));
        ::chmod(directory.constData(), 0755);
        const Ear ear(QStringLiteral("x"));
        const Ear other(QStringLiteral("old"));
        ::chmod(directory.constData(), 0700);
        postElsewhere(QStringLiteral("x"));
        QTRY_COMPARE(ear.count, 1);
        QCOMPARE(other.settled(), 0);
        QCOMPARE(ear.settled(), 1);
    }

    void onceTheDirectoryIsPrivatePostsReachOtherPrograms()
    {
        HelperProcess other({ QStringLiteral("listen"), QStringLiteral("y") });
        QCOMPARE(other.line(), QByteArray("ready"));
        QCOMPARE(NotificationCentre::post(QStringLiteral("y")), QString());
        QCOMPARE(other.line(), QByteArray("heard y"));
    }
};

KESTRUM_TEST_MAIN_OF(SignalsWithinTest)(int argc, char** argv)
{
    const TestHome home;
    // A directory that other users can enter is not used as runtime directory.
    ::chmod(qgetenv("XDG_RUNTIME_DIR").constData(), 0755);
    const QCoreApplication application(argc, argv);
    SignalsWithinTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "SignalsWithinTest.moc"
