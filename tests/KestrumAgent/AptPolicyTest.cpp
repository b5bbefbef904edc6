#include "KestrumAgent/Updates/AptPolicy.h"
#include "KestrumShared/Text/UpdateOffer.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QRegularExpression>
#include <QTest>

using namespace kestrum;

namespace {

std::optional<AptPolicy> read(const QByteArray& answer)
{
    return AptPolicy::read(answer, text("kestrum"));
}

// A line that APT wrote on Debian 12.
constexpr char repository[] = "        500 http://deb.example.org/debian bookworm/main amd64 Packages\n";
constexpr char dpkg[] = "        100 /var/lib/dpkg/status\n";

QByteArray answer(const char* installed, const char* candidate, const QByteArray& table)
{
    return QByteArray("kestrum:\n  Installed: ") + installed + "\n  Candidate: " + candidate
        + "\n  Version table:\n" + table;
}

QByteArray newer()
{
    return answer(
        "1.4-27", "1.5-30", QByteArray("     1.5-30 500\n") + repository + " *** 1.4-27 100\n" + dpkg);
}

} // namespace

class AptPolicyTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void answersAreUnderstood_data()
    {
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("installed");
        QTest::addColumn<QString>("candidate");
        QTest::addColumn<bool>("isNewer");
        QTest::addColumn<bool>("hasSource");
        const auto row = [](const char* name, const QByteArray& answer, const char* installed,
                             const char* candidate, bool isNewer, bool hasSource) {
            QTest::newRow(name) << answer << text(installed) << text(candidate) << isNewer << hasSource;
        };
        row("newer", newer(), "1.4-27", "1.5-30", true, true);
        row("up to date", answer("1.5-30", "1.5-30", QByteArray(" *** 1.5-30 500\n") + repository + dpkg),
            "1.5-30", "1.5-30", false, true);
        row("unknown package", "", "", "", false, false);
        row("not installed", answer("(none)", "1.5-30", QByteArray("     1.5-30 500\n") + repository), "",
            "1.5-30", false, true);
        row("no candidate", answer("(none)", "(none)", QByteArray("     1.5-30 -1\n") + repository), "", "",
            false, true);
        row("removed, its configuration left",
            answer("(none)", "1.4-27", QByteArray("     1.4-27 -1\n") + dpkg), "", "1.4-27", false, false);
        row("installed by hand, no repository",
            answer("1.4-27", "1.4-27", QByteArray(" *** 1.4-27 100\n") + dpkg), "1.4-27", "1.4-27", false,
            false);
        row("only older ones in the repository",
            answer("1.5-30", "1.5-30",
                QByteArray(" *** 1.5-30 100\n") + dpkg + "     1.4-27 500\n" + repository),
            "1.5-30", "1.5-30", false, true);
        row("pinned to what is installed",
            QByteArray("kestrum:\n  Installed: 1.4-27\n  Candidate: 1.4-27\n  Package pin: 1.4-27\n"
                       "  Version table:\n     1.5-30 500\n")
                + repository + " *** 1.4-27 1001\n" + repository + dpkg,
            "1.4-27", "1.4-27", false, true);
        row("pinned to what is older",
            answer("1.5-30", "1.4-27",
                QByteArray(" *** 1.5-30 100\n") + dpkg + "     1.4-27 1001\n"
                    + "       1001 http://deb.example.org/debian bookworm/main amd64 Packages\n"),
            "1.5-30", "1.4-27", false, true);
        row("the newest is refused",
            answer("1.4-27", "1.4-27",
                QByteArray("     1.5-30 -1\n")
                    + "         -1 http://deb.example.org/debian sid/main amd64 Packages\n"
                    + " *** 1.4-27 500\n" + repository + dpkg),
            "1.4-27", "1.4-27", false, true);
        // A held package has the same candidate. dpkg handles the hold, and the administrator decides about it.
        row("held", newer(), "1.4-27", "1.5-30", true, true);
        row("several sources",
            answer("1.4-27", "1.5-30",
                QByteArray(
                    "     1.6~rc1-33 100\n"
                    "        100 http://deb.example.org/debian bookworm-backports/main amd64 Packages\n"
                    "     1.5-30 500\n")
                    + repository
                    + "        500 http://security.example.org/debian bookworm-security/main amd64 Packages\n"
                    + "        500 file:/srv/mirror ./ Packages\n *** 1.4-27 100\n" + dpkg),
            "1.4-27", "1.5-30", true, true);
        row("a source with blanks in its path",
            answer("1.4-27", "1.5-30",
                QByteArray("     1.5-30 500\n        500 file:/srv/my%20mirror ./ Packages\n *** 1.4-27 100\n"
                           "        100 /srv/my machine/status\n")),
            "1.4-27", "1.5-30", true, true);
        row("phased",
            answer("1.4-27", "1.5-30",
                QByteArray("     1.5-30 500 (phased 20%)\n") + repository + " *** 1.4-27 100\n" + dpkg),
            "1.4-27", "1.5-30", true, true);
        row("the same version built twice",
            answer("1.4-27", "1.4-27",
                QByteArray("     1.4-27 500\n") + repository + " *** 1.4-27 100\n" + dpkg),
            "1.4-27", "1.4-27", false, true);
        row("epochs and odd versions",
            answer("1:1.4-27", "2:1.0~beta+git.2026-3.1",
                QByteArray("     2:1.0~beta+git.2026-3.1 500\n") + repository + " *** 1:1.4-27 100\n" + dpkg),
            "1:1.4-27", "2:1.0~beta+git.2026-3.1", true, true);
        row("no line feed at the end", newer().trimmed(), "1.4-27", "1.5-30", true, true);
        row("another package after it", newer() + "other:\n  Installed: 1\n  Candidate: 1\n", "1.4-27",
            "1.5-30", true, true);
    }
    void answersAreUnderstood()
    {
        QFETCH(QByteArray, answer);
        const auto policy = read(answer);
        QVERIFY(policy);
        QTEST(policy->installed, "installed");
        QTEST(policy->candidate, "candidate");
        QTEST(policy->isCandidateNewer, "isNewer");
        QTEST(policy->hasSource, "hasSource");
    }

    void whatIsNoAnswerIsRefused_data()
    {
        QTest::addColumn<QByteArray>("answer");
        const QByteArray table = QByteArray("     1.5-30 500\n") + repository + " *** 1.4-27 100\n" + dpkg;
        QTest::newRow("translated")
            << QByteArray("kestrum:\n  Installiert:           1.4-27\n  Installationskandidat: 1.5-30\n"
                          "  Versionstabelle:\n")
                + table;
        QTest::newRow("another package") << newer().replace("kestrum:", "kestrel:");
        QTest::newRow("garbage") << QByteArray("\x00\xff\xfe garbage \n\n\n:\n", 17);
        QTest::newRow("a page of a proxy") << QByteArray("<!DOCTYPE html>\n<html>\n<body>\nkestrum:\n");
        QTest::newRow("name only") << QByteArray("kestrum:\n");
        QTest::newRow("no table") << QByteArray("kestrum:\n  Installed: 1.4-27\n  Candidate: 1.5-30\n\n\n");
        QTest::newRow("no candidate line")
            << QByteArray("kestrum:\n  Installed: 1.4-27\n  Version table:\n") + table;
        QTest::newRow("lines exchanged")
            << QByteArray("kestrum:\n  Candidate: 1.5-30\n  Installed: 1.4-27\n  Version table:\n") + table;
        QTest::newRow("empty version") << answer("1.4-27", "", table);
        QTest::newRow("blank in a version") << answer("1.4-27", "1.5 -30", table);
        QTest::newRow("markup in a version") << answer("1.4-27", "<b>1.5</b>", table);
        QTest::newRow("control character in a version") << answer("1.4-27", "1.5\x1b[31m-30", table);
        QTest::newRow("not ASCII") << answer("1.4-27", "1.5-３０", table);
        QTest::newRow("an endless version") << answer("1.4-27", QByteArray(129, '1').constData(), table);
        QTest::newRow("candidate not in the table") << answer("1.4-27", "1.6-33", table);
        QTest::newRow("installed not in the table") << answer("1.3-20", "1.5-30", table);
        QTest::newRow("empty table") << answer("1.4-27", "1.5-30", {});
        QTest::newRow("cut in the middle") << newer().left(70);
    }
    void whatIsNoAnswerIsRefused()
    {
        QFETCH(QByteArray, answer);
        QVERIFY(!read(answer));
    }

    void aHugeAnswerIsReadAtOnce()
    {
        QByteArray table;
        for (int i = 20'000; i > 0; --i)
            table += "     1." + QByteArray::number(i) + "-1 500\n" + repository;
        table += QByteArray(" *** 1.0-1 100\n") + dpkg;
        const QByteArray huge = answer("1.0-1", "1.20000-1", table);
        QVERIFY(huge.size() > 1'000'000);
        QElapsedTimer clock;
        clock.start();
        const auto policy = read(huge);
        const auto took = clock.elapsed();
        QVERIFY(policy && policy->isCandidateNewer);
        QVERIFY2(took < 1000, qPrintable(QString::number(took)));
        // One very long line without a line end.
        QVERIFY(!read(answer("1.4-27", QByteArray(4'000'000, '1').constData(), {})));
    }

    void versionsAreNamedAsPeopleReadThem_data()
    {
        QTest::addColumn<QString>("name");
        const auto row = [](const char* version, const char* name) { QTest::newRow(version) << text(name); };
        row("1.4-27", "1.4 (27)");
        row("1.4.2-30", "1.4.2 (30)");
        row("2026-07-30", "2026-07 (30)");
        row("27-27", "27");
        row("1:1.4-27", "1.4 (27)");
        row("1.4", "1.4");
        row("1:1.4", "1.4");
        row("1.4-27+deb12", "1.4 (27)");
        row("1:1.4-27+deb13", "1.4 (27)");
        row("1.4-27+deb12u1", "1.4-27+deb12u1");
        row("1.4-27+deb", "1.4-27+deb");
        row("1.4-27+13", "1.4-27+13");
        row("1.4-27~bpo12+1", "1.4-27~bpo12+1");
        row("1.4-27.1", "1.4-27.1");
        row("1.4-rc1", "1.4-rc1");
        row("1.4~rc1-27", "1.4~rc1 (27)");
        row("-27", "-27");
        row("1.4-", "1.4-");
    }
    void versionsAreNamedAsPeopleReadThem()
    {
        QFETCH(QString, name);
        QCOMPARE(AptPolicy::versionText(text(QTest::currentDataTag())), name);
    }

    void thePackagesOfEveryReleaseAreNamedByTheirBuild()
    {
        const QString maker
            = QString::fromUtf8(contentOf(qEnvironmentVariable("KESTRUM_SOURCE") + text("/tools/package")));
        QVERIFY(maker.contains(text("-$number$revisionSuffix")));
        static const QRegularExpression suffix(text(R"( revisionSuffix=(\S*) )"));
        QStringList suffixes;
        for (auto found = suffix.globalMatch(maker); found.hasNext();) {
            suffixes.append(found.next().captured(1));
            const QString name = AptPolicy::versionText(text("1.4-27") + suffixes.last());
            QCOMPARE(name, text("1.4 (27)"));
            // The build that runs has caught up, and the one before has not.
            QVERIFY(!UpdateOffer::standing(name, text("1.4 (27)")));
            QVERIFY(UpdateOffer::standing(name, text("1.4 (26)")));
        }
        QCOMPARE(suffixes.size(), 2);
        QVERIFY(suffixes[0] != suffixes[1]);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AptPolicyTest)
#include "AptPolicyTest.moc"
