// SPDX-License-Identifier: MIT
#include "KestrumAgent/Updates/AptPolicy.h"

#include "fuzz/FuzzTarget.h"

#include <algorithm>

namespace kestrum {

namespace {

constexpr qsizetype longestVersion = 128;

void isVersion(const QString& text)
{
    expect(text.size() <= longestVersion, "a version is not long");
    expect(std::all_of(text.begin(), text.end(), [](QChar c) { return c > u' ' && c < u'\x7F'; }),
        "a version has plain characters");
}

void runAptPolicy(std::string_view input)
{
    const QByteArray text = bytes(input);
    const auto policy = AptPolicy::read(text, QStringLiteral("kestrum"));
    if (policy) {
        isVersion(policy->installed);
        isVersion(policy->candidate);
        expect(!policy->isCandidateNewer
                || (!policy->installed.isEmpty() && !policy->candidate.isEmpty()
                    && policy->installed != policy->candidate),
            "what is newer is another version");
        isVersion(AptPolicy::versionText(policy->installed).remove(u' '));
    }
    // Without an epoch there is nothing to remove.
    const QString version = QString::fromUtf8(text).remove(u':');
    const QString shown = AptPolicy::versionText(version);
    expect(version.isEmpty() == shown.isEmpty(), "a version is displayed");
}

const FuzzTarget aptPolicyTarget("AptPolicy", runAptPolicy);

} // namespace
} // namespace kestrum
