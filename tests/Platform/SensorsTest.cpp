#include "tests/Support/FileContent.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTest>

using namespace kestrum;

namespace {

/// The program that reads sensors, run on a recorded machine of tests/machines. libsensors reads only "/sys", so umockdev
/// replaces that folder for the program. The destructor ends the program, by force after 5 s.
class Machine {
public:
    explicit Machine(const char* name)
    {
        // AddressSanitizer's library must be loaded first, but umockdev's library is loaded before it here.
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(
            QStringLiteral("ASAN_OPTIONS"), QStringLiteral("verify_asan_link_order=0:detect_leaks=0"));
        m_process.setProcessEnvironment(environment);
        m_process.start(QStringLiteral("umockdev-run"),
            { QStringLiteral("--device"),
                qEnvironmentVariable("KESTRUM_SOURCE")
                    + QStringLiteral("/tests/machines/%1.umockdev").arg(QLatin1StringView(name)),
                QStringLiteral("--"),
                qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/tests/SensorsProgram") });
        m_folder = QString::fromUtf8(line());
    }
    ~Machine()
    {
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(5000)) {
            m_process.kill();
            m_process.waitForFinished(5000);
        }
    }
    Q_DISABLE_COPY_MOVE(Machine)

    /// Returns the values in the order CPU, GPU, hottest, fan, with "-" for each absent value.
    QByteArray read(const QByteArray& wanted)
    {
        m_process.write(wanted + '\n');
        return line();
    }

    void write(const char* file, const QByteArray& content) const { kestrum::write(path(file), content); }
    void remove(const char* file) const { QVERIFY(QFile::remove(path(file))); }
    void rename(const char* file, const char* newName) const
    {
        QVERIFY(QFile::rename(path(file), path(newName)));
    }
    void link(const char* file, const char* target) const
    {
        QVERIFY(QFile::link(QLatin1StringView(target), path(file)));
    }

private:
    QString path(const char* file) const { return m_folder + u'/' + QLatin1StringView(file); }
    QByteArray line()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(20'000))
                return "no answer: " + m_process.readAllStandardError();
        }
        return m_process.readLine().trimmed();
    }

    QProcess m_process;
    QString m_folder;
};

constexpr const char* everything = "cpu gpu hottest fan";

} // namespace

class SensorsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void machines()
    {
        const std::pair<const char*, const char*> rows[] {
            // The CPU's value is the package's, not the hottest core's. A sleeping card and a starting fan are skipped.
            { "laptop-with-graphics", "55 - 61 2700" },
            // An AMD processor is measured at its die, and a graphics card at its edge. Unconnected inputs are ignored.
            { "amd-desktop", "47.5 52 88 1340" },
            { "small-board", "52.582 - 52.582 -" },
            { "server", "64 - 71 9800" },
            { "virtual", "- - - -" },
            { "hostile", "- - - -" },
        };
        for (const auto& [name, values] : rows) {
            Machine machine(name);
            for (int times = 0; times < 2; ++times)
                QCOMPARE_ROW(name, machine.read(everything), QByteArray(values));
        }
    }

    void onlyWhatIsWantedIsGiven()
    {
        Machine machine("amd-desktop");
        QCOMPARE(machine.read("cpu"), "47.5 - - -");
        QCOMPARE(machine.read("gpu"), "- 52 - -");
        QCOMPARE(machine.read("hottest"), "- - 88 -");
        QCOMPARE(machine.read("fan"), "- - - 1340");
        QCOMPARE(machine.read(""), "- - - -");
    }

    void aCardIsReadOnceItIsAwake()
    {
        Machine machine("laptop-with-graphics");
        QCOMPARE(machine.read(everything), "55 - 61 2700");
        const char* state = "sys/devices/pci0000:00/0000:00:01.0/0000:01:00.0/power/runtime_status";
        machine.write(state, "active\n");
        QCOMPARE(machine.read(everything), "55 99 99 4800");
        machine.write(state, "suspending\n");
        QCOMPARE(machine.read(everything), "55 - 61 2700");
    }

    void withoutADieTheControlValueStandsForIt()
    {
        Machine machine("amd-desktop");
        machine.remove("sys/devices/pci0000:00/0000:00:18.3/hwmon/hwmon1/temp2_input");
        QCOMPARE(machine.read("cpu"), "74.5 - - -");
    }

    void aSensorIsKnownByItsChipWhateverItsNumber()
    {
        Machine machine("laptop-with-graphics");
        QCOMPARE(machine.read("cpu"), "55 - - -");
        // The driver was loaded again with another number. Its old number now belongs to another chip.
        machine.remove("sys/class/hwmon/hwmon3");
        machine.remove("sys/class/hwmon/hwmon5");
        machine.rename(
            "sys/devices/platform/coretemp.0/hwmon/hwmon3", "sys/devices/platform/coretemp.0/hwmon/hwmon9");
        machine.link("sys/class/hwmon/hwmon9", "../../devices/platform/coretemp.0/hwmon/hwmon9");
        machine.link("sys/class/hwmon/hwmon3", "../../devices/platform/thinkpad_hwmon/hwmon/hwmon5");
        QCOMPARE(machine.read(everything), "55 - 61 2700");
    }

    void aSensorThatGoesIsAbsentAndComesBack()
    {
        Machine machine("small-board");
        const char* input = "sys/devices/virtual/thermal/thermal_zone0/hwmon0/temp1_input";
        QCOMPARE(machine.read(everything), "52.582 - 52.582 -");
        machine.remove(input);
        QCOMPARE(machine.read(everything), "- - - -");
        machine.write(input, "40000\n");
        QCOMPARE(machine.read(everything), "40 - 40 -");
    }

    void aFanThatStandsStillTurnsAtZero()
    {
        Machine machine("amd-desktop");
        machine.write("sys/devices/platform/nct6775.656/hwmon/hwmon2/fan1_input", "0\n");
        machine.write("sys/devices/pci0000:00/0000:03:00.0/hwmon/hwmon4/fan1_input", "0\n");
        QCOMPARE(machine.read("fan"), "- - - 0");
    }

    void aSensorThatSaysItIsFaultyIsNotBelieved()
    {
        Machine machine("server");
        machine.write("sys/devices/platform/coretemp.1/hwmon/hwmon1/temp1_fault", "1\n");
        QCOMPARE(machine.read(everything), "58 - 71 9800");
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SensorsTest)
#include "SensorsTest.moc"
