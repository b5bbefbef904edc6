// SPDX-License-Identifier: MIT
#include "fuzz/FuzzTarget.h"

#include <cstdio>
#include <cstdlib>

namespace kestrum {

namespace {

// In a function, because targets register before `main`, in any order of files.
std::vector<const FuzzTarget*>& registered()
{
    static std::vector<const FuzzTarget*> targets;
    return targets;
}

} // namespace

FuzzTarget::FuzzTarget(const char* name, Run body)
    : m_name(name)
    , m_body(body)
{
    registered().push_back(this);
}

const std::vector<const FuzzTarget*>& FuzzTarget::all()
{
    return registered();
}

void expect(bool holds, const char* fact)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", fact);
    std::abort();
}

std::vector<std::string_view> parts(std::string_view input, std::size_t count)
{
    static constexpr std::string_view separator = "\n=\n";
    std::vector<std::string_view> result(count);
    for (std::size_t part = 0; part < count; ++part) {
        // The last part is all that is left.
        const std::size_t end = part + 1 < count ? input.find(separator) : std::string_view::npos;
        result[part] = input.substr(0, end);
        input.remove_prefix(end == std::string_view::npos ? input.size() : end + separator.size());
    }
    return result;
}

QByteArray bytes(std::string_view input)
{
    return QByteArray(input.data(), qsizetype(input.size()));
}

} // namespace kestrum
