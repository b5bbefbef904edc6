// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// APT's knowledge of a package: the answer of "apt-cache policy NAME", in the C locale.
struct AptPolicy {
    QString installed; ///< the package's versions in Debian's form; empty when there is none
    QString candidate; ///< the version that an upgrade would install
    bool isCandidateNewer = false;
    bool hasSource = false; ///< some repository offers a version of the package

    /// Parses the answer about `package`. An empty answer is valid: the package is not known. Nothing when the text is no
    /// such answer, or contradicts itself.
    static std::optional<AptPolicy> read(const QByteArray& text, const QString& package);

    /// A Debian version as shown to people. A revision that is a plain number is the build number: "1.4-27" gives "1.4
    /// (27)". Any other version, such as "1.4-27+deb12u1", stays as it is. An epoch is left out: it belongs to Debian's
    /// numbering, not to ours.
    static QString versionText(const QString& version);
};

} // namespace kestrum
