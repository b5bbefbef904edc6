// SPDX-License-Identifier: MIT
#pragma once

#include <QLocale>

namespace kestrum {

/// Sets the language of the toolkit's own texts: in dialogs, in the menus of text fields and on standard buttons.
namespace ToolkitTexts {

/// Sets the language of the toolkit's texts: the first entry of this process's own "AppleLanguages" (see AppLanguage), or
/// else the session's language. The texts are English if no translation is installed. The default locale becomes the same
/// language with the session's region. Needs an application object. Call this again when the language changes.
void install();

/// The locale of a BCP 47 code with the session's region, or with the code's own region if the session has none.
QLocale locale(const QString& code);
/// The same with `region` instead of the session's region; `region` may be empty.
QLocale locale(const QString& code, const QString& region);

} // namespace ToolkitTexts
} // namespace kestrum
