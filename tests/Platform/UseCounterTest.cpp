#include "Platform/Machine/UseCounter.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class UseCounterTest : public QObject {
    Q_OBJECT
private:
    struct Process {
        qint32 pid;
        qint32 parent;
        quint64 time;
        quint64 childrenTime = 0;
        quint64 start = 10;
    };
    using Processes = QList<Process>;
    using Use = QMap<qint32, quint64>;

    // What each process used between the last two of these lists. Processes that used nothing are left out.
    static Use useIn(const QList<Processes>& lists)
    {
        UseCounter counter([](const ProcessSample& process) {
            return std::optional(UseCounter::Counters { process.time, process.childrenTime });
        });
        ProcessSamples before;
        Use use;
        for (const Processes& list : lists) {
            ProcessSamples now;
            for (const Process& process : list) {
                ProcessSample sample;
                sample.pid = process.pid;
                sample.parent = process.parent;
                sample.time = process.time;
                sample.childrenTime = process.childrenTime;
                sample.start = process.start;
                now.push_back(sample);
            }
            ProcessMatch match;
            match.match(before, now);
            const std::vector<quint64> all = counter.use(before, now, match);
            use.clear();
            for (std::size_t i = 0; i < now.size(); ++i) {
                if (all[i] > 0)
                    use.insert(now[i].pid, all[i]);
            }
            before = now;
        }
        return use;
    }

private Q_SLOTS:
    void processorTimeBelongsToWhoUsedItOrWaitedForWhoDid()
    {
        const struct {
            const char* name;
            QList<Processes> lists;
            Use use;
        } rows[] {
            { "a process that lives on", { { { 5, 1, 100 } }, { { 5, 1, 130 } } }, { { 5, 30 } } },
            { "a new one counts in full", { { { 5, 1, 0 } }, { { 5, 1, 0 }, { 6, 5, 40, 2, 20 } } },
                { { 6, 42 } } },
            { "one that was never seen", { { { 5, 1, 0 } }, { { 5, 1, 1, 70 } } }, { { 5, 71 } } },
            { "an ended one counts only what it used since",
                { { { 5, 1, 0 }, { 6, 5, 60 } }, { { 5, 1, 0, 75 } } }, { { 5, 15 } } },
            { "ended, but not waited for yet",
                { { { 5, 1, 0 }, { 6, 5, 60 } }, { { 5, 1, 0 }, { 6, 5, 75 } } }, { { 6, 15 } } },
            { "two generations end", { { { 5, 1, 0 }, { 6, 5, 10 }, { 7, 6, 60 } }, { { 5, 1, 0, 90 } } },
                { { 5, 20 } } },
            { "a middle process that waited ends",
                { { { 5, 1, 0 }, { 6, 5, 1, 30 }, { 7, 6, 60 } }, { { 5, 1, 0, 100 } } }, { { 5, 9 } } },
            { "an orphan goes to the first process",
                { { { 1, 0, 0 }, { 5, 1, 0 }, { 6, 5, 10 }, { 7, 6, 60 } },
                    { { 1, 0, 0, 65 }, { 5, 1, 0, 12 } } },
                { { 1, 5 }, { 5, 2 } } },
            { "an orphan that used less than its parent",
                { { { 1, 0, 0 }, { 5, 1, 0 }, { 6, 5, 60 }, { 7, 6, 10 } },
                    { { 1, 0, 0, 12 }, { 5, 1, 0, 63 } } },
                { { 1, 2 }, { 5, 3 } } },
            { "children of one who does not wait are lost",
                { { { 5, 1, 0 }, { 6, 5, 60 } }, { { 5, 1, 3 } } }, { { 5, 3 } } },
            { "and take nothing from later ones",
                { { { 5, 1, 0 }, { 6, 5, 60 } }, { { 5, 1, 3 } }, { { 5, 1, 3, 0 } }, { { 5, 1, 3, 70 } } },
                { { 5, 70 } } },
            { "ended after its parent was read",
                { { { 5, 1, 0 }, { 6, 5, 60 } }, { { 5, 1, 0 } }, { { 5, 1, 0, 75 } } }, { { 5, 15 } } },
            { "and not to the grandparent that waited for others",
                { { { 1, 0, 0 }, { 5, 1, 0 }, { 6, 5, 60 } }, { { 1, 0, 0, 65 }, { 5, 1, 0 } } },
                { { 1, 65 } } },
            { "nor later, when the parent has it",
                { { { 1, 0, 0 }, { 5, 1, 0 }, { 6, 5, 60 } }, { { 1, 0, 0, 65 }, { 5, 1, 0 } },
                    { { 1, 0, 0, 65 }, { 5, 1, 0, 75 } } },
                { { 5, 15 } } },
            { "a pid that is used again",
                { { { 5, 1, 0 }, { 6, 5, 60 } }, { { 5, 1, 0, 60 }, { 6, 5, 40, 0, 20 } } }, { { 6, 40 } } },
            { "two generations ended after who waited for them was read",
                { { { 5, 1, 0 }, { 6, 5, 10 }, { 7, 6, 60 } }, { { 5, 1, 0 } }, { { 5, 1, 0, 90 } } },
                { { 5, 20 } } },
            { "an old process that could not be read before",
                { { { 5, 1, 0, 0, 200 } }, { { 5, 1, 0, 0, 200 }, { 6, 1, 9999, 0, 99 } } }, {} },
            { "a new one that is listed later than one that started after it",
                { { { 5, 1, 0, 0, 200 } }, { { 5, 1, 0, 0, 200 }, { 6, 1, 30, 0, 100 } } }, { { 6, 30 } } },
            { "counters that go back", { { { 5, 1, 90, 90 } }, { { 5, 1, 80, 80 } } }, {} },
            { "nobody is left to wait", { { { 5, 1, 90 } }, {} }, {} },
            { "parents in a circle", { { { 5, 6, 0 }, { 6, 5, 0 }, { 7, 5, 30 } }, {} }, {} },
        };
        for (const auto& row : rows)
            QCOMPARE_ROW(row.name, useIn(row.lists), row.use);
    }

    void longFamiliesEnd()
    {
        Processes family { { 1, 0, 0 } };
        for (qint32 pid = 2; pid < 3000; ++pid)
            family.append({ pid, pid - 1, 1 });
        QCOMPARE(useIn({ family, { { 1, 0, 0, 2998 } } }).size(), 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, UseCounterTest)
#include "UseCounterTest.moc"
