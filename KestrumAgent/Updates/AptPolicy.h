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

    /// Parses the output about `package`. An empty output is valid and means that APT does not know the package. Returns
    /// nothing if the output has another form or contradicts itself.
    static std::optional<AptPolicy> read(const QByteArray& text, const QString& package);

    /// Formats a Debian version for display. A revision that is a plain number is the build number: "1.4-27" gives
    /// "1.4 (27)", and so does "1.4-27+deb13", the same build for one release of Debian. Other versions keep their form, such
    /// as "1.4-27+deb12u1", where more than the release is another. An epoch is always removed.
    static QString versionText(const QString& version);
};

} // namespace kestrum
