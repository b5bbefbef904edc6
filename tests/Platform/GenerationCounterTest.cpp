#include "Platform/Store/GenerationCounter.h"
#include "Platform/Files/RuntimeDirectory.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>
#include <QThread>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kestrum;

class GenerationCounterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void advancingIsSeenThroughAnotherMapping()
    {
        const auto writer = GenerationCounter::open(QStringLiteral("two"));
        const auto reader = GenerationCounter::open(QStringLiteral("two"));
        QVERIFY(writer && reader);
        const quint64 before = reader->value();
        writer->advance();
        QCOMPARE(reader->value(), before + 1);
    }

    void advancingIsSeenByAnotherProcess()
    {
        const auto reader = GenerationCounter::open(QStringLiteral("process"));
        QVERIFY(reader);
        const quint64 before = reader->value();
        const pid_t child = ::fork();
        if (child == 0) {
            const auto writer = GenerationCounter::open(QStringLiteral("process"));
            if (writer)
                writer->advance();
            ::_exit(0);
        }
        QVERIFY(child > 0);
        QCOMPARE(::waitpid(child, nullptr, 0), child);
        QCOMPARE(reader->value(), before + 1);
    }

    void namesHaveCountersOfTheirOwn()
    {
        const auto one = GenerationCounter::open(QStringLiteral("a/b"));
        const auto other = GenerationCounter::open(QStringLiteral("a_b"));
        QVERIFY(one && other);
        const quint64 before = one->value();
        const quint64 beforeOther = other->value();
        one->advance();
        QCOMPARE(one->value(), before + 1);
        QCOMPARE(other->value(), beforeOther);
        QVERIFY(QFile::exists(fileOf(QStringLiteral("a%2Fb"))));
    }

    void valueOutlivesItsUsers()
    {
        auto counter = GenerationCounter::open(QStringLiteral("kept"));
        counter->advance();
        const quint64 value = counter->value();
        counter.reset();
        QCOMPARE(GenerationCounter::open(QStringLiteral("kept"))->value(), value);
    }

    void nameThatMakesNoFileHasNoCounter()
    {
        QVERIFY(!GenerationCounter::open(QString()));
        QVERIFY(!GenerationCounter::open(QString(300, u'x')));
    }

    void fileThatIsTooShortIsMadeLongEnough_data()
    {
        QTest::addColumn<int>("size");
        for (const int size : { 0, 1, 7, 100 })
            QTest::addRow("%d bytes", size) << size;
    }

    void fileThatIsTooShortIsMadeLongEnough()
    {
        QFETCH(const int, size);
        const QString name = QStringLiteral("short%1").arg(size);
        {
            QFile file(fileOf(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner));
            QVERIFY(file.resize(size));
        }
        const auto counter = GenerationCounter::open(name);
        QVERIFY(counter);
        const quint64 before = counter->value();
        counter->advance();
        QCOMPARE(counter->value(), before + 1);
        QCOMPARE(QFile(fileOf(name)).size(), qint64(::sysconf(_SC_PAGESIZE)));
    }

    void whatIsNoFileOfOursIsRefused()
    {
        const auto place
            = [](const char* name) { return QFile::encodeName(fileOf(QString::fromLatin1(name))); };
        QCOMPARE(::mkdir(place("directory").constData(), 0700), 0);
        QVERIFY(!GenerationCounter::open(QStringLiteral("directory")));
        QCOMPARE(::mkfifo(place("fifo").constData(), 0600), 0);
        QVERIFY(!GenerationCounter::open(QStringLiteral("fifo")));

        QFile target(TestHome::root() + QStringLiteral("/target"));
        QVERIFY(target.open(QIODevice::WriteOnly));
        QCOMPARE(::symlink(QFile::encodeName(target.fileName()).constData(), place("link").constData()), 0);
        QVERIFY(!GenerationCounter::open(QStringLiteral("link")));
        QCOMPARE(target.size(), 0);

        QVERIFY(GenerationCounter::open(QStringLiteral("foreign")));
        QCOMPARE(::chmod(place("foreign").constData(), 0666), 0);
        QVERIFY(!GenerationCounter::open(QStringLiteral("foreign")));
    }

    void manyThreadsLoseNoStep()
    {
        constexpr int steps = 20'000;
        const auto counter = GenerationCounter::open(QStringLiteral("threads"));
        QVERIFY(counter);
        const quint64 before = counter->value();
        std::vector<std::unique_ptr<QThread>> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back(QThread::create([&counter] {
                for (int step = 0; step < steps; ++step)
                    counter->advance();
            }));
            threads.back()->start();
        }
        for (const auto& thread : threads)
            QVERIFY(thread->wait(20'000));
        QCOMPARE(counter->value(), before + 4 * steps);
    }

    void pageThatIsCutOffIsMadeAnew()
    {
        const auto one = GenerationCounter::open(QStringLiteral("cut"));
        const auto other = GenerationCounter::open(QStringLiteral("cut"));
        QVERIFY(one && other);
        for (int round = 0; round < 3; ++round) {
            const quint64 before = other->value();
            cutOff("cut");
            const quint64 cut = other->value();
            QVERIFY(cut > before);
            one->advance();
            QCOMPARE(other->value(), cut + 1);
            cutOff("cut");
            one->advance();
            QVERIFY(other->value() > cut + 1);
            QVERIFY(one->isShared() && other->isShared());
            // A new counter opens the file while it is cut off and has no page in memory.
            cutOff("cut");
            QVERIFY(GenerationCounter::open(QStringLiteral("cut")));
            QVERIFY(other->value() > cut + 2);
        }
    }

    void pageThatIsCutOffAndCannotBeMadeAnewIsOurOwn()
    {
        const auto counter = GenerationCounter::open(QStringLiteral("lost"));
        QVERIFY(counter && counter->isShared());
        // With this limit no file can grow, as on a full disk.
        rlimit whole {};
        ::getrlimit(RLIMIT_FSIZE, &whole);
        const rlimit none { 0, whole.rlim_max };
        const auto old = ::signal(SIGXFSZ, SIG_IGN);
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &none), 0);
        cutOff("lost");
        const quint64 cut = counter->value();
        counter->advance();
        const quint64 value = counter->value();
        ::setrlimit(RLIMIT_FSIZE, &whole);
        ::signal(SIGXFSZ, old);
        QCOMPARE(value, cut + 1);
        QVERIFY(!counter->isShared());
    }

private:
    static void cutOff(const char* name)
    {
        QCOMPARE(::truncate(QFile::encodeName(fileOf(QString::fromLatin1(name))).constData(), 0), 0);
    }
    static QString fileOf(const QString& name)
    {
        return RuntimeDirectory::shared()->path() + u'/' + name + QStringLiteral(".generation");
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, GenerationCounterTest)
#include "GenerationCounterTest.moc"
