// SPDX-License-Identifier: MIT
#pragma once

#define G_SETTINGS_ENABLE_BACKEND
#include <gio/gio.h>
#include <gio/gsettingsbackend.h>

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QString>
#include <memory>

namespace kestrum {

/// The settings of a GLib program, for comparison, with the keys "flag" and "round". They are kept in memory, or by dconf, as on
/// desktops.
class GSettingsPeer {
public:
    enum class Place { memory, dconf };
    using Settings = std::unique_ptr<GSettings, void (*)(gpointer)>;

    /// Null where GLib's tools or dconf are missing. The schema is written to `folder`.
    static Settings open(const QString& folder, Place place)
    {
        Settings settings(nullptr, g_object_unref);
        // GLib would end the program together with the bus.
        static GDBusConnection* const bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
        if (bus)
            g_dbus_connection_set_exit_on_close(bus, FALSE);
        QFile file(folder + QStringLiteral("/peer.gschema.xml"));
        if (!file.open(QIODevice::WriteOnly) || file.write(schema) < 0)
            return settings;
        file.close();
        if (QProcess::execute(QStringLiteral("glib-compile-schemas"), { folder }) != 0)
            return settings;
        GSettingsSchemaSource* source = g_settings_schema_source_new_from_directory(
            QFile::encodeName(folder).constData(), nullptr, TRUE, nullptr);
        GSettingsSchema* found
            = source ? g_settings_schema_source_lookup(source, "kestrum.peer", FALSE) : nullptr;
        GSettingsBackend* backend
            = place == Place::memory ? g_memory_settings_backend_new() : g_settings_backend_get_default();
        const bool isWanted
            = place == Place::memory || QByteArray(G_OBJECT_TYPE_NAME(backend)) == "DConfSettingsBackend";
        if (found && isWanted)
            settings.reset(g_settings_new_full(found, backend, nullptr));
        g_object_unref(backend);
        if (found)
            g_settings_schema_unref(found);
        if (source)
            g_settings_schema_source_unref(source);
        return settings;
    }

private:
    static constexpr char schema[] = R"(<schemalist><schema id="kestrum.peer" path="/kestrum/peer/">
        <key name="flag" type="b"><default>true</default></key>
        <key name="round" type="d"><default>0</default></key>
        </schema></schemalist>)";
};

} // namespace kestrum
