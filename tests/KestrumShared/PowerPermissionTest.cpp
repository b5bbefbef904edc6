#include "Platform/Bundle/Bundle.h"
#include "tests/Support/DescribedPanel.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrum;

class PowerPermissionTest : public QObject {
    Q_OBJECT

    const QString m_bundle = qEnvironmentVariable("KESTRUM_BUILD") + text("/Kestrum.app");

    static QString command()
    {
        PopoverState state;
        state.explainsPower = true;
        return DescribedPanel(MonitorSection::cpu, SamplePopoverReadings::poor(), state).lines().last();
    }
    /// What a shell makes of the path in the command.
    static QString pathInCommand()
    {
        const QString line = command();
        const QString begin = text("sudo install -m 644 ");
        const QString end = text(" /etc/tmpfiles.d/ && sudo systemd-tmpfiles --create kestrum-powercap.conf");
        if (!line.startsWith(begin) || !line.endsWith(end))
            return text("odd command: ") + line;
        QProcess shell;
        shell.start(text("sh"),
            { text("-c"),
                text("printf %s ") + line.mid(begin.size(), line.size() - begin.size() - end.size()) });
        return shell.waitForFinished(5000) ? QString::fromUtf8(shell.readAllStandardOutput())
                                           : text("no shell");
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }
    void init() { forgetSettings(); }
    void cleanup() { Bundle::setMain(Bundle(QDir::tempPath() + text("/no-bundle"))); }

    void theNamedFileIsInTheBundle()
    {
        for (const char* inner : { "", "/Contents/Library/LoginItems/KestrumAgent.app" }) {
            Bundle::setMain(Bundle(m_bundle + text(inner)));
            QCOMPARE(pathInCommand(),
                QFileInfo(m_bundle).canonicalFilePath() + text("/Contents/Resources/kestrum-powercap.conf"));
            QVERIFY(QFile::exists(pathInCommand()));
        }
    }

    void aPathThatShellsWouldTakeApartIsQuoted()
    {
        const QTemporaryDir folder;
        const QString bundle = folder.path() + text("/My \"apps\" & Ana's $HOME/K.app");
        QVERIFY(QDir().mkpath(bundle + text("/Contents/Resources")));
        const QString rule = bundle + text("/Contents/Resources/kestrum-powercap.conf");
        write(rule, "");
        Bundle::setMain(Bundle(bundle));
        QCOMPARE(pathInCommand(), QFileInfo(rule).canonicalFilePath());
    }

    void theRuleLetsEverybodyReadTheCounters()
    {
        const QString rule = m_bundle + text("/Contents/Resources/kestrum-powercap.conf");
        const QTemporaryDir folder;
        const QString package = folder.path() + text("/sys/class/powercap/intel-rapl:0");
        QVERIFY(QDir().mkpath(package));
        const QString counter = package + text("/energy_uj");
        write(counter, "1\n");
        QVERIFY(QFile::setPermissions(counter, QFileDevice::ReadOwner));
        const QString program = QStandardPaths::findExecutable(text("systemd-tmpfiles"));
        if (program.isEmpty())
            QSKIP("without systemd-tmpfiles, nothing can tell whether it accepts the rule");
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(program, { text("--create"), text("--root=") + folder.path(), rule });
        QVERIFY(process.waitForFinished(10'000));
        const QByteArray output = process.readAll();
        QVERIFY2(process.exitCode() == 0 && output.isEmpty(), output.constData());
        constexpr auto everybody = QFileDevice::ReadOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther;
        QCOMPARE(QFile::permissions(counter) & everybody, everybody);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PowerPermissionTest)
#include "PowerPermissionTest.moc"
