#include "Platform/Machine/Pressure.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class PressureTest : public QObject {
    Q_OBJECT
private:
    static std::optional<double> read(const QByteArray& text)
    {
        const FileTree tree;
        tree.write(QStringLiteral("proc/pressure/memory"), text);
        return Pressure(Pressure::Resource::memory, tree.root()).read();
    }

private Q_SLOTS:
    void theShareOfTheLastTenSeconds()
    {
        const QByteArray rest = " avg60=0.87 avg300=0.21 total=1234567\n";
        const QByteArray full = "full avg10=88.00" + rest;
        const struct {
            const char* name;
            QByteArray text;
            double pressure;
        } rows[] {
            { "some", "some avg10=1.53" + rest + full, 0.0153 },
            { "none", "some avg10=0.00" + rest + full, 0.0 },
            { "all", "some avg10=100.00" + rest + full, 1.0 },
            { "beyond", "some avg10=250.00" + rest + full, 1.0 },
            { "second line", full + "some avg10=12.34" + rest, 0.1234 },
        };
        for (const auto& row : rows)
            QVERIFY2(qAbs(read(row.text).value_or(-1) - row.pressure) < 1e-9, row.name);
    }

    void eachResourceHasItsOwn()
    {
        const FileTree tree;
        tree.write(QStringLiteral("proc/pressure/memory"), "some avg10=25.00 avg60=0.00\n");
        tree.write(QStringLiteral("proc/pressure/io"), "some avg10=50.00 avg60=0.00\n");
        QCOMPARE(Pressure(Pressure::Resource::memory, tree.root()).read(), std::optional(0.25));
        QCOMPARE(Pressure(Pressure::Resource::io, tree.root()).read(), std::optional(0.5));
    }

    void junkIsAbsent()
    {
        for (const char* text : { "", "\n", "some", "some ", "some avg10=", "some avg10=1", "some avg10=1.",
                 "some avg10=1.5 avg60=0.00", "some avg10=-1.00", "some avg10=nan",
                 "some avg60=0.00 avg10=1.00", "some avg10=99999999999.00", "full avg10=1.00 avg60=0.00",
                 "some avg10=1.-5" })
            QCOMPARE_ROW(text, read(text), std::nullopt);
    }

    void kernelsThatDoNotMeasureItGiveNone()
    {
        for (const auto resource : { Pressure::Resource::memory, Pressure::Resource::io })
            QCOMPARE(Pressure(resource, FileTree().root()).read(), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, PressureTest)
#include "PressureTest.moc"
