// SPDX-License-Identifier: MIT
// What becomes of a file that an editor saves while this program saves it. The editor saves right before each system call in turn.

#include "Platform/Files/AtomicFile.h"
#include "Platform/Files/FilePath.h"
#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/LoginItemTest.h"
#include "tests/Support/TracedSave.h"

#include <QJsonDocument>
#include <algorithm>
#include <cstdio>
#include <sys/syscall.h>

using namespace kestrum;

class SaveMeanwhileTest : public LoginItemTest {
    Q_OBJECT

private Q_SLOTS:
    void editorsSaveIsMerged_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<bool>("isReplaced");
        const QByteArray old = "{\"a\": 1, \"b\": true}";
        QTest::newRow("replaces the file") << old << true;
        QTest::newRow("writes in place") << old << false;
        QTest::newRow("makes the file") << QByteArray() << true;
    }

    void editorsSaveIsMerged()
    {
        FaultRow row(rowName);
        tryEachCall(TracedSave::save, [&row](bool isMerged, const QByteArray& call) {
            QVERIFY2(isMerged, call);
            row.add();
        });
    }

    void writerThatDoesNotLookAgainIsFoundOut_data() { editorsSaveIsMerged_data(); }

    void writerThatDoesNotLookAgainIsFoundOut()
    {
        FaultRow row(rowName);
        int lost = 0;
        tryEachCall(replaceAnything, [&lost](bool isMerged, const QByteArray&) { lost += isMerged ? 0 : 1; });
        QVERIFY(lost > 0);
        row.addFoundOut();
    }

    void whoReplacesTheFileAllTheTimeHindersNoReading()
    {
        TracedSave::prepare("{\"a\": 1}");
        const auto read = [](UserDefaults&) {
            const auto content = SettingsFile(TracedSave::path()).read();
            return content && content->values.value(u"a") == QJsonValue(1);
        };
        const auto replace = [] { replaceBy(TracedSave::path(), "{\"a\": 1}"); };
        const auto outcome = TracedSave::run(read, { QByteArray::number(SYS_read), 1, 0, true, replace });
        QCOMPARE(outcome.exitCode, 0);
    }

    void desktopsChangeOfTheLoginItemIsKept_data()
    {
        QTest::addColumn<bool>("isThere");
        QTest::newRow("entry of others") << true;
        QTest::newRow("first entry") << false;
    }

    void desktopsChangeOfTheLoginItemIsKept()
    {
        QFETCH(const bool, isThere);
        FaultRow row(rowName);
        const auto change = [this](UserDefaults&) { return bool(service().registerItem()); };
        const auto prepare = [&] {
            LoginItemFixture::clear();
            QDir().mkpath(folder());
            if (isThere)
                writeEntry(entryOf(exec() + "Hidden=true\n"));
        };
        prepare();
        const auto whole = TracedSave::run(change);
        QCOMPARE(whole.exitCode, 0);
        for (const auto& call : beforeTheRename(whole)) {
            prepare();
            const auto desktop = [this] { replaceBy(entry(), entryOf(exec() + "Hidden=true\nX-Late=1\n")); };
            const auto outcome = TracedSave::run(change, { call.name, call.number, 0, false, desktop });
            const QByteArray name = call.name + ", the " + QByteArray::number(call.number);
            QVERIFY2(outcome.exitCode == 0, name);
            QVERIFY2(content().contains("X-Late=1") && content().contains("Hidden=false"), name);
            row.add();
        }
    }

private:
    static constexpr char rowName[] = "editors' ways of saving";

    /// The calls before the rename.
    static QList<TracedSave::Call> beforeTheRename(const TracedSave::Outcome& outcome)
    {
        const auto rename = std::find_if(outcome.calls.begin(), outcome.calls.end(),
            [](const TracedSave::Call& call) { return call.name == "renameat"; });
        return outcome.calls.first(rename - outcome.calls.begin());
    }

    static void replaceBy(const QString& path, const QByteArray& content)
    {
        write(path + QStringLiteral("~"), content);
        ::rename(QFile::encodeName(path + QStringLiteral("~")), QFile::encodeName(path));
    }

    /// Saves once for each system call. An editor changes "b" right before this call. `check` gets whether both changes are in
    /// the file in the end.
    template <typename Check> static void tryEachCall(const TracedSave::Work& save, const Check& check)
    {
        QFETCH(const QByteArray, before);
        QFETCH(const bool, isReplaced);
        const auto prepare = [&before] {
            TracedSave::prepare(before);
            QVERIFY(QDir().mkpath(TestHome::configDirectory()));
            TracedSave::letPass();
        };
        const auto edit = [isReplaced] {
            const QByteArray text = "{\"a\": 1, \"b\": \"edited\"}";
            isReplaced ? replaceBy(TracedSave::path(), text) : write(TracedSave::path(), text);
        };
        prepare();
        const auto whole = TracedSave::run(save);
        QCOMPARE(whole.exitCode, 0);
        for (const auto& call : beforeTheRename(whole)) {
            prepare();
            const auto outcome = TracedSave::run(save, { call.name, call.number, 0, false, edit });
            const auto values = SettingsFile(TracedSave::path()).read()->values;
            check(outcome.exitCode == 0 && values.value(u"a") == QJsonValue(2)
                    && values.value(u"b") == QJsonValue(QStringLiteral("edited")),
                call.name + ", the " + QByteArray::number(call.number));
        }
    }

    /// A deliberately wrong writer: between reading the file and replacing it, it does not look again.
    static bool replaceAnything(UserDefaults& /*store*/)
    {
        const auto place = FilePath::split(QFile::encodeName(TracedSave::path()));
        const auto directory = FilePath::openDirectory(place.directory);
        auto values = SettingsFile(TracedSave::path()).read()->values;
        values.insert(QStringLiteral("a"), 2);
        return bool(AtomicFile::replace(directory->get(), place.name, QJsonDocument(values).toJson(), nullptr,
            AtomicFile::Over::anything));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SaveMeanwhileTest)
#include "SaveMeanwhileTest.moc"
