#include "Platform/Machine/TopApps.h"
#include "tests/Support/ControlGroupOfTest.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <algorithm>
#include <fcntl.h>
#include <memory>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

using namespace kestrum;

// Loads whose processor time the kernel knows, measured by samples like those of a popover.
class AppLoadTest : public QObject {
    Q_OBJECT
private:
    // Between two samples, in ms.
    static constexpr int interval = 250;

    // Adds up what all apps used.
    class Meter {
    public:
        Meter() { sample(); }

        void sample()
        {
            const auto now = std::chrono::steady_clock::now().time_since_epoch();
            const auto apps = m_apps.sample(
                TopApps::Column::cpu, { QStringLiteral("en"), QStringLiteral("Container") }, now);
            const double seconds = std::chrono::duration<double>(now - m_last).count();
            m_last = now;
            for (const AppUse& app : apps.value_or(QList<AppUse>()))
                m_seconds[app.id] += app.cores * seconds;
        }
        /// The processor time in seconds since the first sample.
        double seconds(const QString& id) const { return m_seconds.value(id); }
        const QMap<QString, double>& all() const { return m_seconds; }

    private:
        TopApps m_apps { {}, QStringList() };
        std::chrono::nanoseconds m_last {};
        QMap<QString, double> m_seconds;
    };

    // One load, in a group of its own or, where that is not possible, as a program of its own name.
    class Load {
    public:
        Load(int life, int jobs, const QString& folder)
            : m_name(QStringLiteral("kestrumload%1").arg(life))
            , m_group(QStringLiteral("app-%1-%2.scope").arg(m_name).arg(::getpid()))
        {
            const QString program = folder + u'/' + m_name;
            QVERIFY(QFile::copy(
                QCoreApplication::applicationDirPath() + QStringLiteral("/LoadProgram"), program));
            QStringList arguments { QString::number(life), QString::number(jobs), QString::number(total) };
            if (m_group.isMade())
                arguments.append(m_group.processFile());
            m_process.start(program, arguments);
            QCOMPARE(line(), "ready");
            m_timeBefore = m_group.time();
        }
        ~Load()
        {
            m_process.closeWriteChannel();
            if (!m_process.waitForFinished(Programs::patience))
                m_process.kill();
        }
        void begin()
        {
            m_process.write("\n");
            m_process.waitForBytesWritten(Programs::patience);
        }
        /// Whether all its children have ended. Then `expected` is known.
        bool hasEnded()
        {
            if (m_children.isEmpty() && (m_process.canReadLine() || m_process.waitForReadyRead(0)))
                m_children = m_process.readLine().trimmed();
            return !m_children.isEmpty();
        }
        /// What the kernel counted, in seconds.
        double expected() const
        {
            return double(m_group.isMade() ? m_group.time() - m_timeBefore : m_children.toLongLong()) / 1e6;
        }
        bool hasGroup() const { return m_group.isMade(); }
        QString id() const
        {
            return (hasGroup() ? QStringLiteral("app/") : QStringLiteral("program/")) + m_name;
        }

    private:
        // In ms. The kernel tells times in hundredths of a second, so it must be many of these.
        static constexpr int total = 1200;

        QByteArray line()
        {
            while (!m_process.canReadLine() && m_process.waitForReadyRead(Programs::patience)) { }
            return m_process.readLine().trimmed();
        }

        QString m_name;
        ControlGroupOfTest m_group;
        QProcess m_process;
        qint64 m_timeBefore = 0;
        QByteArray m_children;
    };

private Q_SLOTS:
    void processorTimeOfShortLivedProcessesIsFound()
    {
        // From a fiftieth of an interval to three intervals.
        const QTemporaryDir folder;
        std::vector<std::unique_ptr<Load>> loads;
        for (const auto& [life, jobs] :
            { std::pair(5, 2), std::pair(25, 2), std::pair(125, 2), std::pair(750, 1) })
            loads.push_back(std::make_unique<Load>(life, jobs, folder.path()));
        if (!loads.front()->hasGroup())
            qInfo("no control groups can be made here: compared with the kernel's times of the children");
        Meter meter;
        for (const auto& load : loads)
            load->begin();
        QElapsedTimer timer;
        timer.start();
        const auto haveEnded = [&loads] {
            return std::all_of(loads.begin(), loads.end(), [](const auto& load) { return load->hasEnded(); });
        };
        int samples = 0;
        for (; !haveEnded() && timer.elapsed() < Programs::patience; ++samples) {
            QThread::msleep(interval);
            meter.sample();
        }
        meter.sample();
        QVERIFY(samples > 3);
        for (const auto& load : loads) {
            const double expected = load->expected();
            const double found = meter.seconds(load->id());
            qInfo("%s: %.3f s of %.3f s", qPrintable(load->id()), found, expected);
            QVERIFY(expected > 1.0);
            QVERIFY2(std::abs(found - expected) < 0.03 * expected, qPrintable(load->id()));
        }
    }

    void buildThatIsTypedInATerminalIsOneApp_data()
    {
        QTest::addColumn<QString>("builder");
        QTest::newRow("make") << QStringLiteral("make");
        QTest::newRow("ninja") << QStringLiteral("ninja");
    }
    void buildThatIsTypedInATerminalIsOneApp()
    {
        QFETCH(QString, builder);
        const FileTree tree;
        tree.write(QStringLiteral("a.cpp"), "#include <string>\n");
        tree.write(QStringLiteral("Makefile"), "all: a b c d\na b c d:\n\tc++ -c a.cpp -o $@\n");
        tree.write(QStringLiteral("build.ninja"),
            "rule cc\n  command = c++ -c a.cpp -o $out\nbuild a: cc\nbuild b: cc\nbuild c: cc\nbuild d: "
            "cc\n");
        int terminal = -1;
        const pid_t shell = ::forkpty(&terminal, nullptr, nullptr, nullptr);
        if (shell == 0) {
            if (::chdir(QFile::encodeName(tree.root()).constData()) == 0)
                ::execlp("bash", "bash", "--norc", "--noprofile", "-i", nullptr);
            ::_exit(127);
        }
        QVERIFY(shell > 0);
        const auto type = [terminal](const QByteArray& line) {
            QCOMPARE(::write(terminal, line.constData(), size_t(line.size())), line.size());
        };
        // What the programs print must be read, or they would wait.
        ::fcntl(terminal, F_SETFL, O_NONBLOCK);
        QByteArray output;
        const auto readOutput = [&output, terminal] {
            char buffer[4096];
            for (ssize_t size = 0; (size = ::read(terminal, buffer, sizeof buffer)) > 0;)
                output.append(buffer, size);
        };
        QTRY_VERIFY_WITH_TIMEOUT(
            (readOutput(), output.contains('$') || output.contains('#')), Programs::patience);

        Meter meter;
        type(builder.toUtf8() + " -j2; : > finished\n");
        QElapsedTimer timer;
        timer.start();
        while (
            !QFile::exists(tree.path(QStringLiteral("finished"))) && timer.elapsed() < Programs::patience) {
            QThread::msleep(50);
            meter.sample();
            readOutput();
        }
        meter.sample();
        type("exit\n");
        rusage usage {};
        int status = 0;
        pid_t ended = 0;
        QTRY_VERIFY_WITH_TIMEOUT(
            (readOutput(), ended = ::wait4(shell, &status, WNOHANG, &usage)) != 0, Programs::patience);
        ::close(terminal);
        QVERIFY2(QFile::exists(tree.path(QStringLiteral("d"))), output.constData());

        const double expected = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
            + double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
        const double built = meter.seconds(QStringLiteral("program/") + builder);
        const double typed = meter.seconds(QStringLiteral("program/bash"));
        qInfo("%s %.3f s, bash %.3f s of %.3f s", qPrintable(builder), built, typed, expected);
        // When a job ends, the shell waits for it, and gets what the job used since the last sample.
        QVERIFY(built > 0.4 * expected);
        QVERIFY(std::abs(built + typed - expected) < 0.05 * expected + 0.03);
        for (const QString& id : meter.all().keys())
            QVERIFY2(
                !id.contains(QLatin1String("cc1")) && !id.contains(QLatin1String("c++")), qPrintable(id));
    }
};

KESTRUM_TEST_MAIN_APART(QCoreApplication, AppLoadTest)
#include "AppLoadTest.moc"
