// A stand-in for the agent, for tests that control the agent's behaviour. Only the agent's signals make it end. Variables:
//
//   KESTRUM_TEST_AGENT   "stays": it ignores a request to quit; a number: it ends that many milliseconds after the request;
//                        not set: it ends at once
//   KESTRUM_TEST_REPORT  a file to which it adds a line with its process id when it has begun to listen
//
// The program ends by itself after a minute, even if its test has crashed.

#include "KestrumShared/Settings/SignalListener.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>
#include <unistd.h>

using namespace kestrum;

int main(int argc, char** argv)
{
    static constexpr unsigned int longestLife = 60; // seconds
    ::alarm(longestLife);
    const QCoreApplication application(argc, argv);
    const QByteArray behaviour = qgetenv("KESTRUM_TEST_AGENT");
    SignalListener listener;
    listener.listen(SharedSettings::Signal::quitAgent, [&behaviour] {
        if (behaviour != "stays")
            QTimer::singleShot(behaviour.toInt(), qApp, &QCoreApplication::quit);
    });
    QFile report(qEnvironmentVariable("KESTRUM_TEST_REPORT"));
    if (report.open(QIODevice::Append))
        report.write(QByteArray::number(QCoreApplication::applicationPid()) + '\n');
    report.close();
    return QCoreApplication::exec();
}
