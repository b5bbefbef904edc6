#include "Platform/Store/GenerationCounter.h"
#include "Platform/Files/RuntimeDirectory.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QFileInfo>
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
    void advancingIsSeenThroughAnotherMappingAndByAnotherProcess()
    {
        const auto writer = opened("two");
        const auto reader = opened("two");
        QVERIFY(writer && reader);
        const quint64 before = reader->value();
        writer->advance();
        QCOMPARE(reader->value(), before + 1);
        const pid_t child = ::fork();
        if (child == 0) {
            if (const auto other = opened("two"))
                other->advance();
            ::_exit(0);
        }
        QVERIFY(child > 0);
        QCOMPARE(::waitpid(child, nullptr, 0), child);
        QCOMPARE(reader->value(), before + 2);
    }

    void namesHaveCountersOfTheirOwn()
    {
        const auto one = opened("a/b");
        const auto other = opened("a_b");
        QVERIFY(one && other);
        const quint64 before = one->value();
        const quint64 beforeOther = other->value();
        one->advance();
        QCOMPARE(one->value(), before + 1);
        QCOMPARE(other->value(), beforeOther);
        QCOMPARE(::access(fileOf("a%2Fb").constData(), F_OK), 0);
    }

    void valueOutlivesItsUsers()
    {
        auto counter = opened("kept");
        counter->advance();
        const quint64 value = counter->value();
        counter.reset();
        QCOMPARE(opened("kept")->value(), value);
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
        QVERIFY(opened("short"));
        QCOMPARE(::truncate(fileOf("short").constData(), size), 0);
        const auto counter = opened("short");
        QVERIFY(counter);
        const quint64 before = counter->value();
        counter->advance();
        QCOMPARE(counter->value(), before + 1);
        QCOMPARE(QFileInfo(QFile::decodeName(fileOf("short"))).size(), qint64(::sysconf(_SC_PAGESIZE)));
    }

    void whatIsNoFileOfOursIsRefused()
    {
        QCOMPARE(::mkdir(fileOf("directory").constData(), 0700), 0);
        QCOMPARE(::mkfifo(fileOf("fifo").constData(), 0600), 0);
        QFile target(TestHome::root() + QStringLiteral("/target"));
        QVERIFY(target.open(QIODevice::WriteOnly));
        QCOMPARE(::symlink(QFile::encodeName(target.fileName()).constData(), fileOf("link").constData()), 0);
        QVERIFY(opened("foreign"));
        QCOMPARE(::chmod(fileOf("foreign").constData(), 0666), 0);
        for (const char* name : { "directory", "fifo", "link", "foreign" })
            QVERIFY2(!opened(name), name);
        QCOMPARE(target.size(), 0);
    }

    void manyThreadsLoseNoStep()
    {
        constexpr int steps = 20'000;
        const auto counter = opened("threads");
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
        const auto one = opened("cut");
        const auto other = opened("cut");
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
            // A new counter opens the file while the file is cut off and has no page in memory.
            cutOff("cut");
            QVERIFY(opened("cut"));
            QVERIFY(other->value() > cut + 2);
        }
    }

    void pageThatIsCutOffAndCannotBeMadeAnewIsOurOwn()
    {
        const auto counter = opened("lost");
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
    static std::unique_ptr<GenerationCounter> opened(const char* name)
    {
        return GenerationCounter::open(QString::fromLatin1(name));
    }
    static void cutOff(const char* name) { QCOMPARE(::truncate(fileOf(name).constData(), 0), 0); }
    static QByteArray fileOf(const char* name)
    {
        return QFile::encodeName(RuntimeDirectory::shared()->path()) + '/' + name + ".generation";
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, GenerationCounterTest)
#include "GenerationCounterTest.moc"
