// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>

namespace kestrum {

/// What a program is called, from its path and its command line.
namespace ProgramName {

/// The last component of a path.
QByteArray base(const QByteArray& path);

/// Whether the program runs a script, so that only its command line tells what it does. `program` has no folders.
bool isInterpreter(const QByteArray& program);

/// Whether it is a shell, in which people type what to start. `program` has no folders.
bool isShell(const QByteArray& program);

/// Whether a program of this name stands for many or has no file, so that only the kernel's short name of its process tells
/// which it is.
bool isManyPrograms(const QByteArray& program);

/// Whether the program prepares the start of another, and says nothing about it.
bool isWrapper(const QByteArray& program);

/// The name of the script in the command line of an interpreter; empty if there is none. `program` has no folders. It tells
/// what the options mean, because a process can write anything into the first word.
QByteArray script(const QByteArray& program, const QByteArrayList& command);

/// The name of the program that a command starts in the end, as a desktop entry has it; empty if it cannot be told.
QByteArray ofCommand(const QByteArrayList& command);

} // namespace ProgramName
} // namespace kestrum
