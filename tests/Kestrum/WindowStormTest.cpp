#include "tests/Support/HelperProcess.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/Programs.h"
#include "tests/Support/RandomWrites.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

#include <fstream>
#include <unistd.h>

using namespace kestrum;

/// A window that stays open while another process writes random settings.
class WindowStormTest : public QObject {
    Q_OBJECT

    static constexpr int writesPerSecond = 50;
    static constexpr double mebibyte = 1024.0 * 1024.0;

    /// The duration of the storm: KESTRUM_STORM_SECONDS, or else 10 s. A long storm also needs a larger QTEST_FUNCTION_TIMEOUT.
    static int seconds()
    {
        bool isNumber = false;
        const int wanted = qEnvironmentVariableIntValue("KESTRUM_STORM_SECONDS", &isNumber);
        return isNumber ? wanted : 10;
    }

    /// Without pages of files, such as fonts, which come as they are read.
    static double residentMebibytes()
    {
        std::ifstream file("/proc/self/statm");
        long whole = 0;
        long resident = 0;
        long ofFiles = 0;
        file >> whole >> resident >> ofFiles;
        return double(resident - ofFiles) * double(::sysconf(_SC_PAGESIZE)) / mebibyte;
    }

    static inline QStringList messages;

    static void keepMessage(QtMsgType, const QMessageLogContext&, const QString& message)
    {
        messages.append(message);
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

    void theWindowStaysRightSmallAndSilent()
    {
        SettingsWindow window;
        const QtMessageHandler usual = qInstallMessageHandler(keepMessage);
        RandomWrites writes(20);
        // The writer rests for half of the time, so it can keep up.
        const QString rest = QString::number(1000 / writesPerSecond / 2);
        HelperProcess writer({ QStringLiteral("store"), SharedSettings::suiteName(), rest });
        const auto storm = [&](int duration) {
            for (int second = 0; second < duration; ++second) {
                for (int i = 0; i < writesPerSecond; ++i)
                    writer.say(writes.line());
                QTest::qWait(1000);
            }
        };
        // The first half creates everything that is created only once: pages, languages, fonts, swatches.
        storm(seconds() / 2);
        const double before = residentMebibytes();
        storm(seconds() - seconds() / 2);
        const double after = residentMebibytes();

        // The test itself sends the last lines, which show when the writer has finished.
        writer.say("settingsPane [\"general\"]");
        writer.say("theStormIsOver [true]");
        QTRY_VERIFY_WITH_TIMEOUT(
            SharedSettings::store().storedDictionary().contains(QStringLiteral("theStormIsOver")), 30'000);
        QTRY_COMPARE(window.view.page(), SettingsPage::general);
        // The window reads the agent's values only when the agent posts the signal.
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTest::qWait(200);
        qInstallMessageHandler(usual);

        messages.sort();
        qInfo("%.1f MiB more, %d lines in the log", after - before, int(messages.size()));
        QCOMPARE(messages.removeDuplicates(), 0);
        if (!Programs::areSanitized) // the sanitizer keeps freed memory
            QVERIFY2(after - before < 4, qPrintable(QString::number(after - before)));

        // The open window shows the same as a window that is opened now.
        SettingsWindow fresh;
        fresh.view.setFocus();
        for (const auto& page : allCases<SettingsPage>()) {
            const QImage shown = picture(window.view, page.value);
            const QImage expected = picture(fresh.view, page.value);
            if (shown != expected) {
                const QString kept = qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/storm-%1.png");
                shown.save(kept.arg(QStringLiteral("shown")));
                expected.save(kept.arg(QStringLiteral("expected")));
            }
            QVERIFY2(shown == expected, page.rawValue);
        }
    }

private:
    static QImage picture(SettingsView& view, SettingsPage page)
    {
        activate(view);
        view.showPage(page);
        view.setFocus();
        // The pointer is moved to a place where hovering marks nothing.
        QTest::mouseMove(view.findChild<Sidebar*>());
        QTest::qWait(200); // until all animations have finished
        return view.grab().toImage();
    }
};

// An agent of another test would change the row of one window and not of the other.
KESTRUM_TEST_MAIN_APART(QApplication, WindowStormTest)
#include "WindowStormTest.moc"
