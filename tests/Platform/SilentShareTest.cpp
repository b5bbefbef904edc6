#include "Platform/Machine/MountTable.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

using namespace kestrum;

namespace {

constexpr int volumesPatience = 5000;
/// In ms. What takes no longer does not wait for a volume.
constexpr int soon = 200;

} // namespace

/// Volumes of the kernel's own whose program never answers.
class SilentShareTest : public QObject {
    Q_OBJECT
private:
    QByteArray ask(const QByteArray& line) const
    {
        m_program->say(line);
        return m_program->line();
    }
    // What a sample says of the volume; empty if the volume is not listed.
    QByteArray sampled(const QByteArray& path, int seconds = 0) const
    {
        for (const QByteArray& volume : ask("sample " + QByteArray::number(seconds)).split(' ')) {
            if (volume.startsWith(path + '='))
                return volume.mid(path.size() + 1);
        }
        return {};
    }
    QByteArray share(const QByteArray& name) const
    {
        return QFile::encodeName(m_folder->filePath(QString::fromLatin1(name)));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<HelperProcess> m_program;

private Q_SLOTS:
    void init()
    {
        if (MountTable().volumes().size() + 2 > 6)
            QSKIP("this machine has so many volumes that no share would be listed");
        m_folder = std::make_unique<QTemporaryDir>();
        m_program = std::make_unique<HelperProcess>(
            QStringList { m_folder->path() }, QStringLiteral("VolumesProgram"));
        const QByteArray answer = ask("share hung");
        if (answer.startsWith("unsupported"))
            QSKIP(answer.constData());
        QCOMPARE(answer, QByteArray("done"));
    }
    void cleanup() { m_program.reset(); }

    void aShareWhoseProgramNeverAnswersIsSilentAndHoldsUpNothing()
    {
        QVERIFY(ask("begin").toDouble() < soon);
        const bool hasRoot = !sampled("/").isEmpty();
        QTRY_VERIFY_WITH_TIMEOUT(!hasRoot || sampled("/").toLongLong() > 0, volumesPatience);
        QCOMPARE(sampled(share("hung"), 1), QByteArray("-"));
        QCOMPARE(sampled(share("hung"), 1), QByteArray("silent"));
        QTRY_VERIFY_WITH_TIMEOUT(!hasRoot || sampled("/").toLongLong() > 0, volumesPatience);
        QVERIFY(ask("end").toDouble() < soon);
        QVERIFY(ask("begin").toDouble() < soon);
        QCOMPARE(sampled(share("hung")), QByteArray("silent"));

        // The process ends, though one of its threads hangs.
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(m_program->finish(), 0);
        QVERIFY(timer.elapsed() < 2000);
    }

    void aShareThatIsLostAnswersWithoutSpace()
    {
        ask("begin");
        QCOMPARE(sampled(share("hung"), 2), QByteArray("silent"));
        QCOMPARE(ask("lose hung"), QByteArray("done"));
        QTRY_COMPARE_WITH_TIMEOUT(sampled(share("hung")), QByteArray("-"), volumesPatience);
    }

    void sharesThatComeAndGoAreSeenAtTheNextSample()
    {
        ask("begin");
        QCOMPARE(sampled(share("other")), QByteArray());
        QCOMPARE(ask("share other"), QByteArray("done"));
        QCOMPARE(sampled(share("other")), QByteArray("-"));
        QCOMPARE(ask("unmount hung"), QByteArray("done"));
        QCOMPARE(sampled(share("hung")), QByteArray());
        QCOMPARE(sampled(share("other")), QByteArray("-"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SilentShareTest)
#include "SilentShareTest.moc"
