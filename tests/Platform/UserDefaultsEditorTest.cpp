#include "Platform/Store/GenerationCounter.h"
#include "Platform/Store/SettingsFile.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/ObservedSuite.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QSet>
#include <QThread>
#include <QTimer>
#include <functional>
#include <sys/stat.h>
#include <vector>

using namespace kestrum;

/// Programs that save the file in several steps. The file is missing or incomplete between these steps. The steps are those of
/// real editors, with longer pauses.
class UserDefaultsEditorTest : public QObject, ObservedSuite {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        nextSuite();
        const auto store = opened();
        QVERIFY(store->set("language", QStringLiteral("de")));
        write(path(), textIn("de"));
    }

    void savingInStepsShowsOnlyOldAndNew_data() { addWays(Gaps::all); }

    void savingInStepsShowsOnlyOldAndNew()
    {
        Observed observed(m_suite);
        observed.store->registerDefaults(json({ { "language", QStringLiteral("system") } }));
        // A store without observers reads the file again only if the counter has changed.
        const auto reader = opened();
        const auto counter = GenerationCounter::open(m_suite);
        QSet<QString> seen;
        const auto read = [&] {
            counter->advance();
            seen.insert(reader->string("language").value_or(QStringLiteral("absent")));
            seen.insert(observed.store->string("language").value_or(QStringLiteral("absent")));
        };
        connect(observed.store.get(), &UserDefaults::changed, observed.store.get(),
            [&] { seen.insert(observed.store->string("language").value_or(QString())); });
        QTimer often;
        connect(&often, &QTimer::timeout, observed.store.get(), read);
        const QStringList languages { QStringLiteral("de"), QStringLiteral("fr"), QStringLiteral("pl") };
        for (int round = 1; round <= 2; ++round) {
            seen.clear();
            // In the first round, only the watch reads the file. In the second round, a timer also reads it between the steps.
            if (round == 2)
                often.start(3);
            for (const Step& step : stepsTo(qUtf8Printable(languages[round]))) {
                step();
                QTest::qWait(pause);
            }
            QTRY_COMPARE_WITH_TIMEOUT(observed.store->string("language"), languages[round], longestDelay);
            often.stop();
            read();
            QCOMPARE(reader->string("language"), languages[round]);
            seen.remove(languages[round]);
            seen.remove(languages[round - 1]);
            QVERIFY2(seen.isEmpty(), qUtf8Printable(seen.values().join(u',')));
        }
    }

    void fileThatStaysAwayIsBelievedGone()
    {
        Observed observed(m_suite);
        observed.store->registerDefaults(json({ { "language", QStringLiteral("system") } }));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(QFile::remove(path()));
        QTest::qWait(believedAfter / 2);
        const auto meanwhile = observed.store->string("language");
        const int notices = observed.notices;
        if (timer.elapsed() < believedAfter) { // only if the machine was fast enough
            QCOMPARE(meanwhile, QStringLiteral("de"));
            QCOMPARE(notices, 0);
        }
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
        QVERIFY(timer.elapsed() >= believedAfter);
        QCOMPARE(observed.store->string("language"), QStringLiteral("system"));
        // A store without observers also finds the change.
        QCOMPARE(opened()->string("language"), std::nullopt);
    }

    void fileThatStaysBlankIsBelieved()
    {
        Observed observed(m_suite);
        write(path(), " \n");
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
        QVERIFY(observed.store->storedDictionary().isEmpty());
    }

    void halfWrittenFileIsNotReadBeforeItIsClosed()
    {
        Observed observed(m_suite);
        const QByteArray text = textIn("fr");
        const int file = openedFor(QFile::encodeName(path()), O_TRUNC);
        put(file, text.left(text.size() / 2));
        // Longer than the time until the store accepts a missing or blank file.
        QTest::qWait(3 * believedAfter);
        QCOMPARE(observed.notices, 0);
        QCOMPARE(observed.store->string("language"), QStringLiteral("de"));
        put(file, text.mid(text.size() / 2));
        ::close(file);
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
        QCOMPARE(observed.store->string("language"), QStringLiteral("fr"));

        // An incomplete file that is closed counts as damaged.
        write(path(), text.left(text.size() - 3));
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 2, longestDelay);
    }

    void saveBetweenTheStepsLosesNothing_data() { addWays(Gaps::inTheFolder); }

    void saveBetweenTheStepsLosesNothing()
    {
        const qsizetype count = qsizetype(stepsTo("fr").size());
        for (qsizetype at = 0; at < count; ++at) {
            const char* const language = at % 2 == 0 ? "fr" : "de";
            const Steps steps = stepsTo(language);
            const auto store = opened();
            for (qsizetype i = 0; i <= at; ++i)
                steps[size_t(i)]();
            const auto editor = goesOnBehind(steps, at);
            const bool isSaved = store->set("ours", double(at));
            QVERIFY(editor->wait(5000));
            QVERIFY2(isSaved, qUtf8Printable(store->lastError()));
            const auto content = SettingsFile(path()).read();
            const auto values = [&] {
                return QByteArray::number(at) + ": "
                    + QJsonDocument(content->values).toJson(QJsonDocument::Compact);
            };
            // If the editor has not moved the file away before the save, the editor may overwrite the saved value.
            QVERIFY2(content->damage.isEmpty() && content->values.contains(u"others"), values().constData());
            QVERIFY2(content->values.value(u"language") == QLatin1StringView(language)
                    || content->values.value(u"ours") == double(at),
                values().constData());
            QFile::remove(path() + u'~');
            write(path(), textIn(language));
            QTest::qWait(1);
        }
    }

    void saveIntoAHalfWrittenFileIsRefused()
    {
        const auto store = opened();
        const QByteArray text = textIn("fr");
        const int file = openedFor(QFile::encodeName(path()), O_TRUNC);
        put(file, text.left(text.size() / 2));
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!store->set("ours", 1));
        QVERIFY(timer.elapsed() < 3000);
        QVERIFY2(store->lastError().contains(QStringLiteral("another program is writing it")),
            qUtf8Printable(store->lastError()));
        QCOMPARE(contentOf(path()), text.left(text.size() / 2));
        put(file, text.mid(text.size() / 2));
        ::close(file);
        QVERIFY2(store->set("ours", 1), qUtf8Printable(store->lastError()));
        QCOMPARE(storedLanguage(), QStringLiteral("fr"));
        QCOMPARE(store->number("ours"), 1.0);
        QVERIFY(!QFile::exists(path() + QStringLiteral(".damaged-1")));
    }

    void storeThatIsOpenedBetweenTheStepsReadsTheFile_data() { addWays(Gaps::withAnOpenFile); }

    void storeThatIsOpenedBetweenTheStepsReadsTheFile()
    {
        const qsizetype count = qsizetype(stepsTo("fr").size());
        for (qsizetype at = 0; at < count; ++at) {
            const char* const language = at % 2 == 0 ? "fr" : "de";
            const Steps steps = stepsTo(language);
            for (qsizetype i = 0; i <= at; ++i)
                steps[size_t(i)]();
            const auto editor = goesOnBehind(steps, at);
            const auto read = opened()->string("language").value_or(QStringLiteral("absent"));
            QVERIFY(editor->wait(5000));
            QVERIFY2(read == QStringLiteral("de") || read == QStringLiteral("fr"),
                (QByteArray::number(at) + ": " + read.toUtf8()).constData());
        }
    }

    void nobodyWaitsForAFileThatIsNotMissing()
    {
        const auto timeOfOpening = [this] {
            QElapsedTimer timer;
            timer.start();
            const auto store = opened();
            return timer.elapsed();
        };
        const auto fastest = [&timeOfOpening] {
            return std::min({ timeOfOpening(), timeOfOpening(), timeOfOpening() });
        };
        QVERIFY(fastest() < believedAfter / 2);
        // The file was removed some time ago.
        QVERIFY(QFile::remove(path()));
        setTimes(TestHome::configDirectory(), 1000);
        QVERIFY(fastest() < believedAfter / 2);
        // The file was never saved.
        nextSuite();
        QVERIFY(fastest() < believedAfter / 2);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(opened()->set("a", 1));
        QVERIFY(timer.elapsed() < believedAfter / 2);
        // The file exists, with any content.
        for (const char* text : { "{\"a\": ", "", "{}" }) {
            write(path(), text);
            QVERIFY(fastest() < believedAfter / 2);
        }
    }

private:
    using Step = std::function<void()>;
    using Steps = std::vector<Step>;
    /// Runs the steps after the step at index `at`, on a new thread. `steps` must outlive the thread.
    static std::unique_ptr<QThread> goesOnBehind(const Steps& steps, qsizetype at)
    {
        std::unique_ptr<QThread> editor(QThread::create([&steps, at] {
            for (size_t i = size_t(at) + 1; i < steps.size(); ++i) {
                QThread::msleep(pause / 2);
                steps[i]();
            }
        }));
        editor->start();
        return editor;
    }

    static constexpr int pause = 40;          // ms
    static constexpr int believedAfter = 200; // ms until the store accepts a missing or blank file

    /// The ways of saving that a test uses: all; only those that do not replace the file's folder; or, of these, only those
    /// that never close an incomplete file.
    enum class Gaps { all, inTheFolder, withAnOpenFile };

    /// Adds the ways of saving. Each one is a list of steps for `make`.
    static void addWays(Gaps gaps)
    {
        QTest::addColumn<QByteArray>("way");
        const auto row = [](const char* name, const QByteArray& way) { QTest::newRow(name) << way; };
        const QByteArray halves = "put 0 50, put 50 100, flush, close";
        row("moved away, made anew, old one removed", "mv FILE FILE~, make FILE, " + halves + ", rm FILE~");
        row("emptied and written", "empty FILE, " + halves);
        row("written over and cut", "open FILE, put 0 50, put 50 100, cut, close");
        row("removed and made anew", "rm FILE, create FILE, " + halves);
        row("removed, new one moved in", "make FILE.new, " + halves + ", rm FILE, mv FILE.new FILE");
        row("moved away, new one linked in",
            "make FILE.new, " + halves + ", mv FILE FILE~, ln FILE.new FILE, rm FILE.new, rm FILE~");
        row("replaced in one step", "make FILE.new, " + halves + ", mv FILE.new FILE");
        if (gaps == Gaps::withAnOpenFile)
            return;
        row("emptied, closed, written", "empty FILE, close, append FILE, " + halves);
        row("written piece by piece, closed in between",
            "empty FILE, put 0 20, close, append FILE, put 20 100, close");
        if (gaps == Gaps::inTheFolder)
            return;
        row("folder moved away, another one moved in",
            "mkdir DIR.new, make DIR.new/NAME, " + halves
                + ", mv DIR DIR.old, mv DIR.new DIR, rmdir DIR.old");
    }

    /// Makes one step, such as "mv FILE FILE~". "put FROM TO" writes a part of `text`, from FROM to TO percent, to the file
    /// that was opened last.
    static void make(const QByteArray& step, const QByteArray& text)
    {
        static int file = -1;
        const QByteArrayList words = step.split(' ');
        const QByteArray verb = words[0];
        const char* const one = words.size() > 1 ? words[1].constData() : "";
        const char* const other = words.size() > 2 ? words[2].constData() : "";
        const auto open = [one](int flags) {
            file = openedFor(one, flags);
            return file < 0 ? -1 : 0;
        };
        const qsizetype from = text.size() * std::atoi(one) / 100;
        const int result = verb == "mv" ? ::rename(one, other)
            : verb == "rm"              ? ::unlink(one)
            : verb == "ln"              ? ::link(one, other)
            : verb == "mkdir"           ? ::mkdir(one, 0700)
            : verb == "rmdir"           ? (QDir(QFile::decodeName(one)).removeRecursively() ? 0 : -1)
            : verb == "make"            ? open(O_CREAT | O_TRUNC)
            : verb == "create"          ? open(O_CREAT | O_EXCL)
            : verb == "empty"           ? open(O_TRUNC)
            : verb == "open"            ? open(0)
            : verb == "append"          ? open(O_APPEND)
            : verb == "cut"             ? ::ftruncate(file, text.size())
            : verb == "flush"           ? ::fsync(file)
            : verb == "close"           ? ::close(file)
            : verb == "put" ? (put(file, text.mid(from, text.size() * std::atoi(other) / 100 - from)), 0)
                            : -1;
        QVERIFY2(result == 0, step.constData());
    }

    static QByteArray textIn(const char* language)
    {
        return QByteArray("{\n    \"language\": \"") + language
            + "\",\n    \"others\": 12345678901234567890\n}\n";
    }
    static int openedFor(const QByteArray& path, int flags)
    {
        return ::open(path.constData(), O_WRONLY | O_CLOEXEC | flags, 0600);
    }
    static void put(int file, const QByteArray& bytes)
    {
        QCOMPARE(::write(file, bytes.constData(), size_t(bytes.size())), ssize_t(bytes.size()));
    }
    Steps stepsTo(const char* language) const
    {
        QFETCH(QByteArray, way);
        const QByteArray file = QFile::encodeName(path());
        const qsizetype slash = file.lastIndexOf('/');
        way.replace("FILE", file).replace("DIR", file.left(slash)).replace("NAME", file.mid(slash + 1));
        Steps steps;
        for (const QByteArray& step : way.split(','))
            steps.push_back([step = step.trimmed(), text = textIn(language)] { make(step, text); });
        return steps;
    }
    QString storedLanguage() const
    {
        return SettingsFile(path()).read()->values.value(u"language").toString();
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, UserDefaultsEditorTest)
#include "UserDefaultsEditorTest.moc"
