// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/LanguageChoice.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <utility>

namespace kestrum {

/// The interface language: the stored choice turned into a language code, and every display text in that language.
/// Display texts are named by their English form. The choice is read anew at each call.
namespace AppLanguage {

/// "KESTRUM_LANGUAGE" of the environment, else the stored choice, else "system".
QString choice();

/// The code of the language in effect, such as "de".
QString code();

/// The code that was in effect when the process started; empty until recorded by the entry point.
QString launchedCode();
void recordLaunchedCode();

/// The text `key` in the language in effect; `key` itself where it has no translation.
QString string(const char* key);
QString string(const QString& key);
/// The same with each "%@" of it replaced by the next of `values`, which are texts to be shown.
QString string(const char* key, const QStringList& values);

/// Languages that the main bundle ships, its development language first.
QStringList shipped();

/// The session's languages, most preferred first; "en" when it names none.
QStringList systemLanguages();

/// Code and own name ("de", "Deutsch") of every shipped language, sorted by name.
QList<std::pair<QString, QString>> available();

/// Writes the choice into the process's own "AppleLanguages", the languages it wants the platform's texts in; removes
/// that key when the session's languages are to be followed.
void applyChoiceToProcessDefaults();

/// Whether the language in effect is another than at the start of the process.
bool processIsStale();

} // namespace AppLanguage
} // namespace kestrum
