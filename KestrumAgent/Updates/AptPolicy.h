// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// What APT knows about a package, from the output of "apt-cache policy NAME" in the C locale.
struct AptPolicy {
    QString installed; ///< the installed version in Debian's form; empty when there is none
    QString candidate; ///< the version that an upgrade would install; empty when there is none
    bool isCandidateNewer = false;
    bool hasSource = false; ///< at least one repository offers a version of the package

    /// Parses the output about `package`. An empty output is valid: APT does not know the package. Nothing when the text has
    /// another form or contradicts itself.
    static std::optional<AptPolicy> read(const QByteArray& text, const QString& package);

    /// A Debian version for display. A revision that is a plain number is the build number: "1.4-27" gives "1.4 (27)". Any
    /// other version, such as "1.4-27+deb12u1", stays as it is. An epoch is removed: it belongs to Debian's numbering only.
    static QString versionText(const QString& version);
};

} // namespace kestrum
