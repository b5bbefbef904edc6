#pragma once

#include "KestrumShared/Settings/SignalListener.h"

#include <QWidget>
#include <optional>

namespace kestrum {

class ShrinkingLabel;

/// The row above the agent's that offers an update which the agent found; it takes no room while there is none. It is to
/// be left visible all the same: it looks when it appears, and from then on whenever the agent tells.
class UpdateOfferRow final : public QWidget {
    Q_OBJECT
public:
    explicit UpdateOfferRow(QWidget* parent = nullptr);

    /// The version on offer, nothing when there is none.
    const std::optional<QString>& offer() const { return m_offer; }

    /// Looks anew at what the agent left in the shared settings.
    void read();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makeStrip();
    static void install();

    std::optional<QString> m_offer;
    SignalListener m_signals;
    QWidget* m_content;
    ShrinkingLabel* m_version = nullptr;
};

} // namespace kestrum
