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
#include <algorithm>
#include <array>
#include <cerrno>

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
        expectWhole({});
        const auto whole = m_outcome;
        QCOMPARE(whole.exitCode, 0);
        QCOMPARE(SettingsFile(TracedSave::path()).read()->values.size(), 2 + accents.size());
        QVERIFY(whole.calls.size() > 15);
        for (qsizetype at = 0; at < whole.calls.size(); at += FaultRow::times(2, 1)) {
            const auto& call = whole.calls[at];
            expectWhole({ call.name, call.number });
            QCOMPARE(m_outcome.exitCode, TracedSave::killed);
            killed.add();
            for (const int error : { EIO, ENOSPC, EACCES, EROFS }) {
                for (const bool isLasting : { false, true }) {
                    if (!FaultRow::isLong() && (isLasting || error != EIO))
                        continue;
                    expectWhole({ call.name, call.number, error, isLasting });
                    if (QTest::currentTestFailed())
                        return;
                    failed.add();
                }
            }
        }
    }

    void migrationKeyByKeyIsFoundOut()
    {
        // Proves that the checks above can fail.
        FaultRow killed("killed at a call");
        FaultRow failed("call fails");
        const auto keyByKey = [this](UserDefaults& store) {
            return std::all_of(accents.begin(), accents.end(), [&store](const char* accent) {
                return store.string(accent) || store.set(accent, QStringLiteral("teal"));
            });
        };
        QCOMPARE(flaw(keyByKey, {}), QByteArray());
        QCOMPARE(flaw(keyByKey, { "renameat", 2 }), QByteArray("some accents only"));
        killed.addFoundOut();
        QCOMPARE(flaw(keyByKey, { "renameat", 2, EIO }), QByteArray("some accents only"));
        failed.addFoundOut();
    }

private:
    static bool migrate(UserDefaults& /*store*/)
    {
        SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
        return MeterSettings::migrateAccents();
    }

    void expectWhole(const TracedSave::Fault& fault)
    {
        const QByteArray found = flaw(migrate, fault);
        QVERIFY2(found.isEmpty(), (found + " at " + fault.call).constData());
    }

    /// Migrates the old file with a fault, and then without one. Returns what is wrong with the file afterwards, or an empty text.
    QByteArray flaw(const TracedSave::Work& migration, const TracedSave::Fault& fault)
    {
        TracedSave::prepare(old);
        m_outcome = TracedSave::run(migration, fault);
        const auto flawNow = [this](bool mayBeOld) -> QByteArray {
            const auto read = SettingsFile(TracedSave::path()).read();
            if (!read->damage.isEmpty() || read->values.value(u"mine") != QJsonValue(1))
                return "damaged";
            if (contentOf(TracedSave::path()) == old)
                return mayBeOld ? "" : "not migrated";
            const bool hasAll = std::all_of(accents.begin(), accents.end(), [&read](const char* accent) {
                return read->values.value(QLatin1StringView(accent)).isString();
            });
            return hasAll ? "" : "some accents only";
        };
        if (const QByteArray now = flawNow(m_outcome.exitCode != 0); !now.isEmpty())
            return now;
        QTest::qSleep(25); // as in `prepare`
        if (TracedSave::run(migration).exitCode != 0)
            return "the next migration fails";
        return flawNow(false);
    }

    const QByteArray old { "{\"mine\": 1, \"others\": [12345678901234567890]}" };
    const std::array<const char*, 4> accents { Keys::cpuAccent.name, Keys::cpuFastCoreAccent.name,
        Keys::memoryAccent.name, Keys::storageAccent.name };
    const SettingsInMemory m_memory;
    TracedSave::Outcome m_outcome;
};

KESTRUM_TEST_MAIN(QCoreApplication, MigrationFaultsTest)
#include "MigrationFaultsTest.moc"
