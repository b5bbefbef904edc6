#pragma once

#include <QWidget>

namespace kestrum {

class AgentController;

/// The row at the sidebar's foot that names the agent, says whether it is on, and switches it.
class AgentRow final : public QWidget {
    Q_OBJECT
public:
    /// `controller` outlives the row.
    explicit AgentRow(AgentController& controller, QWidget* parent = nullptr);
};

} // namespace kestrum
