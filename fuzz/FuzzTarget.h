// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <string_view>
#include <vector>

namespace kestrum {

/// A parser, with what must hold of its results whatever the input is. Constructing a target at file scope makes it known to
/// the program.
class FuzzTarget {
public:
    using Run = void (*)(std::string_view input);

    /// `name` is the file's name, and that of the folder with its seeds.
    FuzzTarget(const char* name, Run body);

    const char* name() const { return m_name; }
    /// Ends the program if something does not hold.
    void run(std::string_view input) const { m_body(input); }

    /// All targets that are linked into this program.
    static const std::vector<const FuzzTarget*>& all();

private:
    const char* m_name;
    Run m_body;
};

/// Ends the program, with `fact` as the last word, unless `holds`.
void expect(bool holds, const char* fact);

/// The parts of an input for readers of several files, which lines of a single "=" separate. Missing parts are empty.
std::vector<std::string_view> parts(std::string_view input, std::size_t count);

/// The same bytes, copied.
QByteArray bytes(std::string_view input);

} // namespace kestrum
