// SPDX-License-Identifier: MIT
#pragma once

#include <QSplitter>

namespace kestrum {

/// Two columns side by side with a hairline between them that can be dragged.
class SplitView final : public QSplitter {
    Q_OBJECT
public:
    explicit SplitView(QWidget* parent = nullptr);

protected:
    QSplitterHandle* createHandle() override;
};

} // namespace kestrum
