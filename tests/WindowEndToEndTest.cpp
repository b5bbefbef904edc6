// The built program on a display of its own, worked by real mouse and keyboard events and watched from outside, as a
// person and the agent would.

#include "tests/Programs.h"
#include "tests/TestHome.h"
#include "tests/VirtualDisplay.h"

#include <QCursor>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPixmap>
#include <QProcess>
#include <QRasterWindow>
#include <QScreen>
#include <QTest>
#include <algorithm>
#include <cmath>
#include <memory>

using namespace kestrum;

namespace {

QString bundled(const char* program)
{
    return qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app/Contents/MacOS/")
        + QString::fromLatin1(program);
}

QByteArray kestrumctl(const QStringList& arguments)
{
    return Programs::output(bundled("kestrumctl"), arguments);
}

} // namespace

class WindowEndToEndTest : public QObject {
    Q_OBJECT

    std::unique_ptr<QProcess> m_windowManager;
    std::unique_ptr<QProcess> m_kestrum;
    QByteArray m_window;

    // All places are the window's own. Where the window, 640 wide, has the strip: the trailing end of its items and their middle.
    static constexpr int stripRight = 640 - 16 - 30;
    static constexpr int stripMiddle = 16 + 30 + 11;

    /// The middle of a section's item.
    QPoint place(const QString& section) const
    {
        const QJsonObject strip
            = QJsonDocument::fromJson(kestrumctl({ QStringLiteral("describe") })).object();
        const double left = stripRight - std::ceil(strip[QLatin1StringView("width")].toDouble());
        const QJsonArray items = strip[QLatin1StringView("items")].toArray();
        for (const auto& item : items) {
            const QJsonObject object = item.toObject();
            if (object[QLatin1StringView("section")].toString() == section)
                return QPoint(int(left + object[QLatin1StringView("x")].toDouble()
                                  + object[QLatin1StringView("width")].toDouble() / 2),
                    stripMiddle);
        }
        return {};
    }

    void moveTo(QPoint place) const
    {
        VirtualDisplay::xdotool({ QStringLiteral("mousemove"), QStringLiteral("--window"),
            QString::fromLatin1(m_window), QString::number(place.x()), QString::number(place.y()) });
    }

    void drag(QPoint from, QPoint to)
    {
        moveTo(from);
        VirtualDisplay::xdotool({ QStringLiteral("mousedown"), QStringLiteral("1") });
        moveTo({ (from.x() + to.x()) / 2, from.y() });
        moveTo(to);
        VirtualDisplay::xdotool({ QStringLiteral("mouseup"), QStringLiteral("1") });
    }

    static QByteArray order()
    {
        return kestrumctl({ QStringLiteral("read"), QStringLiteral("menuBarOrder") });
    }

    static void write(const QString& key, const QString& json)
    {
        kestrumctl({ QStringLiteral("write"), key, json });
    }

    /// The settings of the program for itself.
    static QString processDomain()
    {
        return TestHome::configDirectory() + QStringLiteral("/com.orvale.kestrum.json");
    }

    /// The language that the toolkit's own texts are asked for.
    static QString firstProcessLanguage()
    {
        QFile file(processDomain());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        const QJsonObject domain = QJsonDocument::fromJson(file.readAll()).object();
        return domain[QLatin1StringView("AppleLanguages")].toArray().first().toString();
    }

    QImage preview() const
    {
        return QGuiApplication::primaryScreen()
            ->grabWindow(m_window.toULongLong(), 225, 30, 390, 54)
            .toImage();
    }

    /// Until the preview shows something and has come to rest.
    void waitForRest()
    {
        QImage last;
        int equal = 0;
        for (int i = 0; i < 100 && equal < 3; ++i) {
            QTest::qWait(30);
            const QImage now = preview();
            equal = now == last && now.pixelColor(1, 1) == QColor(222, 222, 222) ? equal + 1 : 0;
            last = now;
        }
        QVERIFY(equal >= 3);
    }

    void startKestrum()
    {
        m_kestrum = Programs::started(bundled("Kestrum"), {});
        for (int i = 0; i < 100 && m_window.isEmpty(); ++i) {
            QTest::qWait(30);
            QProcess search;
            search.start(QStringLiteral("xdotool"),
                { QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--pid"),
                    QString::number(m_kestrum->processId()), QStringLiteral("--name"),
                    QStringLiteral("^Kestrum$") });
            search.waitForFinished(5000);
            m_window = search.readAllStandardOutput().trimmed().split('\n').first();
        }
        QVERIFY(!m_window.isEmpty());
        for (int i = 0; i < 100 && VirtualDisplay::xdotool({ QStringLiteral("getactivewindow") }) != m_window;
             ++i)
            QTest::qWait(30);
        QCOMPARE(VirtualDisplay::xdotool({ QStringLiteral("getactivewindow") }), m_window);
        waitForRest();
    }

private Q_SLOTS:
    void initTestCase()
    {
        // This is about the window alone.
        write(QStringLiteral("agentEnabled"), QStringLiteral("false"));
        m_windowManager = Programs::started(QStringLiteral("openbox"), {});
        QVERIFY(m_windowManager->state() == QProcess::Running);
        // A window that is there before the window manager would never be given the focus.
        QTRY_VERIFY_WITH_TIMEOUT(Programs::output(QStringLiteral("xprop"),
                                     { QStringLiteral("-root"), QStringLiteral("_NET_SUPPORTING_WM_CHECK") })
                                     .contains("window id"),
            20000);
    }

    void cleanupTestCase() { Programs::end(*m_windowManager); }

    void init()
    {
        m_window.clear();
        for (const char* key :
            { "menuBarOrder", "showSensorsItem", "showMemoryItem", "settingsPane", "language" }) {
            if (kestrumctl({ QStringLiteral("read"), QStringLiteral("--stored") }).contains(key))
                kestrumctl({ QStringLiteral("delete"), QString::fromLatin1(key) });
        }
        startKestrum();
    }

    void cleanup()
    {
        if (m_kestrum)
            Programs::end(*m_kestrum);
        m_kestrum.reset();
    }

    void aDragIsStoredAndHeardOfOnce()
    {
        const auto listener = Programs::started(bundled("kestrumctl"),
            { QStringLiteral("listen"), QStringLiteral("settings"), QStringLiteral("--timeout"),
                QStringLiteral("20") });
        listener->setReadChannel(QProcess::StandardError);
        QVERIFY(listener->waitForReadyRead(10000));
        QCOMPARE(listener->readAllStandardError().trimmed(), QByteArray("listening"));
        const QPoint cpu = place(QStringLiteral("cpu"));
        drag(cpu, cpu - QPoint(300, 0));
        QTRY_COMPARE(order(), QByteArray("\"cpu,storage,sensors,memory\""));
        QTest::qWait(500);
        const QList<QByteArray> lines = listener->readAllStandardOutput().trimmed().split('\n');
        Programs::end(*listener);
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().contains("settings"), lines.first().constData());
    }

    void aHiddenSectionKeepsItsSlot()
    {
        write(QStringLiteral("showSensorsItem"), QStringLiteral("false"));
        waitForRest();
        const QPoint cpu = place(QStringLiteral("cpu"));
        drag(cpu, cpu - QPoint(300, 0));
        QTRY_COMPARE(order(), QByteArray("\"cpu,sensors,storage,memory\""));
    }

    void theFirstClickInAnInactiveWindowStartsADrag()
    {
        QRasterWindow other;
        other.setGeometry(0, 0, 100, 60);
        other.show();
        other.requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QVERIFY(VirtualDisplay::xdotool({ QStringLiteral("getactivewindow") }) != m_window);
        const QPoint storage = place(QStringLiteral("storage"));
        drag(storage, storage + QPoint(400, 0));
        QTRY_COMPARE(order(), QByteArray("\"sensors,memory,cpu,storage\""));
    }

    void aSettingWrittenInAShellIsSeenWithin100Milliseconds()
    {
        QList<double> fromStart;
        QList<double> fromEnd;
        for (int round = 0; round < 6; ++round) {
            const QImage before = preview();
            QElapsedTimer clock;
            clock.start();
            QProcess writer;
            writer.start(bundled("kestrumctl"),
                { QStringLiteral("write"), QStringLiteral("showMemoryItem"),
                    round % 2 ? QStringLiteral("true") : QStringLiteral("false") });
            QVERIFY(writer.waitForFinished(10000));
            const double written = double(clock.nsecsElapsed()) / 1e6;
            QCOMPARE(writer.exitCode(), 0);
            while (preview() == before && clock.elapsed() < 5000) { }
            const double seen = double(clock.nsecsElapsed()) / 1e6;
            fromStart.append(seen);
            fromEnd.append(seen - written);
            waitForRest();
        }
        std::sort(fromStart.begin(), fromStart.end());
        std::sort(fromEnd.begin(), fromEnd.end());
        const auto middle = fromStart.size() / 2;
        qInfo("redrawn %.1f ms after the command began, %.1f ms after it ended (medians of %d)",
            fromStart[middle], fromEnd[middle], int(fromStart.size()));
        QVERIFY(fromStart[middle] < 100);
    }

    void theWindowOpensInTheMiddleOfTheScreen()
    {
        const QList<QByteArray> geometry = VirtualDisplay::xdotool(
            { QStringLiteral("getwindowgeometry"), QStringLiteral("--shell"), QString::fromLatin1(m_window) })
                                               .split('\n');
        QVERIFY(geometry.contains("WIDTH=640"));
        QVERIFY(geometry.contains("HEIGHT=520"));
        moveTo({ 320, 260 });
        const QPoint off = QCursor::pos() - QGuiApplication::primaryScreen()->availableGeometry().center();
        // The title bar goes on top of it.
        QVERIFY2(std::abs(off.x()) <= 4 && off.y() >= -4 && off.y() <= 30,
            qPrintable(QStringLiteral("%1,%2").arg(off.x()).arg(off.y())));
    }

    void theChosenLanguageIsAppliedAtTheStartAndWhenItChanges()
    {
        // A change is stale only for a process that recorded what it was started with.
        write(QStringLiteral("language"), QStringLiteral("\"de\""));
        QTRY_COMPARE(firstProcessLanguage(), QStringLiteral("de"));
        Programs::end(*m_kestrum);
        QVERIFY(QFile::remove(processDomain()));
        const auto again = Programs::started(bundled("Kestrum"), { QStringLiteral("--first-frame") });
        QVERIFY(again->waitForFinished(10000));
        QCOMPARE(again->exitCode(), 0);
        QCOMPARE(firstProcessLanguage(), QStringLiteral("de"));
    }

    void theKeyboardChoosesPagesAndEndsTheProgram()
    {
        VirtualDisplay::xdotool({ QStringLiteral("key"), QStringLiteral("ctrl+3") });
        QTRY_COMPARE(kestrumctl({ QStringLiteral("read"), QStringLiteral("settingsPane") }),
            QByteArray("\"general\""));
        VirtualDisplay::xdotool({ QStringLiteral("key"), QStringLiteral("ctrl+w") });
        QVERIFY(m_kestrum->waitForFinished(5000));
        QCOMPARE(m_kestrum->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_kestrum->exitCode(), 0);
    }
};

int main(int argc, char** argv)
{
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    QGuiApplication application(argc, argv);
    WindowEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "WindowEndToEndTest.moc"
