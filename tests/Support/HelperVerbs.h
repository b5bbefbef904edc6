// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

namespace kestrum {

/// Verbs of "HelperProcess" that work on a settings store, and what all its verbs use. HelperProgram.cpp says what they do.
namespace HelperVerbs {

void say(const QByteArray& line);
/// Calls `onLine` for each piece of standard input, until the input ends.
int runUntilInputEnds(const std::function<void()>& onLine = {});

int storeKeys(const QString& suite, const QByteArray& writer, int keys, int times);
int storeAtRandom(const QString& suite, unsigned seed, int times);
int observe(const QString& suite);
int read(const QString& suite);

// Deliberately wrong programs, which the tests must find out:
int observeNewer(const QString& path);
int watchOnly(const QString& directory);

} // namespace HelperVerbs
} // namespace kestrum
