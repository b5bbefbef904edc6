// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QWidget>
#include <initializer_list>

namespace kestrum {

class WrappedLabel;

/// One section of a page: a rounded card with an optional heading above it and an optional footnote below it. The contents are
/// below each other, with hairlines between them. For assistive programs the card is a group with the heading as its name.
class Card : public QWidget {
    Q_OBJECT
public:
    enum class Ground {
        filled,
        none, ///< for contents that draw their own background
    };

    explicit Card(Ground ground = Ground::filled, QWidget* parent = nullptr);
    /// A filled card with contents and a heading. `heading` is an English text.
    Card(const char* heading, std::initializer_list<QWidget*> contents);
    explicit Card(std::initializer_list<QWidget*> contents);

    /// Both functions show `text` unchanged. An empty text takes no space.
    void setHeading(const QString& text);
    void setFootnote(const QString& text);
    /// Replaces the heading with a label of another kind, such as one with a symbol; the card owns the label.
    void setHeader(WrappedLabel* header);

    /// Adds `content` below the present contents; the card owns it.
    void add(QWidget* content);

protected:
    void changeEvent(QEvent* event) override;

private:
    class Plate;
    void alignTexts();

    Plate* m_plate;
    WrappedLabel* m_heading;
    WrappedLabel* m_footnote;
};

} // namespace kestrum
