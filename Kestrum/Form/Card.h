#pragma once

#include <QList>
#include <QWidget>
#include <initializer_list>

namespace kestrum {

class WrappedLabel;

/// One section of a page: contents one below the other on a rounded card, with hairlines between them, under
/// an optional heading and above an optional footnote. The page places it and limits its width. To assistive programs it is a
/// group with the heading's name.
class Card : public QWidget {
    Q_OBJECT
public:
    enum class Ground {
        filled,
        none, ///< for a content that brings a plate of its own
    };

    explicit Card(Ground ground = Ground::filled, QWidget* parent = nullptr);
    /// A filled card with a heading, an English text, and contents.
    Card(const char* heading, std::initializer_list<QWidget*> contents);
    explicit Card(std::initializer_list<QWidget*> contents);

    /// Texts as they are shown; an empty one takes no room.
    void setHeading(const QString& text);
    void setFootnote(const QString& text);
    /// Another heading in place of a text, such as one with a symbol; the card owns it.
    void setHeader(WrappedLabel* header);

    /// Puts `content` below what is there; the card owns it.
    void add(QWidget* content);

protected:
    void changeEvent(QEvent* event) override;

private:
    class Plate;
    void alignTexts();

    Plate* m_plate;
    WrappedLabel* m_heading;
    WrappedLabel* m_header = nullptr;
    WrappedLabel* m_footnote;
};

} // namespace kestrum
