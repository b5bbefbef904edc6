// SPDX-License-Identifier: MIT
#pragma once

#include <QSvgRenderer>
#include <QWidget>

namespace kestrum {

class AgentController;
class ShrinkingLabel;
class Switch;

/// The row at the sidebar's foot with the agent's name, its state and its switch.
class AgentRow final : public QWidget {
    Q_OBJECT
public:
    /// `controller` outlives the row.
    explicit AgentRow(AgentController& controller, QWidget* parent = nullptr);

    /// The picture's rectangle in the row's coordinates.
    QRectF pictureRect() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void showState(bool isRunning);

    QSvgRenderer m_picture;
    ShrinkingLabel* m_state;
    Switch* m_switch;
};

} // namespace kestrum
