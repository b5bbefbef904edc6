// SPDX-License-Identifier: MIT
#include "tests/Support/HelperVerbs.h"

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Store/UserDefaults.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSocketNotifier>
#include <QTimer>
#include <array>
#include <cstdio>
#include <random>
#include <sys/inotify.h>
#include <unistd.h>

namespace kestrum {

void HelperVerbs::say(const QByteArray& line)
{
    std::fputs(line.constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

int HelperVerbs::runUntilInputEnds(const std::function<void()>& onLine)
{
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&onLine] {
        char buffer[256];
        if (::read(STDIN_FILENO, buffer, sizeof buffer) <= 0)
            QCoreApplication::quit();
        else if (onLine)
            onLine();
    });
    return QCoreApplication::exec();
}

int HelperVerbs::storeKeys(const QString& suite, const QByteArray& writer, int keys, int times)
{
    const auto defaults = UserDefaults::withSuiteName(suite);
    for (int i = 1; i <= times; ++i) {
        const std::string key = (writer + '.' + QByteArray::number(i % keys)).toStdString();
        const double before = defaults->number(key).value_or(0);
        if (i > keys && before != i - keys) {
            std::fprintf(stderr, "%s: %g instead of %d\n", key.c_str(), before, i - keys);
            return 2;
        }
        if (!defaults->set(key, i)) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(defaults->lastError()));
            return 3;
        }
        say(QByteArray::number(i));
    }
    return 0;
}

int HelperVerbs::read(const QString& suite)
{
    const auto defaults = UserDefaults::withSuiteName(suite);
    return runUntilInputEnds([&defaults] { say(QByteArray::number(defaults->number("a").value_or(0))); });
}

int HelperVerbs::storeAtRandom(const QString& suite, unsigned seed, int times)
{
    constexpr int keys = 20;
    const auto defaults = UserDefaults::withSuiteName(suite);
    std::minstd_rand random(seed);
    for (int i = 0; i < times; ++i) {
        const std::string key = "key" + std::to_string(random() % keys);
        const bool isDone
            = random() % 5 == 0 ? defaults->remove(key) : defaults->set(key, int(random() % 1000));
        if (!isDone)
            return 3;
    }
    say("done");
    return runUntilInputEnds([&defaults] {
        defaults->apply(defaults->storedDictionary(), { QStringLiteral("absent") });
        say("equal");
    });
}

int HelperVerbs::observe(const QString& suite)
{
    const auto defaults = UserDefaults::withSuiteName(suite);
    const auto number = [&defaults] { return defaults->number("a").value_or(0); };
    QObject::connect(defaults.get(), &UserDefaults::changed, defaults.get(),
        [&number] { say("a " + QByteArray::number(number())); });
    QCoreApplication::processEvents(); // observing begins in the event loop
    say("ready");
    return runUntilInputEnds([&] {
        say(defaults->set("a", number() + 1) ? QByteArray("stored") : defaults->lastError().toUtf8());
    });
}

int HelperVerbs::observeNewer(const QString& path)
{
    QDateTime last;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&last, &path] {
        const QDateTime time = QFileInfo(path).lastModified();
        QFile file(path);
        if (!time.isValid() || (last.isValid() && time <= last) || !file.open(QIODevice::ReadOnly))
            return;
        last = time;
        say("a " + QByteArray::number(QJsonDocument::fromJson(file.readAll())[u"a"].toInt()));
    });
    timer.start(20);
    say("ready");
    return runUntilInputEnds();
}

int HelperVerbs::watchOnly(const QString& directory)
{
    const FileDescriptor watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ::inotify_add_watch(watch.get(), QFile::encodeName(directory).constData(), IN_ALL_EVENTS);
    QSocketNotifier events(watch.isValid() ? watch.get() : -1, QSocketNotifier::Read);
    events.setEnabled(watch.isValid());
    QObject::connect(&events, &QSocketNotifier::activated, &events, [&watch] {
        std::array<char, 4096> buffer;
        if (::read(watch.get(), buffer.data(), buffer.size()) > 0)
            say("told");
    });
    say("ready");
    return runUntilInputEnds();
}

} // namespace kestrum
