#pragma once

#include "KestrumShared/Settings/SignalListener.h"

#include <QWidget>
#include <optional>

namespace kestrum {

/// The row above the agent's that offers an update which the agent found; it takes no room while there is none.
class UpdateOfferRow final : public QWidget {
    Q_OBJECT
public:
    explicit UpdateOfferRow(QWidget* parent = nullptr);

    /// The version on offer, nothing when there is none.
    const std::optional<QString>& offer() const { return m_offer; }

    /// Looks anew at what the agent left in the shared settings.
    void read();

private:
    std::optional<QString> m_offer;
    SignalListener m_signals;
};

} // namespace kestrum
