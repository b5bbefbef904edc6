// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// The agent on the session bus, as panels know it. Every answer has a time limit.
namespace PanelAgent {

/// Asks what shows the items now. The event loop calls `answered`, with an empty text if no agent is on the bus.
void askWhatShowsItems(QObject* context, std::function<void(const QString&)> answered);

} // namespace PanelAgent
} // namespace kestrum
