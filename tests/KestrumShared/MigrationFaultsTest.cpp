// SPDX-License-Identifier: MIT
// What a migration of settings leaves when one of its system calls fails, or when the process is killed at this call.

#include "KestrumShared/Settings/Keys.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "Platform/Store/SettingsFile.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/SettingsInMemory.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TracedSave.h"

#include <QCoreApplication>

using namespace kestrum;

class MigrationFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Only the child processes open the shared store.
        qputenv("KESTRUM_SETTINGS_SUITE", "suite");
        if (TracedSave::run().exitCode == TracedSave::unsupported)
            QSKIP("the kernel does not let a process watch its system calls");
    }

    void anyFaultLeavesOldOrAllOfTheNewAndTheNextStartMigrates()
    {
        FaultRow killed("killed at a call");
        FaultRow failed("call fails");
        const auto whole = migrated({});
        QCOMPARE(whole.exitCode, 0);
        QCOMPARE(SettingsFile(TracedSave::path()).read()->values.size(), 2 + accents.size());
        QVERIFY(whole.calls.size() > 15);
        for (qsizetype at = 0; at < whole.calls.size(); at += FaultRow::times(2, 1)) {
            const auto& call = whole.calls[at];
            QCOMPARE(migrated({ call.name, call.number }).exitCode, TracedSave::killed);
            killed.add();
            for (const int error : { EIO, ENOSPC, EACCES, EROFS }) {
                for (const bool isLasting : { false, true }) {
                    if (!FaultRow::isLong() && (isLasting || error != EIO))
                        continue;
                    (void)migrated({ call.name, call.number, error, isLasting });
                    if (QTest::currentTestFailed())
                        return;
                    failed.add();
                }
            }
        }
    }

private:
    static bool migrate(UserDefaults& /*store*/)
    {
        SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
        return MeterSettings::migrateAccents();
    }

    /// Migrates the old file with a fault, checks what is left, and migrates it again.
    TracedSave::Outcome migrated(const TracedSave::Fault& fault) const
    {
        TracedSave::prepare(old);
        auto outcome = TracedSave::run(migrate, fault);
        const auto check = [&](bool mayBeOld) {
            const auto read = SettingsFile(TracedSave::path()).read();
            QCOMPARE(read->damage, QString());
            QCOMPARE(read->values.value(u"mine"), QJsonValue(1));
            const bool isOld = contentOf(TracedSave::path()) == old;
            QVERIFY2(!isOld || mayBeOld, fault.call.constData());
            for (const char* accent : accents)
                QVERIFY2(isOld || read->values.value(QLatin1StringView(accent)).isString(), accent);
        };
        check(outcome.exitCode != 0);
        QTest::qSleep(25); // as in `prepare`
        if (TracedSave::run(migrate).exitCode != 0)
            QTest::qFail("the next migration fails", __FILE__, __LINE__);
        check(false);
        return outcome;
    }

    const QByteArray old { "{\"mine\": 1, \"others\": [12345678901234567890]}" };
    const std::array<const char*, 4> accents { Keys::cpuAccent.name, Keys::cpuFastCoreAccent.name,
        Keys::memoryAccent.name, Keys::storageAccent.name };
    const SettingsInMemory m_memory;
};

KESTRUM_TEST_MAIN(QCoreApplication, MigrationFaultsTest)
#include "MigrationFaultsTest.moc"
