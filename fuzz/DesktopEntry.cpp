// SPDX-License-Identifier: MIT
#include "Platform/LoginItem/DesktopEntry.h"

#include "Platform/Machine/ProgramName.h"
#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

void editingKeepsOtherLines(const DesktopEntry& entry)
{
    static const QByteArray key = "X-Kestrum-Fuzz";
    const QByteArray value = DesktopEntry::escaped(" one\ttwo ");
    DesktopEntry edited = entry;
    edited.remove(key);
    const QByteArrayList before = edited.text().split('\n');
    edited.set(key, value);
    expect(edited.value(key) == value, "a value that was set is there");
    const QByteArray text = edited.text();
    const DesktopEntry again = DesktopEntry::parsed(text);
    expect(!again.isDamaged(), "an edited entry is sound");
    expect(again.value(key) == value, "an edited entry reads the same");
    // Other groups may have the same line.
    const QByteArray line = key + '=' + value;
    QByteArrayList lines = text.split('\n');
    expect(lines.count(line) == before.count(line) + 1, "a key is set in one line");
    QByteArrayList others = before;
    others.removeAll(line);
    lines.removeAll(line);
    // An entry without a main group has got one.
    if (lines != others)
        expect(lines.removeOne("[Desktop Entry]") && lines == others, "other lines stay as they are");
    edited.set(key, "other");
    edited.remove(key);
    expect(!edited.value(key), "a value that was removed is gone");
}

void commandsReadBack(const QByteArray& program)
{
    expect(DesktopEntry::unescaped(DesktopEntry::escaped(program)) == program, "a value reads back");
    if (program.isEmpty())
        return;
    const QByteArray command = DesktopEntry::command(program, "--flag");
    const QByteArrayList words = DesktopEntry::wordsOf(command);
    expect(words.size() >= 2 && words.last() == "--flag" && words[words.size() - 2] == program,
        "a command names its program");
    expect(program.contains('%') || words.size() == 2, "a command is the program and its argument");
    DesktopEntry entry;
    entry.set("Exec", command);
    const DesktopEntry again = DesktopEntry::parsed(entry.text());
    expect(!again.isDamaged() && again.value("Exec") == command, "a command reads back from an entry");
}

void runDesktopEntry(std::string_view input)
{
    const DesktopEntry entry = DesktopEntry::parsed(bytes(input));
    const QByteArray text = entry.text();
    const DesktopEntry again = DesktopEntry::parsed(text);
    expect(!again.isDamaged() || !text.split('\n').contains("[Desktop Entry]"),
        "what was written is sound, if it has a main group");
    expect(again.text() == text, "what was written reads the same");
    editingKeepsOtherLines(entry);
    for (const char* key : { "Exec", "Hidden", "Name[de]" })
        expect(entry.value(key) == again.value(key), "what was written has the same values");
    const QByteArrayList words = DesktopEntry::wordsOf(entry.value("Exec").value_or(QByteArray()));
    expect(!ProgramName::ofCommand(words).contains('/'), "a program's name has no folders");

    // Paths have no zeros.
    commandsReadBack(bytes(input.substr(0, input.find('\0'))));
}

const FuzzTarget desktopEntryTarget("DesktopEntry", runDesktopEntry);

} // namespace
} // namespace kestrum
