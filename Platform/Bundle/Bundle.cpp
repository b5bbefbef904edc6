// SPDX-License-Identifier: MIT
#include "Platform/Bundle/Bundle.h"

#include "Platform/Log/Log.h"

#include <QDir>
#include <QFileInfo>

namespace kestrum {

struct Bundle::Content {
    QString path;
    PropertyList info;
    // The two members below are filled on first use.
    std::optional<QStringList> localizations;
    QHash<QString, QHash<QString, QString>> tables;
};

namespace {

// The property list in the file at `path`; empty if there is no such file or, with a logged warning, if it cannot be read.
PropertyList readIfThere(const QString& path)
{
    const auto list = QFileInfo::exists(path) ? PropertyList::fromFile(path) : PropertyList();
    if (list)
        return *list;
    Log::warning(
        "bundle", QStringLiteral("%1 cannot be read: %2").arg(Log::escaped(path), list.failureText()));
    return {};
}

// Uses the executable's real path from the kernel. So a start through a link such as "bin/kestrum" finds the bundle, and no
// application object is needed. For an executable in a nested bundle, the result is the nested bundle.
Bundle bundleOfExecutable()
{
    QDir folder = QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))).dir();
    const QString executableFolder = folder.path();
    if (folder.dirName() == QLatin1StringView("MacOS") && folder.cdUp()
        && folder.dirName() == QLatin1StringView("Contents") && folder.cdUp()
        && folder.dirName().endsWith(QLatin1StringView(".app")))
        return Bundle(folder.path());
    return Bundle(executableFolder);
}

Bundle& mainBundle()
{
    static Bundle bundle = bundleOfExecutable();
    return bundle;
}

} // namespace

const Bundle& Bundle::main()
{
    return mainBundle();
}

void Bundle::setMain(const Bundle& bundle)
{
    mainBundle() = bundle;
}

Bundle::Bundle(const QString& path)
    : m_content(std::make_shared<Content>())
{
    m_content->path = QDir::cleanPath(path);
    m_content->info = readIfThere(m_content->path + QStringLiteral("/Contents/Info.plist"));
}

bool Bundle::exists() const
{
    return QFileInfo(m_content->path + QStringLiteral("/Contents")).isDir();
}

QString Bundle::path() const
{
    return m_content->path;
}

QString Bundle::resourcePath() const
{
    return m_content->path + QStringLiteral("/Contents/Resources");
}

std::optional<QString> Bundle::infoText(const QString& key) const
{
    const auto value = m_content->info.value(key);
    return value ? value->text() : std::nullopt;
}

QString Bundle::identifier() const
{
    return infoText(QStringLiteral("CFBundleIdentifier")).value_or(QString());
}

std::optional<QString> Bundle::developmentLocalization() const
{
    return infoText(QStringLiteral("CFBundleDevelopmentRegion"));
}

QStringList Bundle::localizations() const
{
    auto& localizations = m_content->localizations;
    if (!localizations) {
        static constexpr QLatin1StringView suffix(".lproj");
        // A name filter would load Qt's regular expressions at every start, so the names are compared here.
        QStringList names;
        for (const QString& name : QDir(resourcePath()).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            if (name.endsWith(suffix))
                names.append(name.chopped(suffix.size()));
        }
        names.sort();
        localizations = names;
    }
    return *localizations;
}

QString Bundle::localizedString(const QString& key, const QString& localization) const
{
    auto table = m_content->tables.constFind(localization);
    if (table == m_content->tables.constEnd()) {
        QHash<QString, QString> texts;
        // Unlisted names are rejected, because a name with a slash could lead out of the bundle.
        if (localizations().contains(localization)) {
            const PropertyList list = readIfThere(
                QStringLiteral("%1/%2.lproj/Localizable.strings").arg(resourcePath(), localization));
            for (const QString& name : list.keys()) {
                if (const auto text = list.value(name)->text())
                    texts.insert(name, *text);
            }
        }
        table = m_content->tables.insert(localization, texts);
    }
    return table->value(key, key);
}

} // namespace kestrum
