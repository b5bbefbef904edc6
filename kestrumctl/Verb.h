// SPDX-License-Identifier: MIT
#pragma once

#include "kestrumctl/CommandLine.h"
#include "kestrumctl/Console.h"

#include <QByteArray>
#include <span>

namespace kestrum {

/// A command of the program. Each verb has its own file, with its usage text beside its code.
struct Verb {
    const char* name;
    const char* parameters = ""; ///< for the usage line
    const char* summary;         ///< for the list of verbs
    const char* details;         ///< the rest of the usage text
    ExitCode (*run)(const CommandLine&);
    std::span<const Option> options = {};
    qsizetype fewestArguments = 0;
    qsizetype mostArguments = 0;
    bool listsKeys = false; ///< the usage text ends with the catalogue of keys
    bool draws = false;     ///< needs fonts, and therefore a QGuiApplication
    bool needsSuite = true; ///< uses settings or signals
};

extern const Verb readVerb;
extern const Verb writeVerb;
extern const Verb deleteVerb;
extern const Verb watchVerb;
extern const Verb exportVerb;
extern const Verb importVerb;
extern const Verb postVerb;
extern const Verb listenVerb;
extern const Verb openVerb;
extern const Verb agentsVerb;
extern const Verb agentVerb;
extern const Verb loginItemVerb;
extern const Verb panelVerb;
extern const Verb popoverVerb;
extern const Verb describeVerb;
extern const Verb renderVerb;

/// All verbs, in the order of the help.
std::span<const Verb* const> allVerbs();

/// The texts that "--help" prints, for the program and for a verb.
QByteArray programUsage();
QByteArray usage(const Verb& verb);

} // namespace kestrum
