// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Bundle/PropertyList.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

namespace kestrum {

/// A directory with a fixed layout, "Name.app/Contents/{Info.plist,MacOS,Resources}", that holds a program and its resources.
/// Copies of a `Bundle` share what was read. The names in the layout must not change: agents of other copies and versions are
/// found by their path, and "kestrumctl open" finds the program of any bundle by these names.
class Bundle {
public:
    /// The bundle of the running executable. For a program outside of any bundle, the bundle is empty: its path is the
    /// executable's directory, and it has no information and no resources.
    static const Bundle& main();
    /// Replaces `main`. For programs that are outside of a bundle but work on one.
    static void setMain(const Bundle& bundle);

    /// The bundle at `path` (its ".app" directory). Check with `exists`.
    explicit Bundle(const QString& path);

    bool exists() const;
    QString path() const;
    QString resourcePath() const; ///< ".../Contents/Resources"

    /// The text of `key` in "Info.plist"; nothing if the key is missing or its value is not a text.
    std::optional<QString> infoText(const QString& key) const;
    /// "CFBundleIdentifier"; empty if there is none.
    QString identifier() const;
    /// "CFBundleDevelopmentRegion"; nothing if the bundle names none.
    std::optional<QString> developmentLocalization() const;
    /// Names of the "*.lproj" directories without ".lproj", in alphabetical order, including "Base".
    QStringList localizations() const;

    /// The text of `key` in "<localization>.lproj/Localizable.strings"; `key` itself if the directory, the table or the key is
    /// missing. Tables are read once.
    QString localizedString(const QString& key, const QString& localization) const;

private:
    struct Content;
    std::shared_ptr<Content> m_content;
};

} // namespace kestrum
