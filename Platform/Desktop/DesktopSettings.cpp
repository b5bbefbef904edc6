// SPDX-License-Identifier: MIT
#include "Platform/Desktop/DesktopSettings.h"

#include "Platform/Processes/ProgramRun.h"

#include <glib.h>
#include <memory>

namespace kestrum {

namespace {

constexpr QLatin1StringView settingsProgram("gsettings");

struct ReleaseVariant {
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
using Variant = std::unique_ptr<GVariant, ReleaseVariant>;

} // namespace

void DesktopSettings::read(
    const QString& schema, QObject* context, std::function<void(const Result<Values>&)> answered)
{
    const auto ended = [schema, answered = std::move(answered)](const Result<QByteArray>& printed) {
        if (!printed) {
            answered(printed.failure());
            return;
        }
        // Each line is "SCHEMA KEY VALUE". The schemas below this one are listed too.
        const QByteArray own = schema.toUtf8() + ' ';
        Values values;
        for (const QByteArray& line : printed->split('\n')) {
            const qsizetype end = line.indexOf(' ', own.size());
            if (line.startsWith(own) && end > 0)
                values.insert(QString::fromUtf8(line.mid(own.size(), end - own.size())), line.mid(end + 1));
        }
        answered(values);
    };
    ProgramRun::start(settingsProgram, { QStringLiteral("list-recursively"), schema }, context, ended);
}

void DesktopSettings::write(const QString& schema, const QList<std::pair<QString, QByteArray>>& values,
    QObject* context, std::function<void(const Result<>&)> done)
{
    QList<QStringList> runs;
    for (const auto& [key, value] : values)
        runs.append({ QStringLiteral("set"), schema, key, QString::fromUtf8(value) });
    ProgramRun::startInTurn(
        settingsProgram, runs, context, [done = std::move(done)](const Result<QByteArray>& printed) {
            done(printed ? Result<>() : printed.failure());
        });
}

Failure DesktopSettings::notKept()
{
    return Failure::withReason(QStringLiteral("the desktop's settings have not kept the change"));
}

std::optional<QStringList> DesktopSettings::list(const QByteArray& text)
{
    const Variant value(
        g_variant_parse(G_VARIANT_TYPE_STRING_ARRAY, text.constData(), nullptr, nullptr, nullptr));
    if (!value)
        return std::nullopt;
    QStringList list;
    for (gsize i = 0; i < g_variant_n_children(value.get()); ++i) {
        const Variant entry(g_variant_get_child_value(value.get(), i));
        list.append(QString::fromUtf8(g_variant_get_string(entry.get(), nullptr)));
    }
    return list;
}

QByteArray DesktopSettings::text(const QStringList& list)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE_STRING_ARRAY);
    for (const QString& entry : list)
        g_variant_builder_add(&builder, "s", entry.toUtf8().constData());
    const Variant value(g_variant_ref_sink(g_variant_builder_end(&builder)));
    const std::unique_ptr<gchar, decltype(&g_free)> printed(g_variant_print(value.get(), TRUE), g_free);
    return printed.get();
}

} // namespace kestrum
