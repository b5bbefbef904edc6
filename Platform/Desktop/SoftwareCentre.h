// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Processes/ProcessEnds.h"

#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// Shows one package in the desktop's own program for installing software (the software centre). Most such programs open
/// "appstream:" addresses. If no installed program opens them, the session's PackageKit service is asked. No function
/// waits for an answer from the bus. Main thread only.
class SoftwareCentre final : public QObject {
    Q_OBJECT
public:
    /// `component` is the AppStream id of the software in the Debian package `package`.
    SoftwareCentre(const QString& component, const QString& package, QObject* parent = nullptr);
    ~SoftwareCentre() override;

    /// Searches for a software centre or the PackageKit service, then calls `looked`, perhaps before `look` returns. The
    /// result can change while this process runs.
    void look(const std::function<void()>& looked);
    /// Whether the last search found a software centre or the service.
    bool isThere() const { return m_way != Way::none; }

    /// Opens the software centre or service that was found. `activationToken` may be empty. Emits `failed` on an error.
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
    ProcessEnds m_ends; ///< collects the exit status of the started programs
};

} // namespace kestrum
