// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/LanguageChoice.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <utility>

namespace kestrum {

/// The interface language, and all display texts in this language. The key of a display text is its English form. Each call
/// reads the user's choice again.
namespace AppLanguage {

/// The user's choice: the environment variable "KESTRUM_LANGUAGE", else the stored choice, else "system".
QString choice();

/// The code of the language in effect, such as "de".
QString code();

/// The code that was in effect when `main` called `recordLaunchedCode`; empty before.
QString launchedCode();
void recordLaunchedCode();

/// The translation of `key` in the language in effect; `key` itself if there is none.
QString string(const char* key);
QString string(const QString& key);
/// The translation of `key`, in which each "%@" is replaced by the next of `values`, and "%1" to "%9" by the value of that
/// number. A place without a value stays as it is.
QString string(const char* key, const QStringList& values);

/// The codes of the languages in the main bundle, with the development language first.
QStringList shipped();

/// The session's languages, most preferred first; "en" if the session has none.
QStringList systemLanguages();

/// Code and own name ("de", "Deutsch") of every shipped language, sorted by name.
QList<std::pair<QString, QString>> available();

/// Stores the chosen language as the first entry of "AppleLanguages" in the process's own settings. This entry determines
/// the language of the toolkit's texts. Removes the key "AppleLanguages" if the choice is "system". Users' files contain
/// this key, so its name cannot change.
void applyChoiceToProcessDefaults();

/// Whether the language in effect differs from `launchedCode`.
bool processIsStale();

} // namespace AppLanguage
} // namespace kestrum
