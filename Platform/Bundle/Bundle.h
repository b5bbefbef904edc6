#pragma once

#include "Platform/Bundle/PropertyList.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

namespace kestrum {

/// A directory with a fixed layout, "Name.app/Contents/{Info.plist,MacOS,Resources}", that holds a program and what
/// belongs to it. A value; copies share what was read.
class Bundle {
public:
    /// The bundle that the running executable is in. A program outside of any bundle has an empty one: the
    /// executable's folder as path, no information, no resources.
    static const Bundle& main();
    /// Takes the place of `main` for programs outside of a bundle that act on one.
    static void setMain(const Bundle& bundle);

    /// The bundle at `path` (its ".app" directory). Check with `exists`.
    explicit Bundle(const QString& path);

    bool exists() const;
    QString path() const;
    QString resourcePath() const; ///< ".../Contents/Resources"

    /// A text of the information dictionary; nothing when it is missing or not a text.
    std::optional<QString> infoText(const QString& key) const;
    /// "CFBundleIdentifier", empty when there is none.
    QString identifier() const;
    /// "CFBundleDevelopmentRegion", nothing when the bundle names none.
    std::optional<QString> developmentLocalization() const;
    /// Names of the "*.lproj" folders, in alphabetical order; "Base" included.
    QStringList localizations() const;

    /// The text under `key` in the table "Localizable.strings" of the folder "<localization>.lproj"; `key`
    /// itself when the folder, the table or the key is missing. Tables are read once.
    QString localizedString(const QString& key, const QString& localization) const;

private:
    struct Content;
    std::shared_ptr<Content> m_content;
};

} // namespace kestrum
