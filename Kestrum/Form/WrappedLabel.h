// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Form/Theme.h"

#include <QLabel>
#include <optional>
#include <utility>

namespace kestrum {

/// A text of a page that wraps. Layouts request its height many times, and shaping a text is the most expensive part of a
/// layout, so the last height is cached.
class WrappedLabel : public QLabel {
public:
    explicit WrappedLabel(Theme::TextStyle style, const QString& text = {}, QWidget* parent = nullptr);

    int heightForWidth(int width) const override;

private:
    /// The cache key: all properties of a label that its height depends on.
    struct Question {
        QString text;
        QFont font;
        QMargins margins;
        int indent;
        Qt::Alignment alignment;
        int width;
        bool operator==(const Question&) const = default;
    };
    mutable std::optional<std::pair<Question, int>> m_answer;
};

} // namespace kestrum
