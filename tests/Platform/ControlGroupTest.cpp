#include "Platform/Machine/ControlGroup.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class ControlGroupTest : public QObject {
    Q_OBJECT
private:
    using Kind = ControlGroup::Kind;

private Q_SLOTS:
    void nameOfAGroupTellsWhatRunsInIt()
    {
#define APPS "/user.slice/user-1000.slice/user@1000.service/app.slice/"
#define SESSION "/user.slice/user-1000.slice/user@1000.service/session.slice/"
        const QString hex = QStringLiteral("0123456789abcdef").repeated(4);
        const QByteArray byId = "/docker/" + hex.toLatin1();
        const struct {
            const char* path;
            Kind kind;
            QString name;
        } rows[] {
            { APPS "app-gnome-firefox\\x2desr-3456.scope", Kind::app, QStringLiteral("firefox-esr") },
            { APPS "app-flatpak-org.mozilla.firefox-9273.scope", Kind::app,
                QStringLiteral("org.mozilla.firefox") },
            { APPS "app-org.kde.dolphin-0a1b2c.scope", Kind::app, QStringLiteral("org.kde.dolphin") },
            { APPS "app-org.kde.konsole-1f2e.scope/tab(4711).scope", Kind::unnamed, {} },
            { APPS "app-org.gnome.Terminal.slice/vte-spawn-0e0d.scope", Kind::unnamed, {} },
            { APPS "app-org.gnome.Terminal.slice/gnome-terminal-server.service", Kind::app,
                QStringLiteral("org.gnome.Terminal") },
            { APPS "app-geoclue\\x2ddemo\\x2dagent@autostart.service", Kind::app,
                QStringLiteral("geoclue-demo-agent") },
            { APPS "app-cosmic-com.system76.CosmicAppList-4376.scope", Kind::app,
                QStringLiteral("com.system76.CosmicAppList") },
            { APPS "dbus-:1.37-org.a11y.atspi.Registry@0.service", Kind::app,
                QStringLiteral("org.a11y.atspi.Registry") },
            { APPS "snap.firefox.firefox-0e5e1c1a-1111-2222-3333-444444444444.scope", Kind::app,
                QStringLiteral("firefox_firefox") },
            { SESSION "org.gnome.Shell@wayland.service", Kind::service, QStringLiteral("org.gnome.Shell") },
            { SESSION "pipewire.service", Kind::service, QStringLiteral("pipewire") },
            { "/user.slice/user-1000.slice/user@1000.service/init.scope", Kind::unnamed, {} },
            { "/user.slice/user-1000.slice/session-2.scope", Kind::unnamed, {} },
            { APPS "run-r1234.scope", Kind::unnamed, {} },
            { "/system.slice/docker-3f2a77d0c9ffaa.scope", Kind::container,
                QStringLiteral("3f2a77d0c9ffaa") },
            { "/system.slice/docker.service", Kind::system, QStringLiteral("docker") },
            { "/system.slice/system-getty.slice/getty@tty1.service", Kind::system, QStringLiteral("getty") },
            { "/machine.slice/machine-qemu\\x2d1\\x2dwin11.scope", Kind::machine,
                QStringLiteral("qemu-1-win11") },
            { "/machine.slice/libpod-77aa.scope/container", Kind::container, QStringLiteral("77aa") },
            { "/user.slice/user-1000.slice/user@1000.service/user.slice/libpod-abc.scope", Kind::container,
                QStringLiteral("abc") },
            { "/init.scope", Kind::unnamed, {} },
            { "/", Kind::unnamed, {} },
            // What else is met.
            { APPS "flatpak-org.gimp.GIMP-77.scope", Kind::app, QStringLiteral("org.gimp.GIMP") },
            { APPS "app-org.kde.kate@1a2b.service", Kind::app, QStringLiteral("org.kde.kate") },
            { APPS "app-graphical.slice/waybar.service", Kind::service, QStringLiteral("waybar") },
            { APPS "app-dbus\\x2d:1.2\\x2dorg.gnome.Maps.slice/dbus-:1.2-org.gnome.Maps@0.service", Kind::app,
                QStringLiteral("org.gnome.Maps") },
            { APPS "app-gnome-firefox-12.scope/child", Kind::app, QStringLiteral("firefox") },
            { APPS "app-gnome-google-chrome-12.scope", Kind::app, QStringLiteral("google-chrome") },
            { APPS "app-firefox-7.scope", Kind::app, QStringLiteral("firefox") },
            { APPS "tmux-spawn-1.scope", Kind::unnamed, {} },
            { "/lxc.payload.web/system.slice/nginx.service", Kind::machine, QStringLiteral("web") },
            { "/machine.slice/machine-deb.scope/payload/system.slice/cron.service", Kind::machine,
                QStringLiteral("deb") },
            { byId.constData(), Kind::container, hex },
            { "/user.slice/user-1000.slice/user@1000.service", Kind::unnamed, {} },
            { "/system.slice/run-u12.service", Kind::unnamed, {} },
            // Names that no rule makes.
            { "", Kind::unnamed, {} },
            { "/app-.scope", Kind::unnamed, {} },
            { "/app-gnome--7.scope", Kind::unnamed, {} },
            { "/.service", Kind::unnamed, {} },
            { "/@.service", Kind::unnamed, {} },
            { "/dbus-:.service", Kind::unnamed, {} },
            { "/snap..scope", Kind::unnamed, {} },
            { "/docker-.scope", Kind::unnamed, {} },
            { "/app-a\\x2-1.scope", Kind::app, QStringLiteral("a\\x2") },
            { "/app-a\\xzz-1.scope", Kind::app, QStringLiteral("a\\xzz") },
        };
        for (const auto& row : rows) {
            const ControlGroup group = ControlGroup::parsed(row.path);
            QCOMPARE_ROW(row.path, group.name, row.name);
            QCOMPARE_ROW(row.path, group.kind, row.kind);
        }
#undef APPS
#undef SESSION
    }

    void pathIsThatOfSystemd()
    {
        const struct {
            const char* name;
            QByteArray content;
            QByteArray path;
        } rows[] {
            { "unified", "0::/user.slice\n", "/user.slice" },
            { "hybrid", "12:cpu:/\n1:name=systemd:/user.slice/a.scope\n0::/user.slice/a.scope\n",
                "/user.slice/a.scope" },
            { "the unified one is not used", "12:cpu:/\n1:name=systemd:/user.slice/a.scope\n0::/\n",
                "/user.slice/a.scope" },
            { "old", "12:cpu:/b\n1:name=systemd:/a.scope\n", "/a.scope" },
            { "without systemd", "4:memory:/x\n0::/\n", "/" },
            { "removed", "0::/a.scope (deleted)\n", "/a.scope" },
            { "a colon in the path", "0::/dbus-:1.2-a@0.service\n", "/dbus-:1.2-a@0.service" },
            { "no line end", "0::/a", "/a" },
            { "empty", "", "" },
            { "damaged", "\n\n::\n0:\n0", "" },
        };
        for (const auto& row : rows)
            QCOMPARE_ROW(row.name, ControlGroup::pathIn(row.content).toByteArray(), row.path);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ControlGroupTest)
#include "ControlGroupTest.moc"
