#pragma once

#include "Platform/Bundle/Bundle.h"
#include "Platform/LoginItem/LoginItemService.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"

#include <memory>

namespace kestrum {

/// The environment for tests of the login item: an ordinary user (root gets no login item), a bundle with an agent, and an
/// empty autostart folder of that user. The agent writes its own path to the file "started" in the home.
class LoginItemFixture {
public:
    LoginItemFixture()
        : m_user(
            { TestHome::root(), TestHome::root() + QStringLiteral("/.config"), TestHome::runtimeDirectory() })
        , m_before(Bundle::main())
    {
        // The tests must not depend on the desktop that runs them.
        qunsetenv("XDG_CURRENT_DESKTOP");
        clear();
        m_tree = std::make_unique<FileTree>();
        makeProgram(agentProgram());
        Bundle::setMain(Bundle(bundlePath()));
    }
    ~LoginItemFixture() { Bundle::setMain(m_before); }
    Q_DISABLE_COPY_MOVE(LoginItemFixture)

    /// Removes the entries, their folder and the file "started".
    static void clear()
    {
        QFile::setPermissions(folder(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QDir(folder()).removeRecursively();
        QFile::remove(folder());
        QFile::remove(startedFile());
    }

    QString bundlePath() const { return m_tree->path(QStringLiteral("Kestrum.app")); }
    QString agentBundle() const { return StandIns::agentBundleOf(bundlePath()); }
    QString agentProgram() const { return StandIns::agentOf(bundlePath()); }

    static QString folder() { return TestHome::root() + QStringLiteral("/.config/autostart"); }
    static QString entry() { return folder() + QStringLiteral("/com.orvale.kestrum.agent.desktop"); }
    static QString startedFile() { return TestHome::root() + QStringLiteral("/started"); }

    /// Makes an executable that writes its path and argument to a file.
    static void makeProgram(const QString& path)
    {
        writeProgram(
            path, "#!/bin/sh\nprintf '%s' \"$0${1:+ $1}\" > '" + QFile::encodeName(startedFile()) + "'\n");
    }

    LoginItemService service() const
    {
        return { QStringLiteral("com.orvale.kestrum.agent"), agentProgram(), QStringLiteral("Kestrum") };
    }

private:
    OrdinaryUser m_user;
    Bundle m_before;
    std::unique_ptr<FileTree> m_tree;
};

} // namespace kestrum
