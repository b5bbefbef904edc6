// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Bundle/PropertyList.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

namespace kestrum {

/// A directory with a fixed layout, "Name.app/Contents/{Info.plist,MacOS,Resources}", that holds a program and its resources. A
/// value; copies share what was read. The names of the layout are fixed: agents of other copies and versions are found by their
/// path, and "kestrumctl open" starts any bundle by them.
class Bundle {
public:
    /// The bundle of the running executable. For a program outside of any bundle it is empty: the executable's directory as
    /// path, no information, no resources.
    static const Bundle& main();
    /// Replaces `main`, for programs outside of a bundle that act on one.
    static void setMain(const Bundle& bundle);

    /// The bundle at `path` (its ".app" directory). Check with `exists`.
    explicit Bundle(const QString& path);

    bool exists() const;
    QString path() const;
    QString resourcePath() const; ///< ".../Contents/Resources"

    /// A text of the information dictionary; nothing if it is missing or not a text.
    std::optional<QString> infoText(const QString& key) const;
    /// "CFBundleIdentifier"; empty if there is none.
    QString identifier() const;
    /// "CFBundleDevelopmentRegion"; nothing if the bundle names none.
    std::optional<QString> developmentLocalization() const;
    /// Names of the "*.lproj" directories, in alphabetical order, with "Base".
    QStringList localizations() const;

    /// The text of `key` in "<localization>.lproj/Localizable.strings"; `key` itself if the directory, the table or the key is
    /// missing. Tables are read once.
    QString localizedString(const QString& key, const QString& localization) const;

private:
    struct Content;
    std::shared_ptr<Content> m_content;
};

} // namespace kestrum
