// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SignalListener.h"

#include <QWidget>
#include <optional>

namespace kestrum {

class ShrinkingLabel;

/// The row above the agent's row. It offers an update that the agent has found. Without an offer the row hides its content
/// and takes no space. The owner must not hide the row itself: the row reads the offer when it is shown, and again at each signal
/// of the agent.
class UpdateOfferRow final : public QWidget {
    Q_OBJECT
public:
    explicit UpdateOfferRow(QWidget* parent = nullptr);

    /// The offered version; none without an offer.
    const std::optional<QString>& offer() const { return m_offer; }

    /// Reads the offer from the shared settings again.
    void read();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QWidget* makeStrip();

    std::optional<QString> m_offer;
    SignalListener m_signals;
    QWidget* m_content;
    ShrinkingLabel* m_version = nullptr;
};

} // namespace kestrum
