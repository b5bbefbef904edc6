#pragma once

#include <QLocale>

namespace kestrum {

/// The texts that the toolkit brings itself: those of its dialogs, its menus of text fields, its standard buttons.
namespace ToolkitTexts {

/// Has the toolkit speak the first language of the process's own "AppleLanguages", else of the session; English where its
/// translations are not installed. That language, with the session's region, becomes the default locale too. Needs an
/// application object; called again where the language becomes another.
void install();

/// The language named by a BCP 47 code with the session's region; a region that the code names itself stays where the
/// session names none.
QLocale locale(const QString& code);
/// The same with `region` for the session's, which may be empty.
QLocale locale(const QString& code, const QString& region);

} // namespace ToolkitTexts
} // namespace kestrum
