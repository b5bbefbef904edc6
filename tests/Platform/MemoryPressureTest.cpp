#include "Platform/Machine/MemoryPressure.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class MemoryPressureTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void theShareOfTheLastTenSeconds_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<double>("pressure");
        const QByteArray full = "full avg10=88.00 avg60=0.87 avg300=0.21 total=1234567\n";
        QTest::newRow("some") << "some avg10=1.53 avg60=0.87 avg300=0.21 total=1234567\n" + full << 0.0153;
        QTest::newRow("none") << "some avg10=0.00 avg60=0.87 avg300=0.21 total=1234567\n" + full << 0.0;
        QTest::newRow("all") << "some avg10=100.00 avg60=0.87 avg300=0.21 total=1234567\n" + full << 1.0;
        QTest::newRow("beyond") << "some avg10=250.00 avg60=0.87 avg300=0.21 total=1234567\n" + full << 1.0;
        QTest::newRow("second line") << full + "some avg10=12.34 avg60=0.87 avg300=0.21 total=1234567\n"
                                     << 0.1234;
    }
    void theShareOfTheLastTenSeconds()
    {
        QFETCH(QByteArray, text);
        QFETCH(double, pressure);
        const FileTree tree;
        tree.write(QStringLiteral("proc/pressure/memory"), text);
        MemoryPressure reader(tree.root());
        QVERIFY(qAbs(reader.read().value_or(-1) - pressure) < 1e-9);
    }

    void junkIsAbsent_data()
    {
        QTest::addColumn<QByteArray>("text");
        for (const char* text : { "", "\n", "some", "some ", "some avg10=", "some avg10=1", "some avg10=1.",
                 "some avg10=1.5 avg60=0.00", "some avg10=-1.00", "some avg10=nan",
                 "some avg60=0.00 avg10=1.00", "some avg10=99999999999.00", "full avg10=1.00 avg60=0.00",
                 "some avg10=1.-5" })
            QTest::addRow("'%s'", text) << QByteArray(text);
    }
    void junkIsAbsent()
    {
        QFETCH(QByteArray, text);
        const FileTree tree;
        tree.write(QStringLiteral("proc/pressure/memory"), text);
        MemoryPressure reader(tree.root());
        QCOMPARE(reader.read(), std::nullopt);
    }

    void kernelsThatDoNotMeasureItGiveNone()
    {
        const FileTree tree;
        MemoryPressure reader(tree.root());
        QCOMPARE(reader.read(), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, MemoryPressureTest)
#include "MemoryPressureTest.moc"
