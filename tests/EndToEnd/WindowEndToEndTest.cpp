// The built program on a display of its own, used by real mouse and keyboard events. The test checks its pixels and settings
// from outside.

#include "Platform/Bundle/PropertyList.h"
#include "Platform/Files/Superuser.h"
#include "tests/Support/DesktopTest.h"
#include "tests/Support/OpenedWindow.h"
#include "tests/Support/SeenTimes.h"

#include <QCursor>
#include <QScopeGuard>

using namespace kestrum;

using Programs::patience;

class WindowEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<OpenedWindow> m_window;

    void waitForOrder(const QByteArray& json) const
    {
        QTRY_COMPARE_WITH_TIMEOUT(fixture().read("menuBarOrder"), json, patience);
    }

private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        // The agent is off, because these tests concern only the window.
        fixture().write("agentEnabled", "false");
        fixture().turnToOther();
        m_window = std::make_unique<OpenedWindow>(fixture());
        QVERIFY(!m_window->restingPreview().isNull());
    }

    void cleanup() { m_window.reset(); }

    void aDragIsStoredAndHeardOfOnce()
    {
        const auto listener = fixture().listener("settings");
        const QPoint cpu = m_window->item("cpu");
        m_window->drag(cpu, cpu - QPoint(300, 0));
        waitForOrder("\"cpu,storage,sensors,memory\"");
        QTest::qWait(500);
        QCOMPARE(listener->readAllStandardOutput(), QByteArray("settings\n"));
        Programs::end(*listener);
    }

    void aHiddenSectionKeepsItsSlot()
    {
        const QImage before = m_window->preview();
        fixture().write("showSensorsItem", "false");
        QTRY_VERIFY_WITH_TIMEOUT(m_window->preview() != before, patience);
        const QPoint cpu = m_window->item("cpu");
        m_window->drag(cpu, cpu - QPoint(300, 0));
        waitForOrder("\"cpu,sensors,storage,memory\"");
    }

    void theFirstClickInAnInactiveWindowStartsADrag()
    {
        fixture().turnToOther();
        const QPoint storage = m_window->item("storage");
        m_window->drag(storage, storage + QPoint(400, 0));
        waitForOrder("\"sensors,memory,cpu,storage\"");
    }

    void aSettingWrittenInAShellIsSeenWithin100Milliseconds()
    {
        SeenTimes times;
        for (int round = 0; round < 6; ++round) {
            times.note(fixture(), text("showMemoryItem"), round % 2 ? text("true") : text("false"),
                [this] { return m_window->preview(); });
            QVERIFY(!m_window->restingPreview().isNull());
        }
        qInfo("%s", qPrintable(times.report()));
        QVERIFY(Programs::areSanitized || times.afterBegin() < 100);
    }

    void theWindowOpensInTheMiddleOfTheScreen()
    {
        QCOMPARE(DesktopFixture::geometry(m_window->id()).size(), QSize(640, 520));
        m_window->moveTo({ 320, 260 });
        const QPoint off = QCursor::pos() - QGuiApplication::primaryScreen()->availableGeometry().center();
        // The window manager centres the window together with the title bar above it.
        QVERIFY2(std::abs(off.x()) <= 4 && off.y() >= -4 && off.y() <= 30,
            qPrintable(text("%1,%2").arg(off.x()).arg(off.y())));
    }

    void theChosenLanguageIsAppliedAtTheStartAndWhenItChanges()
    {
        // A process finds its language outdated only if it recorded the language at its start.
        fixture().write("language", "\"de\"");
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::toolkitLanguage(), text("de"), patience);
        m_window.reset();
        QVERIFY(QFile::remove(DesktopFixture::processDomain()));
        const auto again = Programs::run(fixture().program("Kestrum"), words("--first-frame"));
        QCOMPARE(again.code, 0);
        QCOMPARE(again.output, QByteArray("painted\n"));
        QCOMPARE(DesktopFixture::toolkitLanguage(), text("de"));
    }

    void aHugeTableOfTextsDoesNotHoldUpTheStart_data()
    {
        QTest::addColumn<QByteArray>("heading");
        QTest::addColumn<qsizetype>("length");
        // One text has the maximum size of a table and no place for a line break.
        QTest::newRow("one text") << QByteArray("Menu Bar") << qsizetype(900'000);
        QTest::newRow("all texts as long as they may be") << QByteArray() << PropertyList::maximumTextLength;
    }
    void aHugeTableOfTextsDoesNotHoldUpTheStart()
    {
        QFETCH(const QByteArray, heading);
        QFETCH(const qsizetype, length);
        m_window.reset();
        const QString table = fixture().bundle() + text("/Contents/Resources/de.lproj/Localizable.strings");
        const QByteArray before = contentOf(table);
        QByteArray huge;
        for (const QString& key : PropertyList::parsed(before)->keys()) {
            if (heading.isEmpty() || key == QString::fromUtf8(heading))
                huge += "\"" + key.toUtf8() + "\" = \"" + QByteArray(length, 'W') + "\";\n";
        }
        const auto restore = qScopeGuard([&] { write(table, before); });
        write(table, huge);
        fixture().write("language", "\"de\"");
        const auto start
            = Programs::run(fixture().program("Kestrum"), words("-platform offscreen --first-frame"));
        QCOMPARE(start.output, QByteArray("painted\n"));
    }

    void argumentsThatMeanNothingAreNamed_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("named");
        QTest::newRow("a file") << words("file.txt") << QByteArray("file.txt");
        QTest::newRow("an address") << words("kestrum://page") << QByteArray("kestrum://page");
        QTest::newRow("a second word") << words("-KestrumNoLoginItem word") << QByteArray("word");
        QTest::newRow("behind a value") << words("-platform offscreen word") << QByteArray("word");
        QTest::newRow("an option") << words("--wrong") << QByteArray("--wrong");
    }
    void argumentsThatMeanNothingAreNamed()
    {
        QFETCH(const QStringList, arguments);
        QFETCH(const QByteArray, named);
        const auto wrong = Programs::run(fixture().program("Kestrum"), arguments);
        QCOMPARE(wrong.code, 2);
        QVERIFY2(wrong.errors.split('\n').first().contains(named), wrong.errors.constData());
        QVERIFY_CONTAINS(wrong.errors, "Usage: Kestrum");
    }

    void theToolkitsOptionsAreLeftToIt()
    {
        const auto run
            = Programs::run(fixture().program("Kestrum"), words("-platform offscreen --first-frame"));
        QCOMPARE(run.code, 0);
    }

    void asRootItSaysSoOnce()
    {
        m_window->close();
        const QByteArray said = Programs::ended(m_window->application()).errors;
        QCOMPARE(said.count("running as root"), isSuperuser() ? 1 : 0);
        QCOMPARE(said.count('\n'), isSuperuser() ? 1 : 0);
    }

    void theKeyboardChoosesPagesAndEndsTheProgram()
    {
        m_window->press("ctrl+3");
        QTRY_COMPARE_WITH_TIMEOUT(fixture().read("settingsPane"), QByteArray("\"general\""), patience);
        m_window->close();
        QCOMPARE(Programs::ended(m_window->application()).code, 0);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(WindowEndToEndTest)
#include "WindowEndToEndTest.moc"
