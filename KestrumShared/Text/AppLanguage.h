// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/LanguageChoice.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <utility>

namespace kestrum {

/// The interface language: the stored choice as a language code, and every display text in that language. The key of a
/// display text is its English form. The choice is read at each call.
namespace AppLanguage {

/// "KESTRUM_LANGUAGE" of the environment, else the stored choice, else "system".
QString choice();

/// The code of the language in effect, such as "de".
QString code();

/// The code that was in effect when the process started; empty until `main` records it.
QString launchedCode();
void recordLaunchedCode();

/// The text `key` in the language in effect; `key` itself where it has no translation.
QString string(const char* key);
QString string(const QString& key);
/// The same with each "%@" replaced by the next of `values`, which are texts for display.
QString string(const char* key, const QStringList& values);

/// The languages of the main bundle, its development language first.
QStringList shipped();

/// The session's languages, most preferred first; "en" when it has none.
QStringList systemLanguages();

/// Code and own name ("de", "Deutsch") of every shipped language, sorted by name.
QList<std::pair<QString, QString>> available();

/// Writes the choice into the process's own "AppleLanguages", the languages that it wants the platform's texts in; removes
/// that key when the choice is to follow the session. The key stands in users' files, so its name stays.
void applyChoiceToProcessDefaults();

/// Whether the language in effect differs from the one at the start of the process.
bool processIsStale();

} // namespace AppLanguage
} // namespace kestrum
