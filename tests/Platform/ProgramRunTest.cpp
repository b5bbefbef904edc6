#include "Platform/Processes/ProgramRun.h"

#include "tests/Support/FileContent.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>
#include <optional>

using namespace kestrum;

class ProgramRunTest : public QObject {
    Q_OBJECT

    QObject m_context;
    std::optional<QString> m_told;

    ProgramRun::Ended teller()
    {
        m_told.reset();
        return [this](const Result<QByteArray>& printed) {
            m_told = printed ? QString::fromUtf8(*printed) : text("failed: ") + printed.failureText();
        };
    }
    QString told()
    {
        return QTest::qWaitFor([this] { return m_told.has_value(); }, Programs::patience) ? *m_told
                                                                                          : text("nothing");
    }
    static QStringList script(const char* script)
    {
        return { QStringLiteral("-c"), QString::fromUtf8(script) };
    }

private Q_SLOTS:
    void whatAProgramPrintsIsTold()
    {
        qputenv("LANGUAGE", "de");
        qputenv("LC_ALL", "de_DE.UTF-8");
        ProgramRun::start(
            text("sh"), script("cat; echo größe; echo $LC_ALL$LANGUAGE; echo no >&2"), &m_context, teller());
        QVERIFY(!m_told); // never before `start` returns
        QCOMPARE(told(), text("größe\nC.UTF-8\n"));
        qunsetenv("LANGUAGE");
        qunsetenv("LC_ALL");
    }

    void aProgramThatTakesTooLongIsKilled()
    {
        QElapsedTimer time;
        time.start();
        ProgramRun::start(text("sleep"), words("60"), &m_context, teller(), std::chrono::milliseconds(50));
        QCOMPARE(told(), text("failed: sleep: it takes too long"));
        QVERIFY(time.elapsed() < Programs::withinASecond);
    }

    void aProgramThatIsNotThereIsNamed()
    {
        ProgramRun::start(text("no-such-program"), {}, &m_context, teller());
        QVERIFY(!m_told);
        QCOMPARE(told(), text("failed: no-such-program: it is not installed"));
    }

    void aProgramInTheCurrentFolderIsNotRun()
    {
        const QString folder = TestHome::root() + text("/planted");
        QVERIFY(QDir().mkpath(folder + text("/bin")));
        for (const char* name : { "/planted-program", "/bin/planted-program" }) {
            QFile program(folder + QLatin1StringView(name));
            QVERIFY(program.open(QIODevice::WriteOnly));
            program.write("#!/bin/sh\necho planted\n");
            program.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        const QByteArray path = qgetenv("PATH");
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(folder));
        const auto toldWithPath = [&](const QByteArray& folders) {
            qputenv("PATH", folders);
            ProgramRun::start(text("planted-program"), {}, &m_context, teller());
            return told();
        };
        QStringList outcomes;
        for (const char* folders : { ".", "bin", "", ":", ".:/usr/bin:" })
            outcomes.append(toldWithPath(folders));
        const QString named = toldWithPath("bin:" + QFile::encodeName(folder));
        qputenv("PATH", path);
        QDir::setCurrent(before);
        for (const QString& outcome : outcomes)
            QCOMPARE(outcome, text("failed: planted-program: it is not installed"));
        QCOMPARE(named, text("planted\n")); // a folder that PATH names in full counts
    }

    void runsFollowEachOtherUpToTheFirstFailure()
    {
        const QString file = TestHome::root() + text("/order");
        const auto add = [&](const char* word, const char* end) {
            return script(("echo " + QByteArray(word) + " >>" + file.toUtf8() + "; " + end).constData());
        };
        ProgramRun::startInTurn(text("sh"),
            {
                add("a", "true"),
                add("b", "echo last"),
            },
            &m_context, teller());
        QCOMPARE(told(), text("last\n"));
        ProgramRun::startInTurn(
            text("sh"), { add("c", "echo bad >&2; exit 3"), add("d", "true") }, &m_context, teller());
        QCOMPARE(told(), text("failed: sh: bad"));
        QCOMPARE(contentOf(file), QByteArray("a\nb\nc\n"));
        ProgramRun::startInTurn(text("sh"), {}, &m_context, teller());
        QCOMPARE(told(), QString());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ProgramRunTest)
#include "ProgramRunTest.moc"
