// SPDX-License-Identifier: MIT
// APT's output looks like this. The versions are in descending order; below each version are its sources:
//
//     kestrum:
//       Installed: 1.4-27
//       Candidate: 1.5-30
//       Package pin: 1.5-30
//       Version table:
//          1.5-30 500
//             500 http://deb.example.org stable/main amd64 Packages
//      *** 1.4-27 100
//             100 /var/lib/dpkg/status
//
// Versions need not be compared: because of the descending order, the upper version is newer. The line of a repository ends
// in "Packages". The other kind of source is dpkg's status file, the list of installed packages.

#include "KestrumAgent/Updates/AptPolicy.h"

#include "KestrumShared/Text/UpdateOffer.h"

#include <QRegularExpression>
#include <QStringList>

namespace kestrum {

namespace {

QRegularExpression exactly(const char* pattern)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(QLatin1StringView(pattern)));
}

/// The version in a line of the form "  LABEL: VERSION"; an empty text if the version is "(none)". Nothing for other lines.
std::optional<QString> labelled(const QString& line, const char* label)
{
    static const auto form = exactly(R"(  (\w+): (\(none\)|[0-9A-Za-z.+~:-]{1,128}))");
    const auto match = form.match(line);
    if (!match.hasMatch() || match.captured(1) != QLatin1StringView(label))
        return std::nullopt;
    return match.captured(2).startsWith(u'(') ? QString() : match.captured(2);
}

} // namespace

std::optional<AptPolicy> AptPolicy::read(const QByteArray& text, const QString& package)
{
    AptPolicy policy;
    if (text.trimmed().isEmpty())
        return policy;

    const QStringList lines = QString::fromUtf8(text).split(u'\n');
    if (lines.size() < 4 || lines[0] != package + u':')
        return std::nullopt;
    const auto installed = labelled(lines[1], "Installed");
    const auto candidate = labelled(lines[2], "Candidate");
    const qsizetype table = lines.indexOf(QStringLiteral("  Version table:"));
    if (!installed || !candidate || table < 0)
        return std::nullopt;
    policy.installed = *installed;
    policy.candidate = *candidate;

    static const auto versionRow = exactly(R"((?:    | \*\*\*) ([0-9A-Za-z.+~:-]{1,128}) -?\d+(?: .*)?)");
    static const auto sourceRow = exactly(R"( {7,}-?\d+ \S.* Packages)");
    QStringList versions;
    for (qsizetype i = table + 1; i < lines.size() && lines[i].startsWith(u' '); ++i) {
        if (const auto match = versionRow.match(lines[i]); match.hasMatch())
            versions.append(match.captured(1));
        else if (sourceRow.match(lines[i]).hasMatch())
            policy.hasSource = true;
    }
    const auto isListed
        = [&versions](const QString& version) { return version.isEmpty() || versions.contains(version); };
    if (!isListed(policy.installed) || !isListed(policy.candidate))
        return std::nullopt;
    policy.isCandidateNewer = !policy.candidate.isEmpty() && !policy.installed.isEmpty()
        && versions.indexOf(policy.candidate) < versions.indexOf(policy.installed);
    return policy;
}

QString AptPolicy::versionText(const QString& version)
{
    const QString ours = version.mid(version.indexOf(u':') + 1);
    // The packages of one build for several releases of Debian differ in this mark only.
    static const auto form = exactly(R"((.+)-(\d+)(?:\+deb\d+)?)");
    const auto match = form.match(ours);
    return match.hasMatch() ? UpdateOffer::name(match.captured(1), match.captured(2)) : ours;
}

} // namespace kestrum
