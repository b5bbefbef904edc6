// A desktop's own reader of autostart entries: starts what the entry at the given path names, as GNOME's session and others
// do that stand on GLib. Exit code 1 when GLib refuses the entry, 3 when it is switched off.

#include <cstdio>
#include <gio/gdesktopappinfo.h>

int main(int argc, char** argv)
{
    GDesktopAppInfo* entry = argc == 2 ? g_desktop_app_info_new_from_filename(argv[1]) : nullptr;
    if (!entry) {
        std::fputs("the entry is refused\n", stderr);
        return 1;
    }
    if (g_desktop_app_info_get_is_hidden(entry)
        || (g_desktop_app_info_has_key(entry, "X-GNOME-Autostart-enabled")
            && !g_desktop_app_info_get_boolean(entry, "X-GNOME-Autostart-enabled")))
        return 3;
    std::printf("%s", g_app_info_get_name(G_APP_INFO(entry)));
    GError* error = nullptr;
    if (!g_app_info_launch(G_APP_INFO(entry), nullptr, nullptr, &error)) {
        std::fprintf(stderr, "%s\n", error->message);
        return 1;
    }
    return 0;
}
