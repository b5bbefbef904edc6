#pragma once

#include "Kestrum/Form/Theme.h"

#include <QLabel>
#include <optional>
#include <utility>

namespace kestrum {

/// A text of the page that goes on in a new line where it is out of room. Layouts ask for its height many times over, and
/// shaping a text is what they spend most on: the last answer is kept.
class WrappedLabel : public QLabel {
public:
    explicit WrappedLabel(Theme::TextStyle style, const QString& text = {}, QWidget* parent = nullptr);

    int heightForWidth(int width) const override;

private:
    /// What the height depends on, of all that our labels change.
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
