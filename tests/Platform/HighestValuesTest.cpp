#include "Platform/Machine/HighestValues.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <limits>

using namespace kestrum;
using namespace std::chrono_literals;

class HighestValuesTest : public QObject {
    Q_OBJECT
private:
    using Values = QHash<QString, double>;
    const QString m_cpu = QStringLiteral("cpu");
    const QString m_disk = QStringLiteral("disk");
    const HighestValues::Clock::time_point m_start { 1'000'000s };

private Q_SLOTS:
    void eachIdHasItsOwn()
    {
        HighestValues highest;
        QCOMPARE(highest.values(), Values());
        QVERIFY(!highest.since());
        highest.add(m_cpu, 48, m_start);
        highest.add(m_disk, -5, m_start + 1s);
        highest.add(m_cpu, 81, m_start + 1s);
        highest.add(m_cpu, 50, m_start + 2s);
        highest.add(m_disk, -7, m_start + 2s);
        QCOMPARE(highest.values(), (Values { { m_cpu, 81 }, { m_disk, -5 } }));
        QVERIFY(highest.since() == m_start);
    }

    void whatIsNoValueIsIgnored()
    {
        HighestValues highest;
        highest.add(m_cpu, std::nullopt, m_start);
        highest.add(m_cpu, std::numeric_limits<double>::quiet_NaN(), m_start);
        highest.add(m_cpu, std::numeric_limits<double>::infinity(), m_start);
        QCOMPARE(highest.values(), Values());
        QVERIFY(!highest.since());
    }

    void afterAResetTheNextValuesAreTheFirst()
    {
        HighestValues highest;
        highest.add(m_cpu, 81, m_start);
        highest.reset();
        QCOMPARE(highest.values(), Values());
        QVERIFY(!highest.since());
        highest.add(m_cpu, 48, m_start + 60s);
        QCOMPARE(highest.values(), (Values { { m_cpu, 48 } }));
        QVERIFY(highest.since() == m_start + 60s);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, HighestValuesTest)
#include "HighestValuesTest.moc"
