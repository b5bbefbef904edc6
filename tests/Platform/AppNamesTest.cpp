#include "Platform/Machine/AppNames.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QRandomGenerator>
#include <optional>
#include <sys/stat.h>

using namespace kestrum;
using namespace std::chrono_literals;

class AppNamesTest : public QObject {
    Q_OBJECT
private:
    static constexpr time_t longAgo = 1'000'000'000;

    void add(const QString& file, const QByteArray& keys) const
    {
        m_tree->write(file, "[Desktop Entry]\nType=Application\n" + keys);
        setTimes(QFileInfo(m_tree->path(file)).path(), longAgo);
    }
    AppNames names(const QString& language = QStringLiteral("en")) const
    {
        AppNames names({ m_tree->path(QStringLiteral("user")), m_tree->path(QStringLiteral("system")),
            m_tree->path(QStringLiteral("absent")) });
        names.update(language, 1h);
        return names;
    }
    static QString nameOf(const AppNames::Entry* entry)
    {
        return entry ? entry->name : QStringLiteral("none");
    }
    QString nameIn(const char* language, const QString& id) const
    {
        return nameOf(names(QLatin1StringView(language)).entry(id));
    }

    std::optional<FileTree> m_tree;

private Q_SLOTS:
    void init() { m_tree.emplace(); }

    void nameIsInTheInterfaceLanguage()
    {
        add(QStringLiteral("system/applications/files.desktop"),
            "Name=Files\nName[de]=Dateien\nName[pt]=Ficheiros\nName[pt_BR]=Arquivos\nName[zh_CN]=文件\n"
            "Name[zh_TW]=檔案\nName[de_AT]=Sackerl\n\n[Desktop Action new]\nName=New Window\nName[de]=Neues "
            "Fenster\n");
        const struct {
            const char* language;
            const char* name;
        } rows[] { { "en", "Files" }, { "de", "Dateien" }, { "pt-BR", "Arquivos" }, { "zh-Hans", "文件" },
            { "zh-Hant", "檔案" }, { "fr", "Files" }, { "", "Files" } };
        for (const auto& row : rows)
            QCOMPARE_ROW(
                row.language, nameIn(row.language, QStringLiteral("files")), QString::fromUtf8(row.name));
        add(QStringLiteral("system/applications/plain.desktop"), "Name=A\nName[pt]=B\n");
        QCOMPARE(nameIn("pt-BR", QStringLiteral("plain")), QStringLiteral("B"));
        // The untranslated name may come after the others.
        add(QStringLiteral("system/applications/late.desktop"), "Name[de]=B\nName=A\n");
        QCOMPARE(nameIn("de", QStringLiteral("late")), QStringLiteral("B"));
    }

    void entryIsFoundByItsIdItsWindowOrItsProgram()
    {
        add(QStringLiteral("system/applications/org.gnome.Nautilus.desktop"),
            "Name=Files\nExec=nautilus --new-window %U\nStartupWMClass=Org.gnome.Nautilus\n");
        add(QStringLiteral("system/applications/kde/old.desktop"), "Name=Old\nExec=\"/opt/an app/old\" -x\n");
        const AppNames names = this->names();
        const struct {
            const char* name;
            const AppNames::Entry* entry;
            QString found;
        } rows[] {
            { "id", names.entry(QStringLiteral("org.gnome.Nautilus")), QStringLiteral("Files") },
            { "id with a folder", names.entry(QStringLiteral("kde-old")), QStringLiteral("Old") },
            { "no window as an id", names.entry(QStringLiteral("Org.gnome.Nautilus")),
                QStringLiteral("none") },
            { "window", names.entryOfApp(QStringLiteral("Org.gnome.Nautilus")), QStringLiteral("Files") },
            { "program as an app", names.entryOfApp(QStringLiteral("nautilus")), QStringLiteral("Files") },
            { "program", names.entryOfProgram("nautilus"), QStringLiteral("Files") },
            { "quoted program", names.entryOfProgram("old"), QStringLiteral("Old") },
            { "no program", names.entryOfProgram("thunar"), QStringLiteral("none") },
            { "no name at all", names.entryOfProgram(QByteArray()), QStringLiteral("none") },
            { "empty", names.entryOfApp(QString()), QStringLiteral("none") },
        };
        for (const auto& row : rows)
            QCOMPARE_ROW(row.name, nameOf(row.entry), row.found);
    }

    void programOfSeveralEntriesBelongsToTheClearestOne()
    {
        const auto addAll = [this](const char* program,
                                std::initializer_list<std::pair<const char*, const char*>> entries) {
            for (const auto& [id, keys] : entries)
                add(QStringLiteral("system/applications/") + QLatin1StringView(id)
                        + QStringLiteral(".desktop"),
                    QByteArray("Name=") + id + "\nExec=" + program + '\n' + keys);
        };
        addAll("libreoffice", { { "libreoffice-writer", "" }, { "libreoffice-calc", "" } });
        addAll("nautilus", { { "org.gnome.Nautilus", "" }, { "nautilus-autorun", "" } });
        addAll("panel",
            { { "one.panel.x", "NoDisplay=true\n" }, { "settings", "" },
                { "two.panel.x", "NoDisplay=true\n" } });
        addAll("xterm", { { "debian-xterm", "" } });
        const AppNames names = this->names();
        QCOMPARE(nameOf(names.entryOfProgram("libreoffice")), QStringLiteral("none"));
        QCOMPARE(nameOf(names.entryOfProgram("nautilus")), QStringLiteral("org.gnome.Nautilus"));
        QCOMPARE(nameOf(names.entryOfProgram("panel")), QStringLiteral("settings"));
        QCOMPARE(nameOf(names.entryOfProgram("xterm")), QStringLiteral("debian-xterm"));
    }

    void usersEntryComesBeforeTheSystems()
    {
        add(QStringLiteral("user/applications/a.desktop"), "Name=Mine\n");
        add(QStringLiteral("system/applications/a.desktop"), "Name=Theirs\n");
        add(QStringLiteral("user/applications/b.desktop"), "Name=Off\nHidden=true\n");
        add(QStringLiteral("system/applications/b.desktop"), "Name=Theirs\n");
        QCOMPARE(nameIn("en", QStringLiteral("a")), QStringLiteral("Mine"));
        QCOMPARE(nameIn("en", QStringLiteral("b")), QStringLiteral("none"));
    }

    void entriesAreReadAgainOnlyAfterAChange()
    {
        add(QStringLiteral("system/applications/a.desktop"), "Name=A\nName[de]=B\n");
        AppNames names = this->names();
        std::chrono::seconds now = 1h;
        const auto updates = [&](const char* language) {
            now += AppNames::lookPause;
            return names.update(QLatin1StringView(language), now);
        };
        QVERIFY(!updates("en"));
        QVERIFY(updates("de"));
        QCOMPARE(nameOf(names.entry(QStringLiteral("a"))), QStringLiteral("B"));
        QVERIFY(!updates("de"));

        m_tree->write(QStringLiteral("system/applications/new.desktop"), "[Desktop Entry]\nName=New\n");
        QVERIFY(updates("de"));
        QCOMPARE(nameOf(names.entry(QStringLiteral("new"))), QStringLiteral("New"));
        // A folder that was not there.
        add(QStringLiteral("user/applications/a.desktop"), "Name=Mine\n");
        QVERIFY(updates("de"));
        QCOMPARE(nameOf(names.entry(QStringLiteral("a"))), QStringLiteral("Mine"));
        QVERIFY(QDir(m_tree->path(QStringLiteral("user"))).removeRecursively());
        QVERIFY(updates("de"));
        QCOMPARE(nameOf(names.entry(QStringLiteral("a"))), QStringLiteral("B"));
    }

    // A network home that does not answer lets whoever looks wait.
    void foldersAreLookedAtEveryHalfMinuteAtMost()
    {
        const QString english = QStringLiteral("en");
        AppNames names = this->names(); // looks at 1 h
        add(QStringLiteral("system/applications/a.desktop"), "Name=A\n");
        QVERIFY(!names.update(english, 1h + 29s));
        QCOMPARE(names.entry(QStringLiteral("a")), nullptr);
        QVERIFY(names.update(english, 1h + 30s));
        // A look without a change counts too.
        QVERIFY(!names.update(english, 1h + 60s));
        add(QStringLiteral("system/applications/b/c.desktop"), "Name=C\n");
        setTimes(m_tree->path(QStringLiteral("system/applications")), longAgo + 1);
        QVERIFY(!names.update(english, 1h + 89s));
        QVERIFY(names.update(english, 1h + 90s));
    }

    void damagedEntriesDoNoHarm()
    {
        const QString folder = QStringLiteral("system/applications/");
        m_tree->write(folder + QStringLiteral("empty.desktop"), {});
        m_tree->write(folder + QStringLiteral("headless.desktop"), "Name=A\n");
        m_tree->write(folder + QStringLiteral("other.desktop"), "[Other]\nName=A\n");
        m_tree->write(folder + QStringLiteral(".desktop"), "[Desktop Entry]\nName=A\n");
        m_tree->write(
            folder + QStringLiteral("huge.desktop"), "[Desktop Entry]\nName=A\n" + QByteArray(2 << 20, '#'));
        add(folder + QStringLiteral("quotes.desktop"), "Name=Quotes\nExec=\"unfinished\n");
        add(folder + QStringLiteral("escapes.desktop"), "Name = Tea\\s\\\\ \\n Time\\\n=\nExec\n");
        m_tree->write(folder + QStringLiteral("windows.desktop"), "\r\n[Desktop Entry]\r\nName=Windows\r\n");
        QCOMPARE(
            ::mkfifo(
                QFile::encodeName(m_tree->path(folder + QStringLiteral("pipe.desktop"))).constData(), 0600),
            0);
        QVERIFY(QDir().mkpath(m_tree->path(folder + QStringLiteral("folder.desktop"))));
        QVERIFY(QFile::link(m_tree->path(folder), m_tree->path(folder + QStringLiteral("circle"))));
        QVERIFY(
            QFile::link(QStringLiteral("/nowhere"), m_tree->path(folder + QStringLiteral("lost.desktop"))));
        const AppNames names = this->names();
        for (const char* id : { "empty", "headless", "other", "", "huge", "pipe", "folder", "lost" })
            QCOMPARE_ROW(id, nameOf(names.entry(QLatin1StringView(id))), QStringLiteral("none"));
        QCOMPARE(nameOf(names.entry(QStringLiteral("quotes"))), QStringLiteral("Quotes"));
        QCOMPARE(nameOf(names.entry(QStringLiteral("escapes"))), QStringLiteral("Tea \\   Time\\"));
        QCOMPARE(nameOf(names.entry(QStringLiteral("windows"))), QStringLiteral("Windows"));

        QRandomGenerator random(3);
        for (int i = 0; i < 200; ++i) {
            QByteArray text = "[Desktop Entry]\nName=A\nName[de]=B\nExec=env A=b flatpak run --command=a b\n";
            for (int changes = 0; changes < 6; ++changes)
                text[random.bounded(text.size())] = char(random.bounded(256));
            m_tree->write(folder + QStringLiteral("random%1.desktop").arg(i), text);
        }
        this->names(QStringLiteral("de"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AppNamesTest)
#include "AppNamesTest.moc"
