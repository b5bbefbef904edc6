// SPDX-License-Identifier: MIT
// A day in an hour: window, agent, popovers and a bridge stay open under a storm of writes, while everything around them is taken
// away and given back at random. In the end all is right. In the last third of the day the same processes live on, and are as small
// at its end as at its beginning.

#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Store/SettingsFile.h"
#include "tests/Support/DayItems.h"
#include "tests/Support/DayLog.h"
#include "tests/Support/DayPages.h"
#include "tests/Support/DayTroubles.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnLimits.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/ProcessUse.h"
#include "tests/Support/StormWriter.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <algorithm>
#include <deque>

using namespace kestrum;

using Programs::patience;

class DayEndToEndTest : public QObject {
    Q_OBJECT

public:
    static inline bool s_hasOwnMounts = false;
    static inline bool s_hasOwnLimits = false;

    /// How long the storm lasts: KESTRUM_DAY_SECONDS, or else 4 s.
    static int seconds()
    {
        const int wanted = qEnvironmentVariableIntValue("KESTRUM_DAY_SECONDS");
        return wanted > 0 ? wanted : 4;
    }
    static bool isLong() { return seconds() > 100; }

private:
    /// What programs store themselves, so that it is not what the writer was told.
    static QStringList ownKeys()
    {
        return Keys::names(Keys::panelBridge, Keys::panelOffers, Keys::updatesAvailable,
            Keys::updaterCanCheck, Keys::didUnregisterLegacyLoginItem, Keys::cpuAccent,
            Keys::cpuFastCoreAccent, Keys::memoryAccent, Keys::storageAccent);
    }
    /// What has consequences as large as a program's end or start. They are among the troubles.
    static QStringList largeKeys() { return Keys::names(Keys::agentEnabled, Keys::language); }

    /// The time in ms until all must be right again.
    static constexpr int recovery = Programs::areSanitized ? 2 * patience : 10'000;

    /// Lets time pass, in which a bridge is used.
    void live(int milliseconds)
    {
        QElapsedTimer time;
        time.start();
        while (time.elapsed() < milliseconds) {
            m_log->look();
            m_desk->tendBridge();
            if (BridgeClient* bridge = m_desk->bridge())
                use(*bridge);
            QTest::qWait(100);
        }
    }

    void use(BridgeClient& bridge)
    {
        const uint number = bridge.number;
        const auto section = [&] {
            return bridge.items.isEmpty() ? text("cpu")
                                          : bridge.items[m_random.bounded(bridge.items.size())].id;
        };
        switch (m_random.bounded(6)) {
        case 0:
        case 1:
            bridge.tell("OpenPopover", { number, section(), QVariantMap() });
            break;
        case 2:
            bridge.tell("ClosePopover", { number });
            break;
        case 3:
            bridge.tell("Key", { number, text("Tab") });
            break;
        default:
            bridge.tell("Pointer",
                { number, text("move"), double(m_random.bounded(260)), double(m_random.bounded(500)), 0.0 });
        }
    }

    /// What is not right at present; empty if nothing.
    QString fault() const
    {
        if (m_desk->agent() == 0)
            return text("there is no agent, or several");
        if (m_desk->window() == 0)
            return text("there is no settings window, or several");
        const BridgeClient* bridge = m_desk->bridge();
        if (!bridge)
            return text("the bridge is not attached");
        if (bridge->itemMessages == 0 || bridge->itemMessages == m_itemMessagesBefore)
            return text("the bridge is told nothing");
        return {};
    }

    void recover(const QString& after)
    {
        m_itemMessagesBefore = m_desk->bridge() ? m_desk->bridge()->itemMessages : 0;
        QElapsedTimer time;
        time.start();
        QString wrong;
        while (!(wrong = fault()).isEmpty() && time.elapsed() < recovery)
            live(100);
        m_longestRecovery = std::max(m_longestRecovery, int(time.elapsed()));
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong + text(" after: ") + after));
    }

    /// All troubles come in turn, in an order of chance.
    DayTrouble& next()
    {
        if (m_coming.empty()) {
            for (DayTrouble& trouble : m_troubles) {
                if (!m_livesOn || (trouble.kinds & DayTrouble::lives) == 0)
                    m_coming.push_back(&trouble);
            }
            std::shuffle(m_coming.begin(), m_coming.end(), m_random);
        }
        DayTrouble& next = *m_coming.front();
        m_coming.pop_front();
        return next;
    }

    /// How long something is away, in ms. On a long day some absences are long.
    int absence()
    {
        if (isLong() && m_random.bounded(8) == 0)
            return m_random.bounded(10'000, 40'000);
        return m_random.bounded(200, isLong() ? 5000 : 1000);
    }

    /// Takes one to three things away for a while.
    void episode()
    {
        std::vector<DayTrouble*> taken;
        const int wanted = m_random.bounded(1, 4);
        QStringList names;
        for (int i = 0; i < wanted; ++i) {
            DayTrouble& trouble = next();
            const bool isFree = std::none_of(taken.begin(), taken.end(),
                [&](const DayTrouble* one) { return (one->kinds & trouble.kinds) != 0; });
            if (!isFree) {
                m_coming.push_back(&trouble);
                continue;
            }
            names.append(text(trouble.name));
            trouble.take();
            ++trouble.times;
            taken.push_back(&trouble);
            live(m_random.bounded(500));
        }
        live(absence());
        // Many keys are written again soon after, so the file is looked at while things are away, too.
        checkFile(names.join(text(", ")));
        m_writer->start();
        for (DayTrouble* trouble : taken) {
            trouble->give();
            live(m_random.bounded(300));
        }
        ++m_episodes;
        recover(names.join(text(", ")));
        m_log->count(names.join(text(", ")));
    }

    /// Stops the storm. The file must say what was told.
    void checkFile(const QString& during)
    {
        m_writer->stop();
        QVERIFY(m_writer->isAnswered());
        const auto content = SettingsFile(SharedSettings::store().filePath()).read();
        QVERIFY2(content, qPrintable(content.failureText()));
        QCOMPARE(content->damage, QString());
        m_left = content->values;
        const QString contradiction = m_writer->told().contradiction(content->values);
        QVERIFY2(contradiction.isEmpty(), qPrintable(contradiction + text(" during: ") + during));
    }

    /// Nothing was written meanwhile, which would have a program that missed a change read the file again.
    void compareWithFreshReader(const char* settings)
    {
        const QStringList expected = DayItems::described(*m_desk);
        const auto isShown = [&] {
            m_desk->tendBridge();
            return DayItems::displayed(*m_desk) == expected;
        };
        (void)QTest::qWaitFor(isShown, recovery);
        QVERIFY2(DayItems::displayed(*m_desk) == expected,
            qPrintable(
                text("%1 displayed, %2 expected, with %3")
                    .arg(DayItems::displayed(*m_desk).join(u'\n'), expected.join(u'\n'), text(settings))));
    }

    /// Stops the storm. Everything must show what the file says.
    void rest()
    {
        checkFile(text("rest"));
        if (!QTest::currentTestFailed())
            compareWithFreshReader("what the storm has left");
        if (QTest::currentTestFailed())
            return;
        m_shown = DayPages(*m_desk, *m_writer).present();
        // The same state at each rest, so that what the programs need of the machine can be compared.
        const int failed = m_writer->told().failed;
        for (const QString& key : RandomWrites::allKeys()) {
            if (!ownKeys().contains(key))
                m_writer->write(key.toUtf8());
        }
        m_writer->write("settingsPane [\"general\"]");
        QVERIFY(m_writer->isAnswered());
        QCOMPARE(m_writer->told().failed, failed);
        compareWithFreshReader("the defaults");
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(DayItems::displayed(*m_desk).size(), 4);
        BridgeClient& bridge = *m_desk->bridge();
        (void)bridge.call("ClosePopover", { bridge.number });
        for (const char* section : { "cpu", "memory", "storage", "sensors" }) {
            const int before = bridge.popoverMessages;
            QCOMPARE(
                bridge.errorOf("OpenPopover", { bridge.number, text(section), QVariantMap() }), QString());
            QTRY_VERIFY_WITH_TIMEOUT(bridge.popoverMessages > before, recovery);
            QCOMPARE(bridge.popoverItem, text(section));
            // A device of the recorded machine: its highest temperature, and the present one.
            if (text(section) == text("sensors") && !m_desk->machine().isEmpty())
                QTRY_VERIFY_WITH_TIMEOUT(bridge.popoverText.contains(text("Chipset\t51°C\t51°C")), recovery);
            (void)bridge.call("ClosePopover", { bridge.number });
        }
        // The agent hears signals, also one that began when it could not.
        bridge.requested.clear();
        (void)m_desk->kestrumctl(words("popover memory"));
        QTRY_VERIFY_WITH_TIMEOUT(bridge.requested.contains(text("memory")), recovery);
        QTest::qWait(1000);
    }

    /// Writes what the storm has left. The programs must show it.
    void writeLeft()
    {
        for (const QString& key : RandomWrites::allKeys()) {
            if (!(ownKeys() + largeKeys()).contains(key))
                m_writer->write(m_left.contains(key) ? RandomWrites::lineOf(key, m_left[key]) : key.toUtf8());
        }
        QVERIFY(m_writer->isAnswered());
        compareWithFreshReader("the settings of the storm");
    }

    /// Programs that start now show the same as those that have lived through everything showed before anything was written anew.
    void compareWithFreshPrograms()
    {
        const DayPages pages(*m_desk, *m_writer);
        writeLeft();
        const QStringList items = DayItems::outlines(*m_desk);
        const QList<QImage> shown = isLong() ? pages.all() : QList<QImage>();
        writeLeft();
        m_desk->endPrograms();
        m_desk->startAgent();
        m_desk->startWindow();
        recover(text("a fresh start"));
        if (QTest::currentTestFailed())
            return;
        QTRY_COMPARE_WITH_TIMEOUT(DayItems::outlines(*m_desk), items, recovery);
        DayPages::compare({ m_shown }, { pages.present() });
        if (isLong())
            DayPages::compare(shown, pages.all());
    }

    std::unique_ptr<DayDesk> m_desk;
    std::unique_ptr<StoreMount> m_store;
    std::unique_ptr<StormWriter> m_writer;
    std::optional<DayLog> m_log;
    std::vector<DayTrouble> m_troubles;
    std::deque<DayTrouble*> m_coming;
    QRandomGenerator m_random;
    QJsonObject m_left;     ///< what the file said when the storm was stopped
    QImage m_shown;         ///< the window then
    bool m_livesOn = false; ///< no trouble ends agent or window
    int m_itemMessagesBefore = 0;
    int m_episodes = 0;
    int m_longestRecovery = 0;

private Q_SLOTS:
    void initTestCase()
    {
        // Whoever asks for a day is not to take nothing for one.
        if (qEnvironmentVariableIsSet("KESTRUM_DAY_SECONDS") && (!s_hasOwnMounts || !agentPids().isEmpty()))
            QFAIL("a day needs a mount name space of its own, and no agents of others");
        if (!s_hasOwnMounts)
            QSKIP("the kernel gives this user no mount name space of their own");
        skipAmongAgentsOfOthers();
    }

    void afterADayAllIsRightAndSmall()
    {
        const quint32 seed = qEnvironmentVariableIsSet("KESTRUM_DAY_SEED")
            ? qEnvironmentVariable("KESTRUM_DAY_SEED").toUInt()
            : QRandomGenerator::global()->generate();
        qInfo("seed %u, %d s", seed, seconds());
        m_random.seed(seed);
        m_store = std::make_unique<StoreMount>();
        QVERIFY(m_store->isUp());
        m_desk = std::make_unique<DayDesk>();
        m_log.emplace(*m_desk);
        m_writer = std::make_unique<StormWriter>(seed, ownKeys() + largeKeys());
        m_troubles = dayTroubles(*m_desk, *m_writer, *m_store, s_hasOwnLimits);
        m_desk->startDisplay();
        m_desk->startBus();
        m_desk->startAgent();
        m_desk->startWindow();
        recover(text("the start"));
        if (QTest::currentTestFailed())
            return;

        const auto storm = [&](int milliseconds) {
            QElapsedTimer time;
            time.start();
            m_writer->start();
            while (time.elapsed() < milliseconds && !QTest::currentTestFailed()) {
                live(300);
                episode();
            }
            if (!QTest::currentTestFailed())
                rest();
        };
        storm(seconds() * 667);
        const ProcessUse agentBefore(m_desk->agent());
        const ProcessUse windowBefore(m_desk->window());
        m_livesOn = true;
        m_coming.clear();
        if (!QTest::currentTestFailed())
            storm(seconds() * 333);
        const ProcessUse agentAfter(m_desk->agent());
        const ProcessUse windowAfter(m_desk->window());
        m_log->count(text("the end"));
        if (!QTest::currentTestFailed())
            compareWithFreshPrograms();

        for (const DayTrouble& trouble : m_troubles)
            qInfo("%3d x %s", trouble.times, trouble.name);
        qInfo("%d episodes; all was right again after %d ms at most", m_episodes, m_longestRecovery);
        qInfo("%d writes acknowledged, %d refused", m_writer->told().stored, m_writer->told().failed);
        for (auto failure = m_writer->failures().begin(); failure != m_writer->failures().end(); ++failure)
            qInfo("  %d x %s", *failure, qPrintable(failure.key()));
        for (const ProcessUse& use : { agentBefore, agentAfter, windowBefore, windowAfter })
            qInfo("%s", qPrintable(use.told()));
        for (auto line = m_log->lines().begin(); line != m_log->lines().end(); ++line)
            qInfo("%4d x %s", *line, qPrintable(line.key()));
        QVERIFY2(m_log->repeated().isEmpty(), qPrintable(m_log->repeated().join(u'\n')));
        if (QTest::currentTestFailed())
            return;
        QCOMPARE(agentAfter.pid, agentBefore.pid);
        QCOMPARE(windowAfter.pid, windowBefore.pid);
        QVERIFY2(agentAfter.isLike(agentBefore), qPrintable(agentAfter.told()));
        QVERIFY2(windowAfter.isLike(windowBefore), qPrintable(windowAfter.told()));
    }

    void cleanupTestCase()
    {
        m_writer.reset();
        m_desk.reset();
        m_store.reset();
    }
};

KESTRUM_TEST_MAIN_OF(DayEndToEndTest)(int argc, char** argv)
{
    // Limits of inotify that no process outside feels.
    DayEndToEndTest::s_hasOwnLimits = OwnLimits::enter();
    const auto mounts = [] { return QFile::symLinkTarget(text("/proc/self/ns/mnt")); };
    const QString everybodys = mounts();
    if (const auto code = OwnProcesses::enter())
        return *code;
    DayEndToEndTest::s_hasOwnMounts = mounts() != everybodys;
    if (!qEnvironmentVariableIsSet("QTEST_FUNCTION_TIMEOUT"))
        qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number(300'000 + 3000 * DayEndToEndTest::seconds()));
    const TestHome home;
    QCoreApplication application(argc, argv);
    DayEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "DayEndToEndTest.moc"
