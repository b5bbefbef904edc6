// SPDX-License-Identifier: MIT
// What a change of the login item leaves when one of its system calls fails, or when the process is killed at this call.

#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/FaultRow.h"
#include "tests/Support/LoginItemTest.h"
#include "tests/Support/TracedSave.h"

#include <QMap>
#include <algorithm>
#include <cerrno>
#include <functional>

using namespace kestrum;

class LoginItemFaultsTest : public LoginItemTest {
    Q_OBJECT

private Q_SLOTS:
    void anyFaultLeavesWholeFilesAndTheNextTryWorks_data()
    {
        QTest::addColumn<bool>("isOn");
        QTest::addColumn<QByteArray>("suffix");
        QTest::newRow("first entry") << true << QByteArray("nothing");
        QTest::newRow("entry of others, switched on again") << true << QByteArray();
        QTest::newRow("entry of others, brought back") << true << QByteArray(".off");
        QTest::newRow("entry of others, put aside") << false << QByteArray();
    }

    void anyFaultLeavesWholeFilesAndTheNextTryWorks()
    {
        QFETCH(const bool, isOn);
        QFETCH(const QByteArray, suffix);
        FaultRow killed("killed at a call");
        FaultRow failed("call fails");
        const auto change
            = [this, isOn] { return isDone(isOn ? service().registerItem() : service().unregister()); };
        const auto tryWith = [&](const TracedSave::Fault& fault) {
            const QByteArray found = flaw(suffix, change, fault);
            QVERIFY2(found.isEmpty(),
                (found + " at " + fault.call + ' ' + QByteArray::number(fault.number)).constData());
        };
        tryWith({});
        if (m_outcome.exitCode == TracedSave::unsupported)
            QSKIP("the kernel does not let a process watch its system calls");
        const auto whole = m_outcome.calls;
        QVERIFY(m_outcome.exitCode == 0 && whole.size() > 5);
        for (qsizetype at = 0; at < whole.size(); at += FaultRow::times(4, 1)) {
            const auto& call = whole[at];
            tryWith({ call.name, call.number });
            QCOMPARE(m_outcome.exitCode, TracedSave::killed);
            killed.add();
            for (const int error : { EIO, ENOSPC, EROFS, ENOMEM }) {
                for (const bool isLasting : { false, true }) {
                    if (!FaultRow::isLong() && (isLasting || error != EIO))
                        continue;
                    tryWith({ call.name, call.number, error, isLasting });
                    if (QTest::currentTestFailed())
                        return;
                    failed.add();
                }
            }
        }
    }

    void changeInPlaceIsFoundOut()
    {
        // Proves that the checks above can fail.
        FaultRow killed("killed at a call");
        FaultRow failed("call fails");
        const auto inPlace = [this] {
            writeEntry(foreignEntry().replace("Hidden=true", "Hidden=false")); // empties the file first
            return true;
        };
        QCOMPARE(flaw("", inPlace, {}), QByteArray());
        QCOMPARE(flaw("", inPlace, { "write" }), QByteArray("neither old nor new"));
        killed.addFoundOut();
        const auto unchecked = [this] {
            QFile file(entry());
            (void)(file.open(QIODevice::ReadWrite | QIODevice::Unbuffered)
                && file.write(foreignEntry().replace("Hidden=true", "Hidden=none")) > 0);
            return true;
        };
        QCOMPARE(flaw("", unchecked, {}), QByteArray());
        QCOMPARE(flaw("", unchecked, { "write", 1, ENOSPC }), QByteArray("told as done, but not there"));
        failed.addFoundOut();
    }

private:
    using Files = QMap<QString, QByteArray>;
    using Change = std::function<bool()>;

    static bool isDone(const Result<>& result)
    {
        const int code = codeOf(result);
        return code == 0 || code == LoginItemService::alreadyThere || code == LoginItemService::nothingThere;
    }

    /// Makes a change with a fault, and then without one. Returns what is wrong with the files afterwards, or an empty text. An
    /// entry of others is there before, with this suffix, unless the suffix is "nothing".
    QByteArray flaw(const QByteArray& suffix, const Change& change, const TracedSave::Fault& fault)
    {
        const auto prepare = [&] {
            LoginItemFixture::clear();
            if (suffix != "nothing")
                write(entry() + QString::fromLatin1(suffix), foreignEntry());
        };
        prepare();
        const Files before = files();
        const bool isMade = change();
        const Files after = files();
        if (!isMade || after == before)
            return "no change without a fault";

        prepare();
        m_outcome = TracedSave::run([&change](UserDefaults&) { return change(); }, fault);
        const Files left = files();
        const bool isWhole = std::all_of(left.begin(), left.end(), [&](const QByteArray& content) {
            return before.values().contains(content) || after.values().contains(content);
        });
        if (!isWhole)
            return "neither old nor new";
        if (left.isEmpty() && !before.isEmpty() && !after.isEmpty())
            return "nothing left";
        if (m_outcome.exitCode == 0 && left != after)
            return "told as done, but not there";
        return change() && files() == after ? "" : "the next try fails";
    }

    QByteArray foreignEntry() const { return entryOf(exec() + "Hidden=true\nX-Mine=1\n"); }

    /// The files of the folder, apart from temporary ones that a killed process has left.
    static Files files()
    {
        Files found;
        const QFileInfoList infos = QDir(folder()).entryInfoList(QDir::Files | QDir::Hidden);
        for (const QFileInfo& info : infos) {
            if (!info.fileName().startsWith(QStringLiteral(".kestrum-")))
                found.insert(info.fileName(), contentOf(info.filePath()));
        }
        return found;
    }

    TracedSave::Outcome m_outcome;
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemFaultsTest)
#include "LoginItemFaultsTest.moc"
