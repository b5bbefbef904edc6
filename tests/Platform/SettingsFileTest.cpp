#include "Platform/Store/SettingsText.h"
#include "tests/Support/FaultRow.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/Programs.h"
#include "tests/Support/SettingsFolder.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSet>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class SettingsFileTest : public QObject, SettingsFolder {
    Q_OBJECT

private Q_SLOTS:
    void init() { makeFolder(); }

    void firstSaveMakesPrivateDirectoriesAndFile()
    {
        const SettingsFile file(path("deep/er/suite.json"));
        QCOMPARE(file.read()->identity.size, off_t(-1));
        QCOMPARE(file.read().failureText(), QString());
        const mode_t mask = ::umask(0);
        const auto result = saved(file.path(), someValues);
        ::umask(mask);
        QVERIFY2(result, qUtf8Printable(result.failureText()));
        QVERIFY(result.changed);
        QCOMPARE(contentOf(file.path()), QByteArray("{\n    \"a\": 1\n}\n"));
        QCOMPARE(stateOf(path("deep")).st_mode, mode_t(S_IFDIR | 0700));
        QCOMPARE(stateOf(path("deep/er")).st_mode, mode_t(S_IFDIR | 0700));
        QCOMPARE(stateOf(file.path()).st_mode, mode_t(S_IFREG | 0600));
        QCOMPARE(stateOf(path("deep/er/suite.json.lock")).st_mode, mode_t(S_IFREG | 0600));
        QCOMPARE(QDir(path("deep/er")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            (QStringList { QStringLiteral("suite.json"), QStringLiteral("suite.json.lock") }));
    }

    void valuesOfOthersKeepTheirText_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        const auto row = [](const char* name, const QByteArray& before, const QByteArray& after) {
            QTest::newRow(name) << before << after;
        };
        row("unknown keys and the old value",
            "{\"unknown\": [1, {\"x\": null}], \"real\": 0.5, \"whole\": 12345678901, \"a\": \"old\"}",
            "{\n    \"a\": 1,\n    \"real\": 0.5,\n    \"unknown\": [1, {\"x\": null}],\n    "
            "\"whole\": 12345678901\n}\n");
        row("number beyond a double", "{\"n\": 12345678901234567890}",
            "{\n    \"a\": 1,\n    \"n\": 12345678901234567890\n}\n");
        row("long decimal", "{\"n\":3.14159265358979323846264338327950288, \"m\": -0.10e+02}",
            "{\n    \"a\": 1,\n    \"m\": -0.10e+02,\n    \"n\": 3.14159265358979323846264338327950288\n}\n");
        row("inside a list", "{\"n\": [ 18446744073709551615,\n1.10 ]}",
            "{\n    \"a\": 1,\n    \"n\": [ 18446744073709551615,\n1.10 ]\n}\n");
        row("escapes", R"({"\u00fc \/" : "\u00fc\/\ud800", "empty" : {} })",
            "{\n    \"a\": 1,\n    \"empty\": {},\n    \"\\u00fc \\/\": \"\\u00fc\\/\\ud800\"\n}\n");
        row("byte order mark", "\xEF\xBB\xBF{\"n\": 1.0}",
            "\xEF\xBB\xBF{\n    \"a\": 1,\n    \"n\": 1.0\n}\n");
        row("byte order mark alone", "\xEF\xBB\xBF", "\xEF\xBB\xBF{\n    \"a\": 1\n}\n");
        row("the changed key itself", "{\"a\": 12345678901234567890, \"n\": 1.50}",
            "{\n    \"a\": 1,\n    \"n\": 1.50\n}\n");
        row("of a key that stands twice the last", "{\"n\": 1.0, \"n\": 2.0, \"a\": 3, \"a\": 4}",
            "{\n    \"a\": 1,\n    \"n\": 2.0\n}\n");
        row("what is salvaged", "{\"n\": 12345678901234567890, \"bad\": NaN, \"m\": 1.0}",
            "{\n    \"a\": 1,\n    \"m\": 1.0,\n    \"n\": 12345678901234567890\n}\n");
        row("line end in a text", "{\"n\": \"x\ny\", \"m\": 1.0}", "");
    }

    void valuesOfOthersKeepTheirText()
    {
        QFETCH(const QByteArray, before);
        QFETCH(const QByteArray, after);
        write(path(), before);
        const auto result = saved(path(), someValues);
        QVERIFY2(result, qUtf8Printable(result.failureText()));
        if (!after.isEmpty())
            QCOMPARE(contentOf(path()), after);
        QCOMPARE(SettingsFile(path()).read()->values, result->values);
    }

    void saveOfEqualValuesTouchesNothing()
    {
        write(path(), "{\"a\": 1}"); // not the program's own layout; must not be rewritten
        const auto before = SettingsFile(path()).identity();
        const auto result = SettingsFile(path()).save({ json({ { "a", 1 } }), { QStringLiteral("absent") } });
        QVERIFY(result);
        QVERIFY(!result.changed);
        QVERIFY(SettingsFile(path()).identity() == before);
        QVERIFY(result->identity == before);
    }

    void removedKeysAreGone()
    {
        write(path(), "{\"a\": 1, \"b\": 2}");
        const auto result = SettingsFile(path()).save({ {}, { QStringLiteral("a") } });
        QVERIFY(result && result.changed);
        QCOMPARE(result->values, json({ { "b", 2 } }));
        QCOMPARE(SettingsFile(path()).read()->values, result->values);
    }

    void everySaveHasAnIdentityOfItsOwn()
    {
        // The files have equal sizes, reused inodes, and often the same tick of the kernel's clock.
        const SettingsFile file(path());
        QSet<QByteArray> identities;
        for (int i = 0; i < 500; ++i) {
            const auto made = saved(path(), json({ { "a", 100 + i % 2 } }));
            const auto identity = file.identity();
            QVERIFY(made && made->identity == identity);
            // The change time is left out: it is the same for several saves within one clock tick.
            identities.insert(QByteArray::number(qulonglong(identity.inode)) + ':'
                + QByteArray::number(identity.modifiedNs));
        }
        QCOMPARE(identities.size(), 500);
    }

    void modeIsKept()
    {
        for (const mode_t mode : { 0644, 0640, 0600, 0400 }) {
            write(path(), "{}");
            QCOMPARE(::chmod(QFile::encodeName(path()).constData(), mode), 0);
            QVERIFY(saved(path(), someValues));
            QCOMPARE(stateOf(path()).st_mode & 07777, mode);
            QVERIFY(QFile::remove(path()));
        }
    }

    void groupIsKept()
    {
        if (::geteuid() != 0)
            QSKIP("only root can give a file to a group that it is not in");
        write(path(), "{}");
        QCOMPARE(::chown(QFile::encodeName(path()).constData(), uid_t(-1), 12345), 0);
        QCOMPARE(::chmod(QFile::encodeName(path()).constData(), 0640), 0);
        QVERIFY(saved(path(), someValues));
        QCOMPARE(stateOf(path()).st_gid, gid_t(12345));
        QCOMPARE(stateOf(path()).st_mode & 07777, mode_t(0640));

        // If the user may not set the file's group, the new file's own group gets no rights.
        QVERIFY(QFile::remove(path("suite.json.lock")));
        const OrdinaryUser user({ m_directory, path() }, 12345);
        QVERIFY(saved(path(), json({ { "a", 2 } })));
        QVERIFY(stateOf(path()).st_gid != gid_t(12345));
        QCOMPARE(stateOf(path()).st_mode & 07777, mode_t(0600));
    }

    void damagedFileIsCopiedBeforeItIsWrittenOver()
    {
        const QByteArray damaged("{\"good\": true, \"bad\": NaN}");
        write(path(), damaged);
        write(path("suite.json.damaged-1"), "an older one");
        const auto result = saved(path(), someValues);
        QVERIFY2(result, qUtf8Printable(result.failureText()));
        QCOMPARE(contentOf(path("suite.json.damaged-1")), QByteArray("an older one"));
        QCOMPARE(contentOf(path("suite.json.damaged-2")), damaged);
        QCOMPARE(stateOf(path("suite.json.damaged-2")).st_mode & 07777, mode_t(0600));
        QCOMPARE(SettingsFile(path()).read()->values, json({ { "a", 1 }, { "good", true } }));
        QCOMPARE(SettingsFile(path()).read()->damage, QString());
        // A save makes no second copy of equal content.
        write(path(), damaged);
        QVERIFY(saved(path(), someValues));
        QVERIFY(!QFile::exists(path("suite.json.damaged-3")));
    }

    void anyDamageKeepsTheGoodMembersAndTheOldBytes()
    {
        FaultRow row("hostile files");
        QByteArrayList texts;
        for (qsizetype at = 1; at < memberLines.size(); ++at) {
            texts.append(memberLines.left(at));
            texts.append(memberLines.left(at) + QByteArray(memberLines.size() - at, '\0'));
            for (const char byte : { '\0', '\xFF', '"', '{', ']', '\\', '\n' })
                texts.append(QByteArray(memberLines).replace(at, 1, QByteArray(1, byte)));
        }
        for (qsizetype i = 0; i < texts.size(); i += FaultRow::times(7, 1)) {
            if (SettingsText::parsed(texts[i]).damage.isEmpty())
                continue;
            const QByteArray flaw = flawOfSaveOver(texts[i], [this] {
                return bool(saved(path(), json({ { "new", 1 } })));
            });
            QVERIFY2(flaw.isEmpty(), (flaw + ": " + texts[i]).constData());
            row.add();
        }
    }

    void largeDamagedFileIsReadSoon()
    {
        FaultRow row("hostile files");
        const qsizetype size = SettingsText::maximumBytes - 8;
        for (const QByteArray& text :
            { QByteArray(size, '\0'), QByteArray(size, '{'), "{" + QByteArray(size, '['),
                "{" + QByteArray(size, '"'), "{" + QByteArray("\"a\":[\n").repeated(size / 6),
                "{" + QByteArray("\"a\n").repeated(size / 3), QByteArray(size, '\\') }) {
            write(path(), text);
            setTimes(path(), 1000);
            QElapsedTimer timer;
            timer.start();
            QVERIFY(!SettingsFile(path()).read()->damage.isEmpty());
            QVERIFY2(Programs::areSanitized || timer.elapsed() <= 100,
                QByteArray::number(timer.elapsed()).constData());
            row.add();
        }
    }

    void wrongWriterOverADamagedFileIsFoundOut()
    {
        // Proves that the check of any damage can fail. This writer begins anew with the values that it has to save.
        FaultRow row("hostile files");
        const auto anew = [this] {
            write(path(), SettingsText::serialised(json({ { "new", 1 } })));
            return true;
        };
        QCOMPARE(flawOfSaveOver(memberLines.chopped(3), anew), QByteArray("a good member is lost"));
        row.addFoundOut();
    }

    void readingADamagedFileChangesNothing()
    {
        write(path(), "{\"good\": true, ");
        const auto before = SettingsFile(path()).identity();
        const auto content = SettingsFile(path()).read();
        QVERIFY(!content->damage.isEmpty());
        QCOMPARE(content->values.size(), 1);
        // A save of equal values does not change the file either.
        QVERIFY(SettingsFile(path()).save({ content->values, {} }));
        QVERIFY(SettingsFile(path()).identity() == before);
        QVERIFY(!QFile::exists(path("suite.json.damaged-1")));
    }

    void blankFileIsAnEmptyDomain()
    {
        write(path(), "\n");
        const auto content = SettingsFile(path()).read();
        QCOMPARE(content->damage, QString());
        QCOMPARE(content->values.size(), 0);
        QVERIFY(saved(path(), someValues));
        QVERIFY(!QFile::exists(path("suite.json.damaged-1")));
    }

    void leftoversAreSweptAfterAnHour()
    {
        QVERIFY(QDir().mkpath(path("elsewhere")));
        QVERIFY(QFile::link(path("elsewhere/real.json"), path()));
        QVERIFY(saved(path(), someValues));
        struct Case {
            const char* name;
            int age;
            bool isSwept;
        };
        const Case cases[] = {
            { ".kestrum-0123456789abcdef.tmp", 3700, true },
            { "elsewhere/.kestrum-fedcba9876543210.tmp", 3700, true },
            { ".kestrum-0000000000000001.tmp", 3500, false }, // may be in use
            { ".kestrum-notes.tmp", 3700, false },            // not made by the program
            { ".kestrum-0123456789abcdeX.tmp", 3700, false },
            { "x.kestrum-0123456789abcdef.tmp", 3700, false },
            { "suite.json.damaged-1", 3700, false },
        };
        for (const Case& entry : cases) {
            write(path(entry.name), "x");
            setTimes(path(entry.name), ::time(nullptr) - entry.age);
        }
        SettingsFile(path()).sweepLeftovers();
        for (const Case& entry : cases)
            QVERIFY2(QFile::exists(path(entry.name)) != entry.isSwept, entry.name);
        QVERIFY(QFile::exists(path()));
        QVERIFY(QFile::exists(path("elsewhere/real.json.lock")));
    }

private:
    /// Saves over this damaged content. The members on the lines before the damage must outlast it, and so must the old bytes in a
    /// copy. Returns the fault, or an empty text.
    QByteArray flawOfSaveOver(const QByteArray& damaged, const std::function<bool()>& save) const
    {
        const QJsonObject whole = SettingsText::parsed(memberLines).values;
        const auto different
            = std::mismatch(memberLines.begin(), memberLines.end(), damaged.begin(), damaged.end());
        const QByteArray before = memberLines.left(different.first - memberLines.begin());
        const QJsonObject good = SettingsText::parsed(before.left(before.lastIndexOf(",\n")) + '}').values;
        const QString copy = path("suite.json.damaged-1");
        QFile::remove(copy);
        write(path(), damaged);
        setTimes(path(), 1000);
        QElapsedTimer timer;
        timer.start();
        const auto read = SettingsFile(path()).read();
        if (!Programs::areSanitized && timer.elapsed() > 100)
            return "reading takes long";
        if (contentOf(path()) != damaged || !save())
            return "not saved, or changed by reading";
        const auto after = SettingsFile(path()).read();
        for (auto member = good.begin(); member != good.end(); ++member) {
            if (read->values.value(member.key()) != member.value()
                || after->values.value(member.key()) != member.value())
                return "a good member is lost";
        }
        if (contentOf(copy) != damaged)
            return "the old bytes were not kept";
        return after->damage.isEmpty() && after->values.value(u"new") == QJsonValue(1)
            ? ""
            : "the new value is not there";
    }

    const QByteArray memberLines {
        "{\n    \"first\": 1,\n    \"list\": [1, {\"x\": \"y\"}],\n    \"text\": \"a \\\"b\\\"\",\n"
        "    \"truth\": true,\n    \"wide\": 12345678901\n}\n"
    };
};

KESTRUM_TEST_MAIN(QCoreApplication, SettingsFileTest)
#include "SettingsFileTest.moc"
