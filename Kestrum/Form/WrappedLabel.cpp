// SPDX-License-Identifier: MIT
#include "Kestrum/Form/WrappedLabel.h"

namespace kestrum {

WrappedLabel::WrappedLabel(Theme::TextStyle style, const QString& text, QWidget* parent)
    : QLabel(text, parent)
{
    setFont(Theme::font(style));
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
}

int WrappedLabel::heightForWidth(int width) const
{
    Question question { text(), font(), contentsMargins(), indent(), alignment(), width };
    if (!m_answer || m_answer->first != question) {
        const int height = QLabel::heightForWidth(width);
        m_answer.emplace(std::move(question), height);
    }
    return m_answer->second;
}

} // namespace kestrum
