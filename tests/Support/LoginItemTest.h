// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/LoginItemFixture.h"
#include "tests/Support/Text.h"

#include <optional>
#include <sys/stat.h>

namespace kestrum {

/// A test of the login item. The environment of `LoginItemFixture` exists from the first test to the last; each test begins
/// without an entry.
class LoginItemTest : public QObject {
    Q_OBJECT

protected Q_SLOTS:
    void initTestCase() { m_fixture.emplace(); }
    void init() { LoginItemFixture::clear(); }
    void cleanupTestCase() { m_fixture.reset(); }

protected:
    using Status = LoginItemService::Status;

    LoginItemService service() const { return m_fixture->service(); }
    QString bundlePath() const { return m_fixture->bundlePath(); }
    QString agentBundle() const { return m_fixture->agentBundle(); }
    QString agentProgram() const { return m_fixture->agentProgram(); }
    static QString folder() { return LoginItemFixture::folder(); }
    static QString entry() { return LoginItemFixture::entry(); }

    /// The content of the entry, or of the file beside it with this suffix.
    static QByteArray content(const char* suffix = "") { return contentOf(entry() + text(suffix)); }
    static void writeEntry(const QByteArray& content) { write(entry(), content); }
    /// The text of an entry with these lines.
    static QByteArray entryOf(const QByteArray& lines)
    {
        return "[Desktop Entry]\nType=Application\nName=Kestrum\n" + lines;
    }
    QByteArray exec() const { return "Exec=\"" + QFile::encodeName(agentProgram()) + "\"\n"; }

    /// The failure's error code; 0 for success.
    static int codeOf(const Result<>& result) { return result ? 0 : result.failure().error; }

    /// Registers while the file or folder has this mode, and returns the result. Afterwards only the owner may use the path.
    Result<> registeredWith(const QString& path, int mode) const
    {
        const QByteArray name = QFile::encodeName(path);
        ::chmod(name.constData(), mode_t(mode));
        auto result = service().registerItem();
        ::chmod(name.constData(), 0700);
        return result;
    }

private:
    std::optional<LoginItemFixture> m_fixture;
};

} // namespace kestrum
