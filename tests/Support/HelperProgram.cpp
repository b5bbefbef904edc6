// The other process of the tests. It ends when its standard input ends, or when its work is done. It prints what is in quotes:
//
//   listen NAME…               "ready", then "heard NAME" for each delivery
//   count NAME…                "ready"; for each line read: the number of deliveries and the used processor time in µs so far
//   post NAME TIMES            posts, then ends
//   flood MILLISECONDS NAME…   posts the names in turn without a pause; "posted TIMES", then ends
//   write SUITE PAGE ROUNDS right|wrong
//                              for each round n: stores n, writes n to the file PAGE, posts, and waits for the check;
//                              "wrong" posts before it stores. "wrote ROUNDS", then ends
//   store SUITE MILLISECONDS   for each line read: "KEY" removes the key, "KEY [VALUE]" stores a JSON value; "stored" or
//                              "failed REASON"; then waits that long
//   check SUITE PAGE           "ready"; at each delivery reads the suite: its number must be at least the one in PAGE.
//                              "checked TIMES violations TIMES" at the end of its input
//   keys SUITE WRITER KEYS TIMES
//                              stores 1, 2, 3 … under "WRITER.0" to "WRITER.<KEYS - 1>" in turn, prints each number when it
//                              is stored; ends with 2 if a key lacks the writer's last value, with 3 if a save fails
//   random SUITE SEED TIMES    stores and removes 20 keys at random, then "done"; for each line read: stores the values that are
//                              there, then "equal"
//   observe SUITE              "ready", then "a NUMBER" at each notice; for each line read: stores a number that is one more
//                              under "a", then "stored"
//   observe-newer PATH         wrong: "ready", then "a NUMBER" whenever the file PATH is newer than before
//   watch-only DIRECTORY       wrong: "ready", then "told" for each event that the kernel tells of, and nothing else
//   read SUITE                 for each line read: prints the number stored under "a"
//   instance NAME [TOKEN]
//                              "first", then "raise TOKEN" for each request; a second start prints "second" and asks the first
//                              start to come forward; then it ends with 0, ends with 1 if the first start does not answer, or
//                              becomes "first" if the first start has ended; a line read releases the name ("gave back")
//   starve descriptors|instances|watches DIRECTORY
//                              uses up that resource and watches DIRECTORY: "polled" or "notified", "told NAME" for each event;
//                              a line read lifts the limit ("relieved", or "notified" if the watch has a notification by
//                              then); "unsupported REASON" where the system has no such limit
//   starved instances|watches VERB…
//                              does VERB with that resource used up; "unsupported REASON" as above
//   beside PID VERB…           does VERB in the user name space of that process
//   become PROGRAM ARGUMENT…   replaces itself by another program
//   workspace BUNDLE PID…      opens and observes BUNDLE and the processes, without the kernel's process descriptors;
//                              "opened PID", then "changed" at each notice; "unsupported REASON" where a
//                              process cannot filter its system calls

#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Files/FileDescriptor.h"
#include "Platform/Processes/SingleInstance.h"
#include "Platform/Processes/Workspace.h"
#include "Platform/Signals/NotificationCentre.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/HelperVerbs.h"
#include "tests/Support/SystemCallFilter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QThread>
#include <atomic>
#include <fcntl.h>
#include <functional>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

using namespace kestrum;
using HelperVerbs::runUntilInputEnds;
using HelperVerbs::say;

namespace {

constexpr int roundPatience = 2'000'000; // µs

int listen(const QStringList& names)
{
    for (const QString& name : names)
        NotificationCentre::registerDispatch(name, [name] { say("heard " + name.toUtf8()); });
    say("ready");
    return runUntilInputEnds();
}

int count(const QStringList& names)
{
    qint64 deliveries = 0;
    for (const QString& name : names)
        NotificationCentre::registerDispatch(name, [&deliveries] { ++deliveries; });
    say("ready");
    return runUntilInputEnds([&deliveries] {
        rusage usage {};
        ::getrusage(RUSAGE_SELF, &usage);
        const qint64 used = qint64(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1'000'000
            + usage.ru_utime.tv_usec + usage.ru_stime.tv_usec;
        say(QByteArray::number(deliveries) + ' ' + QByteArray::number(used));
    });
}

int post(const QString& name, int times)
{
    for (int i = 0; i < times; ++i)
        NotificationCentre::post(name);
    return 0;
}

int flood(int milliseconds, const QStringList& names)
{
    QElapsedTimer timer;
    timer.start();
    qint64 posts = 0;
    while (timer.elapsed() < milliseconds) {
        for (const QString& name : names)
            NotificationCentre::post(name);
        posts += names.size();
    }
    say("posted " + QByteArray::number(posts));
    return 0;
}

// The file that writer and checker share: the last stored round, and the last checked round.
struct Page {
    std::atomic<quint64> stored;
    std::atomic<quint64> checked;
};

Page* mappedPage(const QString& path)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0 || ::ftruncate(descriptor, sizeof(Page)) != 0)
        return nullptr;
    void* page = ::mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    return page == MAP_FAILED ? nullptr : static_cast<Page*>(page);
}

int write(const QString& suite, const QString& path, quint64 rounds, bool isRightWay)
{
    const auto defaults = UserDefaults::withSuiteName(suite);
    Page* page = mappedPage(path);
    if (!defaults || !page)
        return 1;
    for (quint64 round = 1; round <= rounds; ++round) {
        const auto store = [&] { return defaults->set("round", double(round)); };
        if (isRightWay && !store())
            return 1;
        page->stored.store(round);
        NotificationCentre::post(suite);
        if (!isRightWay) {
            QThread::usleep(200);
            if (!store())
                return 1;
        }
        // The checker need not see every round, but must reach the last one.
        for (int waited = 0; page->checked.load() < round; waited += 5) {
            if (waited > roundPatience)
                return 2;
            QThread::usleep(5);
        }
    }
    say("wrote " + QByteArray::number(rounds));
    return 0;
}

int check(const QString& suite, const QString& path)
{
    const auto defaults = UserDefaults::withSuiteName(suite);
    Page* page = mappedPage(path);
    if (!defaults || !page)
        return 1;
    qint64 checks = 0;
    qint64 violations = 0;
    NotificationCentre::registerDispatch(suite, [&] {
        const quint64 stored = page->stored.load();
        const auto read = quint64(defaults->number("round").value_or(0));
        ++checks;
        violations += read < stored ? 1 : 0;
        page->checked.store(stored);
    });
    say("ready");
    const int result = runUntilInputEnds();
    say("checked " + QByteArray::number(checks) + " violations " + QByteArray::number(violations));
    return result;
}

int store(const QString& suite, int pause)
{
    const auto defaults = UserDefaults::withSuiteName(suite);
    QFile input;
    if (!defaults || !input.open(STDIN_FILENO, QIODevice::ReadOnly))
        return 1;
    for (QByteArray line = input.readLine(); !line.isEmpty(); line = input.readLine()) {
        const qsizetype blank = line.indexOf(' ');
        const std::string key = line.left(blank < 0 ? line.size() : blank).trimmed().toStdString();
        const bool isStored = blank < 0
            ? defaults->remove(key)
            : defaults->set(key, QJsonDocument::fromJson(line.mid(blank)).array().first());
        say(isStored ? "stored" : "failed " + defaults->lastError().toUtf8());
        QThread::msleep(unsigned(pause));
    }
    return 0;
}

bool writeFile(const char* path, const QByteArray& text)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

// A user namespace has limits of its own, so no other process is affected.
bool limit(const QString& kind, int most)
{
    const QByteArray path = "/proc/sys/user/max_inotify_" + kind.toLatin1();
    return writeFile(path.constData(), QByteArray::number(most));
}

// Enters a user namespace and sets its limit for `kind` to 0. Returns an empty text, or why this is impossible.
const char* starveOf(const QString& kind)
{
    const QByteArray user = QByteArray::number(::geteuid());
    if (::unshare(CLONE_NEWUSER) != 0)
        return "no user name spaces";
    writeFile("/proc/self/uid_map", user + ' ' + user + " 1");
    return limit(kind, 0) ? "" : "no limits of a name space's own";
}

// Enters the user name space of a process. Processes of two such name spaces cannot see each other's programs.
bool enterBeside(const QByteArray& pid)
{
    const FileDescriptor space(::open(("/proc/" + pid + "/ns/user").constData(), O_RDONLY | O_CLOEXEC));
    return space.isValid() && ::setns(space.get(), CLONE_NEWUSER) == 0;
}

int starve(const QString& kind, const QString& directory)
{
    rlimit whole {};
    ::getrlimit(RLIMIT_NOFILE, &whole);
    std::function<void()> relieve;
    if (kind == QLatin1String("descriptors")) {
        const int free = ::dup(STDIN_FILENO);
        ::close(free);
        const rlimit tight { rlim_t(free), whole.rlim_max };
        ::setrlimit(RLIMIT_NOFILE, &tight);
        relieve = [whole] { ::setrlimit(RLIMIT_NOFILE, &whole); };
    } else {
        if (const char* reason = starveOf(kind); *reason) {
            say(QByteArray("unsupported ") + reason);
            return 0;
        }
        relieve = [kind] { limit(kind, 1000); };
    }
    const auto tell = [](const QByteArray& entry) { say(("told " + entry).trimmed()); };
    const DirectoryWatch watch(directory, DirectoryWatch::Interest::content, tell);
    const DirectoryWatch second(directory, DirectoryWatch::Interest::content, [](const QByteArray&) {});
    say(watch.isNotified() ? "notified" : "polled");
    return runUntilInputEnds([&relieve, &watch] {
        relieve();
        say(watch.isNotified() ? "notified" : "relieved");
    });
}

int become(const QStringList& command)
{
    std::vector<QByteArray> words;
    std::vector<char*> pointers;
    words.reserve(size_t(command.size()));
    for (const QString& word : command)
        pointers.push_back(words.emplace_back(QFile::encodeName(word)).data());
    pointers.push_back(nullptr);
    ::execv(pointers.front(), pointers.data());
    return 1;
}

int runInstance(const QByteArray& name, const QByteArray& token)
{
    SingleInstance instance(name);
    if (!instance.isFirst()) {
        say("second");
        if (!instance.raiseFirst(token))
            return 1;
        if (!instance.isFirst())
            return 0;
    }
    say("first");
    QObject::connect(&instance, &SingleInstance::raiseRequested, &instance,
        [](const QByteArray& requested) { say(("raise " + requested).trimmed()); });
    return runUntilInputEnds([&instance] {
        instance.release();
        say("gave back");
    });
}

int workspace(const QString& bundle, const QStringList& pids)
{
    if (SystemCallFilter::withoutProcessDescriptors().enter() != 0) {
        say("unsupported no filters of calls");
        return 0;
    }
    QList<qint32> processes;
    for (const QString& pid : pids)
        processes.append(pid.toInt());
    Workspace& shared = Workspace::shared();
    shared.observe(bundle, processes);
    QObject::connect(&shared, &Workspace::runningApplicationsChanged, qApp, [] { say("changed"); });
    shared.openApplication(bundle, {}, [](const Workspace::Opened& opened) {
        say("opened " + QByteArray::number(opened.pid.value_or(0)) + opened.error.toUtf8());
    });
    return runUntilInputEnds();
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.value(0) == QLatin1String("starved")) {
        if (const char* reason = starveOf(arguments.value(1)); *reason) {
            say(QByteArray("unsupported ") + reason);
            return 0;
        }
        arguments = arguments.mid(2);
    } else if (arguments.value(0) == QLatin1String("beside")) {
        if (!enterBeside(arguments.value(1).toLatin1()))
            return 1;
        arguments = arguments.mid(2);
    }
    const QString verb = arguments.value(0);
    if (verb == QLatin1String("listen"))
        return listen(arguments.mid(1));
    if (verb == QLatin1String("count"))
        return count(arguments.mid(1));
    if (verb == QLatin1String("post"))
        return post(arguments.value(1), arguments.value(2).toInt());
    if (verb == QLatin1String("flood"))
        return flood(arguments.value(1).toInt(), arguments.mid(2));
    if (verb == QLatin1String("write"))
        return write(arguments.value(1), arguments.value(2), arguments.value(3).toULongLong(),
            arguments.value(4) == QLatin1String("right"));
    if (verb == QLatin1String("store"))
        return store(arguments.value(1), arguments.value(2).toInt());
    if (verb == QLatin1String("keys"))
        return HelperVerbs::storeKeys(arguments.value(1), arguments.value(2).toUtf8(),
            arguments.value(3).toInt(), arguments.value(4).toInt());
    if (verb == QLatin1String("random"))
        return HelperVerbs::storeAtRandom(
            arguments.value(1), arguments.value(2).toUInt(), arguments.value(3).toInt());
    if (verb == QLatin1String("observe"))
        return HelperVerbs::observe(arguments.value(1));
    if (verb == QLatin1String("observe-newer"))
        return HelperVerbs::observeNewer(arguments.value(1));
    if (verb == QLatin1String("watch-only"))
        return HelperVerbs::watchOnly(arguments.value(1));
    if (verb == QLatin1String("read"))
        return HelperVerbs::read(arguments.value(1));
    if (verb == QLatin1String("check"))
        return check(arguments.value(1), arguments.value(2));
    if (verb == QLatin1String("instance"))
        return runInstance(arguments.value(1).toUtf8(), arguments.value(2).toUtf8());
    if (verb == QLatin1String("starve"))
        return starve(arguments.value(1), arguments.value(2));
    if (verb == QLatin1String("become"))
        return become(arguments.mid(1));
    if (verb == QLatin1String("workspace"))
        return workspace(arguments.value(1), arguments.mid(2));
    return 2;
}
