// The shells' completions know every option of every verb.

#include "kestrumctl/Verb.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QTest>

using namespace kestrum;

class CompletionsTest : public QObject {
    Q_OBJECT

    static QString completion(const char* file)
    {
        return QString::fromUtf8(
            contentOf(qEnvironmentVariable("KESTRUM_SOURCE") + text("/packaging/completions/") + text(file)));
    }

    /// Whether `text` has the lines of a case of `verb`, with `option` in them.
    static bool caseHas(const QString& text, const char* verb, const QString& option)
    {
        static const QRegularExpression head(
            QStringLiteral("^ {4,8}([\\w| -]+)\\)"), QRegularExpression::MultilineOption);
        for (auto found = head.globalMatch(text); found.hasNext();) {
            const auto match = found.next();
            const QStringList verbs = match.captured(1).split(QStringLiteral(" | "));
            const QString lines = text.mid(match.capturedEnd());
            if (verbs.contains(QLatin1StringView(verb)))
                return lines.left(lines.indexOf(QStringLiteral(";;"))).contains(option);
        }
        return false;
    }

private Q_SLOTS:
    void everyOptionIsCompleted_data()
    {
        QTest::addColumn<QByteArray>("verb");
        QTest::addColumn<QString>("option");
        for (const Verb* verb : allVerbs()) {
            for (const Option& option : verb->options)
                QTest::addRow("%s %s", verb->name, option.name)
                    << QByteArray(verb->name) << text(option.name);
        }
    }

    void everyOptionIsCompleted()
    {
        QFETCH(const QByteArray, verb);
        QFETCH(const QString, option);
        QVERIFY(caseHas(completion("kestrumctl.bash"), verb, option));
        QVERIFY(caseHas(completion("_kestrumctl"), verb, option));

        const QString fishOption
            = option.startsWith(u"--") ? text("-l ") + option.mid(2) : text("-s ") + option.mid(1);
        bool isInFish = false;
        for (const QString& line : completion("kestrumctl.fish").split(u'\n')) {
            const QStringList verbs
                = line.section(text("__kestrumctl_verb_is "), 1).section(u'\'', 0, 0).split(u' ');
            isInFish = isInFish
                || (verbs.contains(QString::fromUtf8(verb)) && line.contains(u' ' + fishOption + u' '));
        }
        QVERIFY(isInFish);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, CompletionsTest)

#include "CompletionsTest.moc"
