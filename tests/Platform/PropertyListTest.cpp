#include "Platform/Bundle/PropertyList.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <sys/stat.h>

using namespace kestrum;
using Type = PropertyList::Type;

namespace {

std::optional<QString> textOf(const QByteArray& content)
{
    const auto list = PropertyList::parsed(content);
    return list ? list->text() : std::nullopt;
}

std::optional<QString> memberOf(const QByteArray& content, const char* key)
{
    const auto list = PropertyList::parsed(content);
    const auto member = list ? list->value(QString::fromLatin1(key)) : std::nullopt;
    return member ? member->text() : std::nullopt;
}

QByteArray nested(int depth, const char* open, const char* close)
{
    return QByteArray(open).repeated(depth) + QByteArray(close).repeated(depth);
}

// Visits every value of all levels and returns their number. Each key must have a value.
int walked(const PropertyList& list)
{
    int count = 1;
    for (const PropertyList& element : list.list())
        count += walked(element);
    for (const QString& key : list.keys())
        count += walked(list.value(key).value());
    return count;
}

} // namespace

class PropertyListTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsTexts()
    {
        const struct {
            const char* name;
            QByteArray content;
            const char* text;
        } rows[] {
            { "word", "abc", "abc" },
            { "word of all characters", "/a_$b:c.d-9", "/a_$b:c.d-9" },
            { "quoted", "\"a b\"", "a b" },
            { "empty", "\"\"", "" },
            { "UTF-8", "\"Menüleiste\"", "Menüleiste" },
            { "line break inside", "\"a\nb\"", "a\nb" },
            { "comment marks inside", "\"a // b /* c */\"", "a // b /* c */" },
            { "escapes", QByteArray(R"("\"\\\n\t\r\'")"), "\"\\\n\t\r'" },
            { "code unit", R"("\u00fcx\U00FC")", "üxü" },
            { "code unit before a digit", R"("\u00411")", "A1" },
            { "surrogate pair", R"("\uD83D\ude00")", "\U0001F600" },
            { "blanks around", " \t\r\n\v\f a \n", "a" },
            { "comments around", "// one\n/* two\n * ** / */ a // three", "a" },
            { "byte order mark", "\xEF\xBB\xBF\"a\"", "a" },
        };
        for (const auto& row : rows) {
            const auto list = PropertyList::parsed(row.content);
            QVERIFY2(list, qPrintable(list.failureText()));
            QCOMPARE_ROW(row.name, list->type(), Type::text);
            QCOMPARE_ROW(row.name, list->text().value(), QString::fromUtf8(row.text));
        }
    }

    void readsADictionary()
    {
        const auto list = PropertyList::parsed("{ a = 1; \"b c\" = { d = ( e, \"f\" ); }; }");
        QVERIFY(list);
        QCOMPARE(list->type(), Type::dictionary);
        QCOMPARE(list->text(), std::nullopt);
        QCOMPARE(list->keys().size(), 2);
        QCOMPARE(list->value(QStringLiteral("a"))->text(), QStringLiteral("1"));
        const auto inner = list->value(QStringLiteral("b c"))->value(QStringLiteral("d"));
        QCOMPARE(inner->type(), Type::list);
        QCOMPARE(inner->list().size(), 2);
        QCOMPARE(inner->list().at(0).text(), QStringLiteral("e"));
        QCOMPARE(inner->list().at(1).text(), QStringLiteral("f"));
    }

    void readsAListAtTheTop()
    {
        const auto list = PropertyList::parsed("( a, ( ), { } )");
        QCOMPARE(list->type(), Type::list);
        QCOMPARE(list->list().size(), 3);
        QCOMPARE(list->list().at(1).type(), Type::list);
        QCOMPARE(list->list().at(2).type(), Type::dictionary);
        QVERIFY(!list->value(QStringLiteral("a")));
    }

    void aStringsTableHasNoBraces()
    {
        const QByteArray table
            = "/* One */\n\"Menu Bar\" = \"Menüleiste\";\nplain = word; // two\n\"a\"=\"b\";";
        QCOMPARE(memberOf(table, "Menu Bar"), QStringLiteral("Menüleiste"));
        QCOMPARE(memberOf(table, "plain"), QStringLiteral("word"));
        QCOMPARE(memberOf(table, "a"), QStringLiteral("b"));
        QCOMPARE(memberOf(table, "absent"), std::nullopt);
    }

    void aBlankFileIsAnEmptyTable()
    {
        for (const char* content : { "", " \n\t", "// nothing", "/* nothing */\n", "\xEF\xBB\xBF" }) {
            const auto list = PropertyList::parsed(content);
            QVERIFY2(list, content);
            QCOMPARE(list->type(), Type::dictionary);
            QVERIFY(list->keys().isEmpty());
        }
    }

    void lastSeparatorIsOptional()
    {
        QCOMPARE(memberOf("{ a = b }", "a"), QStringLiteral("b"));
        QCOMPARE(memberOf("{ a = b; }", "a"), QStringLiteral("b"));
        QCOMPARE(memberOf("a = b", "a"), QStringLiteral("b"));
        QCOMPARE(PropertyList::parsed("( a, b )")->list().size(), 2);
        QCOMPARE(PropertyList::parsed("( a, b, )")->list().size(), 2);
    }

    void lastOfDuplicateKeysWins()
    {
        QCOMPARE(memberOf("{ a = 1; b = 2; a = 3; }", "a"), QStringLiteral("3"));
        QCOMPARE(memberOf("a = 1; \"a\" = 2;", "a"), QStringLiteral("2"));
    }

    void slashesInsideAWordAreNoComment()
    {
        QCOMPARE(memberOf("a = http://b/c;\n", "a"), QStringLiteral("http://b/c"));
        QCOMPARE(memberOf("a = /b/c; // d", "a"), QStringLiteral("/b/c"));
        // The text is refused, not cut without a message.
        QVERIFY(!PropertyList::parsed("a = b// c\n;"));
    }

    void hostileTextIsRefused_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* name, const QByteArray& content, const char* error) {
            QTest::newRow(name) << content << QString::fromLatin1(error);
        };
        row("open brace", "{", "line 1: unexpected end");
        row("open parenthesis", "\n(", "line 2: unexpected end");
        row("open member", "{ a", "line 1: \"=\" is missing");
        row("open value", "{ a =", "line 1: unexpected end");
        row("open quote", "\n\n\"abc\n\n", "line 3: a quoted text without an end");
        row("quote ended by an escape", "\"abc\\\"", "line 1: a quoted text without an end");
        row("escape at the end", "\"abc\\", "line 1: an unknown escape");
        row("open comment", "a\n/* b", "line 2: a comment without an end");
        row("half comment end", "/*/", "line 1: a comment without an end");
        row("wrong closing", "{ a = b; )", "line 1: unexpected character U+0029");
        row("wrong closing of a list", "( a }", "line 1: \",\" is missing");
        row("closing only", "}", "line 1: unexpected character U+007d");
        row("two texts", "a b", "line 1: unexpected character U+0062");
        row("after the end", "{ } x", "line 1: unexpected character U+0078");
        row("missing semicolon", "\"a\" = \"b\"\n\"c\" = \"d\";", "line 2: \";\" is missing");
        row("missing comma", "( a b )", "line 1: \",\" is missing");
        row("missing value", "a = ;", "line 1: unexpected character U+003b");
        row("missing key", "{ = b; }", "line 1: unexpected character U+003d");
        row("two commas", "( a,, b )", "line 1: unexpected character U+002c");
        row("two semicolons", "{ a = b;; }", "line 1: unexpected character U+003b");
        row("key is a list", "{ (a) = b; }", "line 1: unexpected character U+0028");
        row("unknown escape", "\"\\x41\"", "line 1: an unknown escape");
        row("three hexadecimal digits", "\"\\u041\"", "line 1: four hexadecimal digits are missing");
        row("half a surrogate pair", "\"\\uD83D\"", "line 1: half of a surrogate pair");
        row("wrong order of surrogates", "\"\\uDE00\\uD83D\"", "line 1: half of a surrogate pair");
        row("data", "{ a = <00ff>; }", "line 1: unexpected character U+003c");
        row("XML", "<?xml version=\"1.0\"?>\n<plist/>", "line 1: unexpected character U+003c");
        row("JSON", "{\"a\": 1}", "line 1: \"=\" is missing");
        row("binary", QByteArray("bplist00\xD0\x08", 10), "line 1: not UTF-8");
        row("UTF-16", QByteArray("\xFF\xFE\x61\0", 4), "line 1: not UTF-8");
        row("cut UTF-8", "a = b;\nc = \"\xC3", "line 2: not UTF-8");
        row("overlong UTF-8", "\"\xC0\xAF\"", "line 1: not UTF-8");
        row("surrogate in UTF-8", "\"\xED\xA0\x80\"", "line 1: not UTF-8");
        row("zeros only", QByteArray(4096, '\0'), "line 1: unexpected character U+0000");
        row("zeros inside a quote", QByteArray("\"a\0\0\"", 5), "line 1: a quoted text without an end");
        row("zeros at the end", QByteArray("a = b;\0\0", 8), "line 1: unexpected character U+0000");
        row("hard blank", "a\xC2\xA0= b;", "line 1: unexpected character U+00a0");
        row("nested too deep", nested(33, "(", ")"), "line 1: nested more than 32 levels deep");
        row("nested without an end", QByteArray(1024 * 1024, '('), "line 1: nested more than 32 levels deep");
        row("dictionaries without an end", QByteArray("{a=").repeated(300000),
            "line 1: nested more than 32 levels deep");
        row("text too long", "a = b;\nc = \"" + QByteArray(1025, 'd') + "\";",
            "line 2: a text of more than 1024 characters");
        row("escapes too long", '"' + QByteArray("\\n").repeated(500'000) + '"',
            "line 1: a text of more than 1024 characters");
        row("word too long", "(a,\n" + QByteArray(1'000'000, 'b') + ")",
            "line 2: a text of more than 1024 characters");
        row("too large", QByteArray(1024 * 1024 + 1, ' '), "larger than 1048576 bytes");
    }
    void hostileTextIsRefused()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, error);
        QElapsedTimer timer;
        timer.start();
        const auto list = PropertyList::parsed(content);
        QVERIFY(timer.elapsed() < 1000);
        QCOMPARE(list.failureText(), error);
    }

    void aTextMayBeAsLongAsAPageOfThem()
    {
        const QByteArray longest = QByteArray("ü").repeated(PropertyList::maximumTextLength);
        QCOMPARE(textOf('"' + longest + '"'), QString::fromUtf8(longest));
        QCOMPARE(textOf(QByteArray(PropertyList::maximumTextLength, 'a'))->size(),
            PropertyList::maximumTextLength);
    }

    void depthIsCountedByContainers()
    {
        QVERIFY(PropertyList::parsed(nested(PropertyList::maximumDepth, "(", ")")));
        QVERIFY(PropertyList::parsed(QByteArray("{a=").repeated(32) + "b" + QByteArray("}").repeated(32)));
        // Containers side by side do not add to the depth.
        QVERIFY(PropertyList::parsed('(' + QByteArray("((a),(b)),").repeated(1000) + ')'));
    }

    void largestFileIsRead()
    {
        const QByteArray content
            = '(' + QByteArray("a,").repeated((PropertyList::maximumBytes - 2) / 2) + ')';
        QCOMPARE(content.size(), PropertyList::maximumBytes);
        const auto list = PropertyList::parsed(content);
        QVERIFY(list);
        QCOMPARE(list->list().size(), (PropertyList::maximumBytes - 2) / 2);
    }

    // A valid text that was cut or changed at random is either read completely or refused with a reason.
    void damagedTextNeverHarms()
    {
        const QByteArray sound
            = "/* c */ { \"a\\u00fc\\n\" = ( b, \"c\\\"\", { d = e; }, ); // f\n \"g h\" = i/j; }";
        QVERIFY(PropertyList::parsed(sound));
        QRandomGenerator random(20240501);
        static constexpr char letters[] = "{}()=;,\"\\/*uU0aF\n \0\xC3\xBC\xFF";
        const QByteArray alphabet(letters, sizeof(letters) - 1);
        int read = 0;
        int refused = 0;
        for (int round = 0; round < 20000; ++round) {
            QByteArray text = sound;
            for (int change = random.bounded(4); change >= 0; --change) {
                const int position = int(random.bounded(quint32(text.size())));
                switch (random.bounded(4)) {
                case 0:
                    text.truncate(position + 1);
                    break;
                case 1:
                    text.remove(position, 1);
                    break;
                default:
                    text.insert(position, alphabet.at(int(random.bounded(quint32(alphabet.size())))));
                }
                if (text.isEmpty())
                    text = "x";
            }
            if (const auto list = PropertyList::parsed(text)) {
                ++read;
                QVERIFY(walked(*list) > 0);
            } else {
                ++refused;
                QVERIFY2(list.failureText().startsWith(QLatin1StringView("line ")), text.constData());
            }
        }
        QVERIFY(read > 500);
        QVERIFY(refused > 5000);
    }

    void filesAreReadUnlessTheyAreNoneOrTooLarge()
    {
        const FileTree tree;
        tree.write(QStringLiteral("a.plist"), "{ a = b; }");
        const auto list = PropertyList::fromFile(tree.path(QStringLiteral("a.plist")));
        QVERIFY2(list, qPrintable(list.failureText()));
        QCOMPARE(list->value(QStringLiteral("a"))->text(), QStringLiteral("b"));

        const QString fifo = tree.path(QStringLiteral("fifo"));
        QCOMPARE(::mkfifo(fifo.toUtf8().constData(), 0600), 0);
        for (const QString& path : { tree.path(QStringLiteral("absent")), tree.root(), fifo })
            QCOMPARE(PropertyList::fromFile(path).failureText(), QStringLiteral("no such file"));

        tree.write(QStringLiteral("large"), QByteArray(PropertyList::maximumBytes + 1, ' '));
        QCOMPARE(PropertyList::fromFile(tree.path(QStringLiteral("large"))).failureText(),
            QStringLiteral("larger than 1048576 bytes"));
    }

    void aTextHasNoMembers()
    {
        QCOMPARE(textOf("abc"), QStringLiteral("abc"));
        const auto list = PropertyList::parsed("abc");
        QVERIFY(list->list().isEmpty());
        QVERIFY(list->keys().isEmpty());
        QVERIFY(!list->value(QStringLiteral("abc")));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, PropertyListTest)
#include "PropertyListTest.moc"
