#include "Platform/Machine/CPUFrequency.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class CPUFrequencyTest : public QObject {
    Q_OBJECT
private:
    void writePolicy(int number, const QByteArray& kilohertz) const
    {
        m_tree->write(policy(number) + QStringLiteral("/scaling_cur_freq"), kilohertz + '\n');
    }
    static QString policy(int number)
    {
        return QStringLiteral("sys/devices/system/cpu/cpufreq/policy%1").arg(number);
    }
    void writeCPUInfo(const QByteArray& content) const
    {
        m_tree->write(QStringLiteral("proc/cpuinfo"), content);
    }
    std::optional<double> read() const { return CPUFrequency(m_tree->root()).read(); }

    std::unique_ptr<FileTree> m_tree;
    const QByteArray m_cpuInfo = "processor\t: 0\nmodel name\t: Some CPU @ 3.00GHz\ncpu MHz\t\t: 2995.124\n\n"
                                 "processor\t: 1\ncpu MHz\t\t: 1200.000\n\n";

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void theFastestCoreCounts()
    {
        m_tree->write(QStringLiteral("sys/devices/system/cpu/cpufreq/boost"), "9999999\n");
        writePolicy(0, "800000");
        writePolicy(4, "3420000");
        writePolicy(12, "1100000");
        writeCPUInfo(m_cpuInfo);
        CPUFrequency frequency(m_tree->root());
        QCOMPARE(frequency.read(), std::optional(3.42e9));
        writePolicy(12, "4100000");
        QCOMPARE(frequency.read(), std::optional(4.1e9));
    }

    void withoutPoliciesTheKernelsTableCounts()
    {
        QCOMPARE(read(), std::nullopt);
        writeCPUInfo(m_cpuInfo);
        QCOMPARE(read(), std::optional(2995.124e6));
        writePolicy(0, "<unknown>");
        QCOMPARE(read(), std::optional(2995.124e6));
    }

    void policiesComeAndGo()
    {
        writePolicy(0, "800000");
        CPUFrequency frequency(m_tree->root());
        QCOMPARE(frequency.read(), std::optional(8e8));
        QVERIFY(QDir(m_tree->path(policy(0))).removeRecursively());
        std::optional<double> hertz = frequency.read();
        QCOMPARE(hertz, std::nullopt);
        writePolicy(1, "900000");
        for (int times = 0; !hertz && times <= KernelFile::longestPause; ++times)
            hertz = frequency.read();
        QCOMPARE(hertz, std::optional(9e8));
    }

    // A machine can have hundreds of policies, and a process a thousand descriptors.
    void noPolicyStaysOpen()
    {
        writePolicy(0, "800000");
        writePolicy(1, "900000");
        CPUFrequency frequency(m_tree->root());
        QCOMPARE(frequency.read(), std::optional(9e8));
        for (const QFileInfo& file :
            QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::Files | QDir::System))
            QVERIFY2(!file.symLinkTarget().startsWith(m_tree->root()), qPrintable(file.symLinkTarget()));
    }

    void junkIsAbsent()
    {
        for (const char* junk :
            { "", "0", "-800000", "fast", "nan", "inf", "1e308", "99999999999999999999" }) {
            init();
            writePolicy(0, junk);
            writeCPUInfo(QByteArray("cpu MHz\t\t: ") + junk + "\n: \n\n::\ncpu MHz");
            QCOMPARE_ROW(junk, read(), std::nullopt);
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, CPUFrequencyTest)
#include "CPUFrequencyTest.moc"
