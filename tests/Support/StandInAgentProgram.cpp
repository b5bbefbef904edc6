// A program that can stand for the agent where tests need to say how it behaves. It takes nothing but the signals to know
// when to go:
//
//   KESTRUM_TEST_AGENT   what it does when it is asked to quit: "stays", or so many milliseconds until it goes; at once
//                        where nothing is said
//   KESTRUM_TEST_REPORT  a file to which it adds a line with its process id when it has begun to listen
//
// It ends by itself after a minute, whatever became of the test that started it.

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
