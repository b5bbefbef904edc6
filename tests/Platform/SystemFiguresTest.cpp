#include "Platform/Machine/SystemFigures.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using namespace std::chrono_literals;

class SystemFiguresTest : public QObject {
    Q_OBJECT
private:
    using Loads = std::array<double, 3>;
    void writeLoad(const QByteArray& content) const
    {
        m_tree->write(QStringLiteral("proc/loadavg"), content);
    }
    void writeUptime(const QByteArray& content) const
    {
        m_tree->write(QStringLiteral("proc/uptime"), content);
    }
    std::unique_ptr<FileTree> m_tree;

private Q_SLOTS:
    void init() { m_tree = std::make_unique<FileTree>(); }

    void figuresAreReadAnew()
    {
        writeLoad("5.24 3.96 2.71 4/1213 45789\n");
        writeUptime("273845.47 2709381.05\n");
        LoadAverage load(m_tree->root());
        Uptime uptime(m_tree->root());
        QVERIFY(load.read() == (Loads { 5.24, 3.96, 2.71 }));
        QVERIFY(uptime.read() == 273845s);
        writeLoad("0.00 1.00 200.50 1/9 45790\n");
        writeUptime("273846.99 2709382.05\n");
        QVERIFY(load.read() == (Loads { 0, 1, 200.5 }));
        QVERIFY(uptime.read() == 273846s);
    }

    void junkIsAbsent()
    {
        QVERIFY(!LoadAverage(m_tree->root()).read());
        QVERIFY(!Uptime(m_tree->root()).read());
        for (const char* junk : { "", "\n", "x", "-1", "nan", "inf", "1e300", "5.2.4" }) {
            writeLoad(junk);
            writeUptime(junk);
            QCOMPARE_ROW(junk, LoadAverage(m_tree->root()).read().has_value(), false);
            QCOMPARE_ROW(junk, Uptime(m_tree->root()).read().has_value(), false);
            writeLoad(QByteArray("5.24 3.96 ") + junk);
            QCOMPARE_ROW(junk, LoadAverage(m_tree->root()).read().has_value(), false);
        }
    }

    void thisMachineHasThem()
    {
        const auto load = LoadAverage().read();
        QVERIFY(load && (*load)[0] >= 0);
        QVERIFY(Uptime().read().value_or(0s) > 0s);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SystemFiguresTest)
#include "SystemFiguresTest.moc"
