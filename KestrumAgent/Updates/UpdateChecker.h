#pragma once

#include <QObject>

namespace kestrum {

/// Looks for newer versions of Kestrum among those that the system's package manager knows, and leaves what it finds in the
/// shared settings. Nothing is downloaded or installed.
class UpdateChecker final : public QObject {
    Q_OBJECT
public:
    explicit UpdateChecker(QObject* parent = nullptr);

    /// Says in the settings that checks are possible, and checks by itself once a day where that is chosen.
    void start();

    /// Checks now. `finished` tells the outcome in the interface language; a check that runs already is not doubled.
    void check();

Q_SIGNALS:
    void finished(const QString& outcome);
};

} // namespace kestrum
