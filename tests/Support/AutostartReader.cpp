// Reads the autostart entry at the given path as GLib desktops such as GNOME do, and starts the entry's program. The exit code
// is 1 when GLib refuses the entry, and 3 when the entry is switched off.

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
