#pragma once

#include "Platform/Processes/ProcessEnds.h"

#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// The desktop's own program for installing and updating software, opened at one package. Most desktops' open addresses of the
/// kind "appstream:"; where none does, the service that the session's PackageKit gives to programs is asked. Nobody is waited for.
/// Main thread only.
class SoftwareCentre final : public QObject {
    Q_OBJECT
public:
    /// `component` is the AppStream id of what the Debian package `package` installs.
    SoftwareCentre(const QString& component, const QString& package, QObject* parent = nullptr);
    ~SoftwareCentre() override;

    /// Looks what this desktop has, which may change while we run, and calls `looked`, perhaps at once.
    void look(const std::function<void()>& looked);
    /// Whether the last look has found something to open.
    bool isThere() const { return m_way != Way::none; }

    /// Opens what was found, with the token that the desktop gave for it, which may be empty. `failed` follows when that cannot be.
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
    ProcessEnds m_ends; ///< of what was started, which has to be waited for
};

} // namespace kestrum
