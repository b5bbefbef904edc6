// SPDX-License-Identifier: MIT
// What a change of the login item leaves when one of its system calls fails, or when the process is killed at this call.

#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/FaultRow.h"
#include "tests/Support/LoginItemTest.h"
#include "tests/Support/TracedSave.h"

#include <QMap>

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
        const auto change = [this, isOn] {
            const auto result = isOn ? service().registerItem() : service().unregister();
            const int code = codeOf(result);
            return code == 0 || code == LoginItemService::alreadyThere
                || code == LoginItemService::nothingThere;
        };
        const auto prepare = [&] {
            LoginItemFixture::clear();
            if (suffix != "nothing")
                write(entry() + QString::fromLatin1(suffix), foreignEntry());
        };
        prepare();
        const Files before = files();
        QVERIFY(change());
        const Files after = files();
        QVERIFY(after != before);

        const auto tryWith = [&](const TracedSave::Fault& fault) {
            prepare();
            m_outcome = TracedSave::run([&change](UserDefaults&) { return change(); }, fault);
            const QByteArray name = fault.call + ", the " + QByteArray::number(fault.number);
            const Files left = files();
            for (auto file = left.begin(); file != left.end(); ++file)
                QVERIFY2(
                    before.values().contains(file.value()) || after.values().contains(file.value()), name);
            QVERIFY2(!left.isEmpty() || before.isEmpty() || after.isEmpty(), name);
            QVERIFY2(m_outcome.exitCode != 0 || left == after, name);
            QVERIFY2(change(), name);
            QVERIFY2(files() == after, name);
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

private:
    using Files = QMap<QString, QByteArray>;

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
