// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Processes/ProcessEnds.h"

#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// The desktop's own program for installing software, opened at one package. Most desktops' programs open "appstream:"
/// addresses; where none does, the PackageKit service of the session is asked. Nothing waits for an answer. Main thread
/// only.
class SoftwareCentre final : public QObject {
    Q_OBJECT
public:
    /// `component` is the AppStream id of the contents of the Debian package `package`.
    SoftwareCentre(const QString& component, const QString& package, QObject* parent = nullptr);
    ~SoftwareCentre() override;

    /// Finds out what this desktop has, which may change while we run, and calls `looked`, perhaps at once.
    void look(const std::function<void()>& looked);
    /// Whether the last search found a program or service.
    bool isThere() const { return m_way != Way::none; }

    /// Opens it, with the desktop's activation token, which may be empty. `failed` follows when that fails.
    void open(const QByteArray& activationToken);

Q_SIGNALS:
    void failed();

private:
    enum class Way { none, address, packageKit };

    void settle(Way way, const std::function<void()>& looked);
    void askBus(const std::function<void()>& looked);
    void openAddress(const QByteArray& activationToken);
    void askPackageKit();
    void fail(const QString& reason);

    QString m_component;
    QString m_package;
    Way m_way = Way::none;
    ProcessEnds m_ends; ///< of the started programs, whose exit status has to be collected
};

} // namespace kestrum
