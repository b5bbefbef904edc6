#include "Platform/Bundle/Bundle.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QProcess>
#include <cstdio>

using namespace kestrum;

namespace {

constexpr char describeMain[] = "--describe-main-bundle";

// Runs in a child process. Prints three lines: the main bundle's path, whether it exists, and its identifier.
int printMainBundle()
{
    const Bundle& bundle = Bundle::main();
    std::printf("%s\n%s\n%s\n", qPrintable(bundle.path()), bundle.exists() ? "exists" : "none",
        qPrintable(bundle.identifier()));
    return 0;
}

// The output of `printMainBundle` when this program runs as `executable`.
QStringList mainBundleOf(const QString& executable)
{
    QProcess child;
    child.start(executable, TestRunner::again({ QString::fromLatin1(describeMain) }));
    if (!child.waitForFinished(10000) || child.exitCode() != 0)
        return { child.errorString() };
    return QString::fromUtf8(child.readAllStandardOutput()).split(u'\n');
}

void copyOurselves(const QString& target)
{
    QVERIFY(QDir().mkpath(QFileInfo(target).path()));
    QVERIFY(QFile::copy(QCoreApplication::applicationFilePath(), target));
}

QString tableOf(const char* localization)
{
    return QStringLiteral("A.app/Contents/Resources/%1.lproj/Localizable.strings")
        .arg(QLatin1StringView(localization));
}

QString textIn(const Bundle& bundle, const char* key, const char* localization)
{
    return bundle.localizedString(text(key), text(localization));
}

} // namespace

class BundleTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void mainIsTheInnermostBundleAroundTheExecutableOrItsFolder()
    {
        const struct {
            const char* executable;
            const char* path;
            const char* exists;
            const char* identifier;
        } rows[] {
            { "A b.app/Contents/MacOS/Program", "A b.app", "exists", "outer" },
            { "A.app/Contents/Library/LoginItems/B.app/Contents/MacOS/B",
                "A.app/Contents/Library/LoginItems/B.app", "exists", "inner" },
            { "bin/a", "bin", "none", "" },
            { "A.app/Contents/Programs/a", "A.app/Contents/Programs", "none", "" },
            { "A.app/MacOS/a", "A.app/MacOS", "none", "" },
            { "A/Contents/MacOS/a", "A/Contents/MacOS", "none", "" },
        };
        const FileTree tree;
        makeBundle(tree, "{ CFBundleIdentifier = outer; }", text("A b.app"));
        makeBundle(tree, "{ CFBundleIdentifier = outer; }");
        makeBundle(tree, "{ CFBundleIdentifier = inner; }", text("A.app/Contents/Library/LoginItems/B.app"));
        for (const auto& row : rows) {
            const QString executable = tree.path(text(row.executable));
            copyOurselves(executable);
            QCOMPARE(mainBundleOf(executable),
                QStringList(
                    { tree.path(text(row.path)), text(row.exists), text(row.identifier), QString() }));
        }
    }

    void aLinkToTheExecutableLeadsIntoTheBundle()
    {
        const FileTree tree;
        const Bundle bundle = makeBundle(tree, "{ CFBundleIdentifier = linked; }", text("lib/A.app"));
        const QString executable = bundle.path() + text("/Contents/MacOS/A");
        copyOurselves(executable);
        const QString link = tree.path(text("a"));
        QVERIFY(QFile::link(executable, link));
        QCOMPARE(mainBundleOf(link).value(2), text("linked"));
    }

    void anotherBundleCanTakeTheMainsPlace()
    {
        const Bundle before = Bundle::main();
        Bundle::setMain(makeBundle(FileTree(), "{ CFBundleIdentifier = other; }"));
        QCOMPARE(Bundle::main().identifier(), text("other"));
        Bundle::setMain(before);
        QCOMPARE(Bundle::main().path(), before.path());
    }

    void absentBundleHasNothing()
    {
        const Bundle bundle(text("/nonexistent/A.app"));
        QVERIFY(!bundle.exists());
        QCOMPARE(bundle.path(), text("/nonexistent/A.app"));
        QCOMPARE(bundle.identifier(), QString());
        QCOMPARE(bundle.developmentLocalization(), std::nullopt);
        QVERIFY(bundle.localizations().isEmpty());
        QCOMPARE(textIn(bundle, "a", "de"), text("a"));
    }

    void informationIsTextOrNothing()
    {
        const FileTree tree;
        makeBundle(
            tree, "{ CFBundleDevelopmentRegion = fr; Version = \"1.0\"; List = ( a ); Map = { a = b; }; }");
        const Bundle bundle(tree.path(text("A.app/")));
        QVERIFY(bundle.exists());
        QCOMPARE(bundle.path(), tree.path(text("A.app")));
        QCOMPARE(bundle.resourcePath(), tree.path(text("A.app/Contents/Resources")));
        QCOMPARE(bundle.developmentLocalization(), text("fr"));
        QCOMPARE(bundle.infoText(text("Version")), text("1.0"));
        for (const char* key : { "List", "Map", "Absent" })
            QVERIFY2(!bundle.infoText(text(key)), key);
        QCOMPARE(bundle.identifier(), QString());
    }

    void damagedInformationReadsAsNone()
    {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("Info.plist cannot be read: line 1")));
        const FileTree tree;
        const Bundle bundle = makeBundle(tree, "{ CFBundleIdentifier = a; ");
        QVERIFY(bundle.exists());
        QCOMPARE(bundle.identifier(), QString());
    }

    void localizationsAreTheLprojFoldersInOrder()
    {
        const FileTree tree;
        for (const char* folder : { "pt-BR", "pt", "de", "Base", "zh-Hans", "en" })
            tree.write(tableOf(folder), {});
        tree.write(text("A.app/Contents/Resources/fr.lproj"), "a file");
        tree.write(text("A.app/Contents/Resources/it.other/a"), {});
        QCOMPARE(Bundle(tree.path(text("A.app"))).localizations(),
            QStringList(
                { text("Base"), text("de"), text("en"), text("pt"), text("pt-BR"), text("zh-Hans") }));
    }

    void textsComeFromTheLanguagesTable()
    {
        const FileTree tree;
        tree.write(tableOf("de"), "\"Memory\" = \"Speicher\"; \"List\" = ( a ); \"Blank\" = \"\";");
        tree.write(tableOf("fr"), "\"Memory\" = \"Mémoire\";");
        tree.write(text("A.app/Contents/Resources/it.lproj/other"), {});
        // The program does not read a table outside of the bundle.
        tree.write(text("outside.lproj/Localizable.strings"), "Memory = reached;");
        const Bundle bundle(tree.path(text("A.app")));
        const struct {
            const char* key;
            const char* localization;
            const char* text;
        } rows[] {
            { "Memory", "de", "Speicher" },
            { "Memory", "fr", "Mémoire" },
            { "Blank", "de", "" },
            { "List", "de", "List" },
            { "Absent", "de", "Absent" },
            { "Memory", "it", "Memory" },
            { "Memory", "es", "Memory" },
            { "Memory", "", "Memory" },
            { "Memory", "../../../outside", "Memory" },
        };
        for (const auto& row : rows)
            QCOMPARE_ROW(row.localization, textIn(bundle, row.key, row.localization), text(row.text));
    }

    void damagedTableGivesTheKeys()
    {
        const FileTree tree;
        tree.write(tableOf("de"), "\"a\" = \"b\";\n\"c\" = ;");
        const Bundle bundle(tree.path(text("A.app")));
        // The warning comes once, not for every text.
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(text("Localizable.strings cannot be read: line 2")));
        QTest::failOnWarning(QRegularExpression(text("cannot be read")));
        QCOMPARE(textIn(bundle, "a", "de"), text("a"));
        QCOMPARE(textIn(bundle, "a", "de"), text("a"));
    }

    void copiesShareWhatWasRead()
    {
        const FileTree tree;
        tree.write(tableOf("de"), "a = b;");
        const Bundle bundle(tree.path(text("A.app")));
        const Bundle copy = bundle; // NOLINT(performance-unnecessary-copy-initialization): it is the point
        QCOMPARE(textIn(bundle, "a", "de"), text("b"));
        tree.write(tableOf("de"), "a = c;");
        QCOMPARE(textIn(copy, "a", "de"), text("b"));
        QCOMPARE(textIn(Bundle(bundle.path()), "a", "de"), text("c"));
    }
};

KESTRUM_TEST_MAIN_OF(BundleTest)(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], describeMain) == 0)
        return printMainBundle();
    TestHome home;
    QCoreApplication application(argc, argv);
    BundleTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "BundleTest.moc"
