// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/WrappedLabel.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

namespace kestrum {

/// The heading of one item's section: the item's symbol in blue and a title. Assistive programs get only the title.
class ItemHeader final : public WrappedLabel {
    Q_OBJECT
public:
    /// `title` is shown unchanged.
    ItemHeader(MonitorSection section, const QString& title);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_symbol;
};

} // namespace kestrum
