// The switch "Launch Kestrum at login" of the built program, used by an ordinary user, since root gets no login item.

#include "tests/Support/DesktopTest.h"
#include "tests/Support/OrdinaryUser.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

using Programs::patience;

class LoginItemEndToEndTest : public DesktopTest {
    Q_OBJECT

    std::unique_ptr<QProcess> m_kestrum;
    QByteArray m_window;

    static QString autostart(const char* entry)
    {
        return QFile::decodeName(qgetenv("XDG_CONFIG_HOME")) + text("/autostart/") + text(entry);
    }
    static QString item() { return autostart("com.orvale.kestrum.agent.desktop"); }
    static QString legacyItem() { return autostart("com.orvale.kestrum.desktop"); }

    void furnish() override
    {
        if (::geteuid() != 0)
            return;
        // Gives the ordinary user access to the programs and to the user's own folders.
        for (const QString& folder : { TestHome::root(), QFileInfo(fixture().bundle()).path() })
            QCOMPARE(::chmod(QFile::encodeName(folder).constData(), 0711), 0);
        for (const QByteArray& folder : { qgetenv("XDG_CONFIG_HOME"), qgetenv("XDG_RUNTIME_DIR") })
            Programs::output(text("chown"), words("-R 65534") << QFile::decodeName(folder));
    }

    void write(const char* key, const char* json) const
    {
        outputAsUser({ fixture().program("kestrumctl"), text("write"), text(key), text(json) });
    }

    /// Opens the window on the page with the switch.
    void open(const QStringList& arguments)
    {
        m_kestrum = startedAsUser(QStringList(fixture().program("Kestrum")) + arguments);
        m_window = DesktopFixture::windowOf(m_kestrum->processId());
        QVERIFY2(!m_window.isEmpty(), m_kestrum->readAllStandardError().constData());
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), m_window, patience);
        QTest::qWait(300);
    }

    // Clicks the switch in the page's first row. The place is relative to the window, which is 640 wide.
    void clickSwitch() const { DesktopFixture::click({ 593, 60 }, m_window); }

private Q_SLOTS:
    void init()
    {
        write("agentEnabled", "false");
        write("settingsPane", "\"general\"");
        fixture().turnToOther();
    }

    void cleanup()
    {
        if (m_kestrum)
            Programs::end(*m_kestrum);
        m_kestrum.reset();
        QFile::remove(item());
        QFile::remove(legacyItem());
    }

    void theSwitchWritesTheEntryAndTakesItAway()
    {
        open({});
        clickSwitch();
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(item()), patience);
        clickSwitch();
        QTRY_VERIFY_WITH_TIMEOUT(!QFile::exists(item()), patience);
    }

    void startedWithTheArgumentNothingIsTouched()
    {
        write("didUnregisterLegacyLoginItem", "false");
        kestrum::write(legacyItem(), {});
        open(words("-KestrumNoLoginItem"));
        clickSwitch();
        QTest::qWait(1000);
        QVERIFY(!QFile::exists(item()));
        QVERIFY(QFile::exists(legacyItem()));
    }

    void theAgentNeverWritesOne()
    {
        for (const QStringList& arguments : { QStringList(), QStringList(text("-KestrumNoLoginItem")) }) {
            const auto agent = startedAsUser(QStringList(fixture().agentProgram()) + arguments);
            QTRY_VERIFY_WITH_TIMEOUT(DesktopFixture::stripWidth(0) > 0, patience);
            QVERIFY(!QFile::exists(item()));
            Programs::end(*agent);
            QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::stripWidth(0), 0, patience);
        }
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(LoginItemEndToEndTest)
#include "LoginItemEndToEndTest.moc"
