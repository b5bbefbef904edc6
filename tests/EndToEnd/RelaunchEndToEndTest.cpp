// The settings application relaunches itself in another language.

#include "KestrumShared/Settings/SharedSettings.h"
#include "tests/Support/InputGrabs.h"
#include "tests/Support/SettingsAppTest.h"
#include "tests/Support/SystemCallFilter.h"

using namespace kestrum;

using Programs::patience;

namespace {

/// The part of the window that shows the names of the pages.
constexpr QRect pageNames(10, 20, 180, 160);

} // namespace

class RelaunchEndToEndTest : public SettingsAppTest {
    Q_OBJECT

    /// A picture of the page names in an application that starts in `language`.
    QImage pageNamesIn(const char* language) const
    {
        fixture().write("language", language);
        const OpenedWindow window(fixture());
        window.restingPreview();
        return window.picture(pageNames);
    }

private Q_SLOTS:
    void anotherLanguageRelaunchesOnceWhenTheWindowIsLeft()
    {
        const QImage german = pageNamesIn("\"de\"");
        const QImage english = pageNamesIn("\"en\"");
        QVERIFY(german != english);
        open();
        QTRY_VERIFY_WITH_TIMEOUT(m_window->picture(pageNames) == english, patience);
        const qint32 old = m_window->pid();
        fixture().write("language", "\"de\"");
        QTest::qWait(500);
        QCOMPARE(fixture().settingsApplications(), QList<qint32> { old });
        fixture().turnToOther();
        const qint32 next = fixture().settingsApplicationAfter(old);
        QVERIFY(next > 0);
        QCOMPARE(Programs::ended(m_window->application()).code, 0);
        const QByteArray window = DesktopFixture::windowOf(next);
        QVERIFY(!window.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::colour({ 2, 300 }, window), QColor(0xE9E9ED), patience);
        QVERIFY(fixture().isOtherActive());
        // The toolkit's own texts and the window are in the new language.
        QCOMPARE(DesktopFixture::toolkitLanguage(), text("de"));
        DesktopFixture::turnTo(window);
        QTRY_VERIFY_WITH_TIMEOUT(DesktopFixture::picture(pageNames, window) == german, patience);
        // The new process started in that language, so losing the focus causes no further relaunch.
        DesktopFixture::turnTo(window);
        fixture().turnToOther();
        QTest::qWait(700);
        QCOMPARE(fixture().settingsApplications(), QList<qint32> { next });
    }

    void aShortcutOfTheDesktopIsNoLeaving()
    {
        constexpr int longerThanTheToolkitWaits = 800;
        open();
        const qint32 old = m_window->pid();
        fixture().write("language", "\"de\"");
        QTest::qWait(200);
        auto grabs = std::make_unique<InputGrabs>();
        QVERIFY(grabs->hasBoth);
        QTest::qWait(longerThanTheToolkitWaits);
        grabs.reset();
        QTest::qWait(longerThanTheToolkitWaits);
        QCOMPARE(fixture().settingsApplications(), QList<qint32> { old });
        // Here the shortcut leads to another window.
        grabs = std::make_unique<InputGrabs>();
        QTest::qWait(longerThanTheToolkitWaits);
        fixture().turnToOther();
        QVERIFY(fixture().settingsApplicationAfter(old) > 0);
    }

    void twoChangesGiveOneRelaunch()
    {
        open();
        const qint32 old = m_window->pid();
        fixture().write("language", "\"de\"");
        fixture().write("language", "\"en\"");
        fixture().write("language", "\"de\"");
        fixture().turnToOther();
        const qint32 next = fixture().settingsApplicationAfter(old);
        QVERIFY(next > 0);
        // If there were a second shell, it would open the application again and bring it to the front.
        QTest::qWait(1000);
        QCOMPARE(fixture().settingsApplications(), QList<qint32> { next });
        QVERIFY(fixture().isOtherActive());
    }

    void switchingBackStillRelaunches()
    {
        open();
        const qint32 old = m_window->pid();
        fixture().write("language", "\"de\"");
        QTest::qWait(200);
        fixture().write("language", "\"en\"");
        QTest::qWait(200);
        fixture().turnToOther();
        QVERIFY(fixture().settingsApplicationAfter(old) > 0);
    }

    void aChangeWhileTheWindowIsNotActiveRelaunchesAtOnce()
    {
        open();
        const qint32 old = m_window->pid();
        fixture().turnToOther();
        fixture().write("language", "\"de\"");
        QVERIFY(fixture().settingsApplicationAfter(old) > 0);
        QTest::qWait(300);
        QVERIFY(fixture().isOtherActive());
    }

    void savingTheSettingsInAnEditorStartsNothingAnew()
    {
        // Editors move the file away and write a new one. Between these steps, no language is stored.
        fixture().write("language", "\"de\"");
        fixture().write("refreshInterval", "1");
        open();
        const qint32 old = m_window->pid();
        fixture().turnToOther();
        const QString path = SharedSettings::store().filePath();
        QByteArray text = contentOf(path);
        QVERIFY(text.contains("\"de\"") && text.contains("\"refreshInterval\": 1"));
        for (int i = 2; i <= 20; ++i) {
            text.replace("\"refreshInterval\": " + QByteArray::number(i - 1),
                "\"refreshInterval\": " + QByteArray::number(i));
            QVERIFY(QFile::rename(path, path + u'~'));
            QTest::qWait(30);
            QFile made(path);
            QVERIFY(made.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
            QTest::qWait(30);
            QCOMPARE(made.write(text), text.size());
            made.close();
            QVERIFY(QFile::remove(path + u'~'));
            QTest::qWait(30);
        }
        QTest::qWait(1000);
        QCOMPARE(fixture().settingsApplications(), QList<qint32> { old });
        QCOMPARE(fixture().read("refreshInterval"), QByteArray("20"));
        // A change to another language still takes effect.
        write(path, text.replace("\"de\"", "\"en\""));
        QVERIFY(fixture().settingsApplicationAfter(old) > 0);
    }

    void withoutAShellTheApplicationStaysClosedWithoutAWord()
    {
        // The kernel refuses to start any child process of this application.
        const auto kestrum = std::make_unique<QProcess>();
        kestrum->setChildProcessModifier(
            [filter = SystemCallFilter::withoutNewProcesses()] { filter.enter(); });
        // The leak check at the end would start a process.
        kestrum->setProcessEnvironment(Programs::environment({ { "ASAN_OPTIONS", "detect_leaks=0" } }));
        kestrum->start(fixture().program("Kestrum"), {});
        const QByteArray window = DesktopFixture::windowOf(kestrum->processId());
        QVERIFY(!window.isEmpty());
        DesktopFixture::turnTo(window);
        fixture().write("language", "\"de\"");
        QTest::qWait(500);
        fixture().turnToOther();
        const auto end = Programs::ended(*kestrum);
        QCOMPARE(end.code, 0);
        QCOMPARE(end.errors.count("relaunch"), 0);
        QTest::qWait(1000);
        QVERIFY(fixture().settingsApplications().isEmpty());
    }

    void aWindowThatIsClosedStaysClosed()
    {
        open();
        fixture().write("language", "\"de\"");
        QTest::qWait(200);
        m_window->close();
        QVERIFY(m_window->hasEnded());
        QTest::qWait(1000);
        QVERIFY(fixture().settingsApplications().isEmpty());
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(RelaunchEndToEndTest)
#include "RelaunchEndToEndTest.moc"
