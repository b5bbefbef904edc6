// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Bundle/PropertyList.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <memory>
#include <optional>

namespace kestrum {

/// A directory "Name.app" with a program and its resources. The layout is "Name.app/Contents/{Info.plist,MacOS,Resources}".
/// Copies of a `Bundle` object share the content that was read. The names in the layout must not change: agents of other copies
/// and versions are found by their paths, and "kestrumctl open" finds the program of a bundle by these names.
class Bundle {
public:
    /// Returns the bundle of the running executable. For an executable outside a bundle, the result has the executable's
    /// directory as its path, but no information and no resources.
    static const Bundle& main();
    /// Makes `main` return `bundle`. Used by programs that work on a bundle but are not stored in one.
    static void setMain(const Bundle& bundle);

    /// `path` is the bundle's ".app" directory, which need not exist (see `exists`).
    explicit Bundle(const QString& path);

    bool exists() const;
    QString path() const;
    QString resourcePath() const; ///< ".../Contents/Resources"

    /// The text of `key` in "Info.plist"; nothing if the key is missing or its value is not a text.
    std::optional<QString> infoText(const QString& key) const;
    /// The text of "CFBundleIdentifier"; empty if this key is missing.
    QString identifier() const;
    /// The text of "CFBundleDevelopmentRegion"; nothing if this key is missing.
    std::optional<QString> developmentLocalization() const;
    /// The names of the "*.lproj" directories without the suffix ".lproj", in alphabetical order. "Base" is included.
    QStringList localizations() const;

    /// The text of `key` in "<localization>.lproj/Localizable.strings"; `key` itself if the directory, the table or the key is
    /// missing. Each table is read only once.
    QString localizedString(const QString& key, const QString& localization) const;

private:
    struct Content;
    std::shared_ptr<Content> m_content;
};

} // namespace kestrum
