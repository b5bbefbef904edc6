// SPDX-License-Identifier: MIT
#pragma once

#include <QLocale>

namespace kestrum {

/// The toolkit's own texts: those of its dialogs, of the menus of its text fields, and of its standard buttons.
namespace ToolkitTexts {

/// Sets the toolkit's texts to the first language of the process's own "AppleLanguages" (see AppLanguage), or else to
/// the session's language. The texts are English if no translation for the language is installed. The same language,
/// with the session's region, also becomes the default locale. Needs an application object. Call this again when the
/// language changes.
void install();

/// The locale of a BCP 47 code with the session's region, or with the code's own region if the session has none.
QLocale locale(const QString& code);
/// The same with `region` instead of the session's region; `region` may be empty.
QLocale locale(const QString& code, const QString& region);

} // namespace ToolkitTexts
} // namespace kestrum
