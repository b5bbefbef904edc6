// SPDX-License-Identifier: MIT
#pragma once

#include <QLocale>

namespace kestrum {

/// The toolkit's own texts: those of its dialogs, its text fields' menus, its standard buttons.
namespace ToolkitTexts {

/// Sets the toolkit's texts to the first language of the process's own "AppleLanguages" (see AppLanguage), else to the
/// session's; English where its translations are not installed. That language, with the session's region, becomes the
/// default locale too. Needs an application object; called again when the language changes.
void install();

/// The locale of a BCP 47 code with the session's region; the code's own region where the session has none.
QLocale locale(const QString& code);
/// The same with `region`, which may be empty, for the session's.
QLocale locale(const QString& code, const QString& region);

} // namespace ToolkitTexts
} // namespace kestrum
