#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/TestHome.h"

#include <QProcess>
#include <cstdio>

using namespace kestrum;

namespace {

constexpr char describeMain[] = "--describe-main-bundle";

// Runs in a child process. Prints the main bundle's path, whether it exists, and its identifier, one per line.
int printMainBundle()
{
    const Bundle& bundle = Bundle::main();
    std::printf("%s\n%s\n%s\n", qPrintable(bundle.path()), bundle.exists() ? "exists" : "none",
        qPrintable(bundle.identifier()));
    return 0;
}

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

} // namespace

class BundleTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void mainIsTheBundleAroundTheExecutable()
    {
        const FileTree tree;
        const QString outer = tree.path(QStringLiteral("A b.app"));
        tree.write(QStringLiteral("A b.app/Contents/Info.plist"), "{ CFBundleIdentifier = outer; }");
        copyOurselves(outer + QStringLiteral("/Contents/MacOS/Program"));
        QCOMPARE(mainBundleOf(outer + QStringLiteral("/Contents/MacOS/Program")),
            QStringList({ outer, QStringLiteral("exists"), QStringLiteral("outer"), QString() }));
    }

    void mainIsTheInnermostBundle()
    {
        const FileTree tree;
        const QString inner = QStringLiteral("A.app/Contents/Library/LoginItems/B.app");
        tree.write(QStringLiteral("A.app/Contents/Info.plist"), "{ CFBundleIdentifier = outer; }");
        tree.write(inner + QStringLiteral("/Contents/Info.plist"), "{ CFBundleIdentifier = inner; }");
        const QString executable = tree.path(inner + QStringLiteral("/Contents/MacOS/B"));
        copyOurselves(executable);
        QCOMPARE(mainBundleOf(executable),
            QStringList({ tree.path(inner), QStringLiteral("exists"), QStringLiteral("inner"), QString() }));
    }

    void aLinkToTheExecutableLeadsIntoTheBundle()
    {
        const FileTree tree;
        tree.write(QStringLiteral("lib/A.app/Contents/Info.plist"), "{ CFBundleIdentifier = linked; }");
        const QString executable = tree.path(QStringLiteral("lib/A.app/Contents/MacOS/A"));
        copyOurselves(executable);
        const QString link = tree.path(QStringLiteral("a"));
        QVERIFY(QFile::link(executable, link));
        QCOMPARE(mainBundleOf(link).value(2), QStringLiteral("linked"));
    }

    void outsideOfABundleMainIsTheExecutablesFolder_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("plain") << "bin";
        QTest::newRow("no MacOS") << "A.app/Contents/Programs";
        QTest::newRow("no Contents") << "A.app/MacOS";
        QTest::newRow("no suffix") << "A/Contents/MacOS";
    }
    void outsideOfABundleMainIsTheExecutablesFolder()
    {
        QFETCH(QString, folder);
        const FileTree tree;
        const QString executable = tree.path(folder + QStringLiteral("/a"));
        copyOurselves(executable);
        QCOMPARE(mainBundleOf(executable),
            QStringList({ tree.path(folder), QStringLiteral("none"), QString(), QString() }));
    }

    void anotherBundleCanTakeTheMainsPlace()
    {
        const Bundle before = Bundle::main();
        const FileTree tree;
        tree.write(QStringLiteral("A.app/Contents/Info.plist"), "{ CFBundleIdentifier = other; }");
        Bundle::setMain(Bundle(tree.path(QStringLiteral("A.app"))));
        QCOMPARE(Bundle::main().identifier(), QStringLiteral("other"));
        Bundle::setMain(before);
        QCOMPARE(Bundle::main().path(), before.path());
    }

    void absentBundleHasNothing()
    {
        const Bundle bundle(QStringLiteral("/nonexistent/A.app"));
        QVERIFY(!bundle.exists());
        QCOMPARE(bundle.path(), QStringLiteral("/nonexistent/A.app"));
        QCOMPARE(bundle.identifier(), QString());
        QCOMPARE(bundle.developmentLocalization(), std::nullopt);
        QVERIFY(bundle.localizations().isEmpty());
        QCOMPARE(bundle.localizedString(QStringLiteral("a"), QStringLiteral("de")), QStringLiteral("a"));
    }

    void informationIsTextOrNothing()
    {
        const FileTree tree;
        tree.write(QStringLiteral("Contents/Info.plist"),
            "{ CFBundleDevelopmentRegion = fr; Version = \"1.0\"; List = ( a ); Map = { a = b; }; }");
        const Bundle bundle(tree.root() + u'/');
        QVERIFY(bundle.exists());
        QCOMPARE(bundle.path(), tree.root());
        QCOMPARE(bundle.resourcePath(), tree.path(QStringLiteral("Contents/Resources")));
        QCOMPARE(bundle.developmentLocalization(), QStringLiteral("fr"));
        QCOMPARE(bundle.infoText(QStringLiteral("Version")), QStringLiteral("1.0"));
        QCOMPARE(bundle.infoText(QStringLiteral("List")), std::nullopt);
        QCOMPARE(bundle.infoText(QStringLiteral("Map")), std::nullopt);
        QCOMPARE(bundle.infoText(QStringLiteral("Absent")), std::nullopt);
        QCOMPARE(bundle.identifier(), QString());
    }

    void damagedInformationReadsAsNone()
    {
        const FileTree tree;
        tree.write(QStringLiteral("Contents/Info.plist"), "{ CFBundleIdentifier = a; ");
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("Info.plist cannot be read: line 1")));
        const Bundle bundle(tree.root());
        QVERIFY(bundle.exists());
        QCOMPARE(bundle.identifier(), QString());
    }

    void localizationsAreTheLprojFoldersInOrder()
    {
        const FileTree tree;
        for (const char* folder : { "pt-BR", "pt", "de", "Base", "zh-Hans", "en" })
            tree.write(QStringLiteral("Contents/Resources/%1.lproj/Localizable.strings")
                           .arg(QLatin1StringView(folder)),
                {});
        tree.write(QStringLiteral("Contents/Resources/fr.lproj"), "a file");
        tree.write(QStringLiteral("Contents/Resources/it.other/a"), {});
        QCOMPARE(Bundle(tree.root()).localizations(),
            QStringList({ QStringLiteral("Base"), QStringLiteral("de"), QStringLiteral("en"),
                QStringLiteral("pt"), QStringLiteral("pt-BR"), QStringLiteral("zh-Hans") }));
    }

    void textsComeFromTheLanguagesTable()
    {
        const FileTree tree;
        tree.write(QStringLiteral("Contents/Resources/de.lproj/Localizable.strings"),
            "\"Memory\" = \"Speicher\"; \"List\" = ( a ); \"Blank\" = \"\";");
        tree.write(
            QStringLiteral("Contents/Resources/fr.lproj/Localizable.strings"), "\"Memory\" = \"Mémoire\";");
        tree.write(QStringLiteral("Contents/Resources/it.lproj/other"), {});
        const Bundle bundle(tree.root());
        const auto text = [&](const char* key, const char* localization) {
            return bundle.localizedString(QString::fromLatin1(key), QString::fromLatin1(localization));
        };
        QCOMPARE(text("Memory", "de"), QStringLiteral("Speicher"));
        QCOMPARE(text("Memory", "fr"), QStringLiteral("Mémoire"));
        QCOMPARE(text("Blank", "de"), QString());
        QCOMPARE(text("List", "de"), QStringLiteral("List"));
        QCOMPARE(text("Absent", "de"), QStringLiteral("Absent"));
        QCOMPARE(text("Memory", "it"), QStringLiteral("Memory"));
        QCOMPARE(text("Memory", "es"), QStringLiteral("Memory"));
        QCOMPARE(text("Memory", ""), QStringLiteral("Memory"));
    }

    void damagedTableGivesTheKeys()
    {
        const FileTree tree;
        tree.write(
            QStringLiteral("Contents/Resources/de.lproj/Localizable.strings"), "\"a\" = \"b\";\n\"c\" = ;");
        const Bundle bundle(tree.root());
        // The warning comes once, not for every text.
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("Localizable.strings cannot be read: line 2")));
        QTest::failOnWarning(QRegularExpression(QStringLiteral("cannot be read")));
        QCOMPARE(bundle.localizedString(QStringLiteral("a"), QStringLiteral("de")), QStringLiteral("a"));
        QCOMPARE(bundle.localizedString(QStringLiteral("a"), QStringLiteral("de")), QStringLiteral("a"));
    }

    void aTableOutsideOfTheBundleIsNotReached()
    {
        const FileTree tree;
        tree.write(QStringLiteral("outside.lproj/Localizable.strings"), "a = b;");
        tree.write(QStringLiteral("A.app/Contents/Resources/de.lproj/Localizable.strings"), {});
        const Bundle bundle(tree.path(QStringLiteral("A.app")));
        QCOMPARE(bundle.localizedString(QStringLiteral("a"), QStringLiteral("../../../outside")),
            QStringLiteral("a"));
    }

    void copiesShareWhatWasRead()
    {
        const FileTree tree;
        const QString table = QStringLiteral("Contents/Resources/de.lproj/Localizable.strings");
        tree.write(table, "a = b;");
        const Bundle bundle(tree.root());
        const Bundle copy
            = bundle; // NOLINT(performance-unnecessary-copy-initialization): the copy is the point
        QCOMPARE(bundle.localizedString(QStringLiteral("a"), QStringLiteral("de")), QStringLiteral("b"));
        tree.write(table, "a = c;");
        QCOMPARE(copy.localizedString(QStringLiteral("a"), QStringLiteral("de")), QStringLiteral("b"));
        QCOMPARE(Bundle(tree.root()).localizedString(QStringLiteral("a"), QStringLiteral("de")),
            QStringLiteral("c"));
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
