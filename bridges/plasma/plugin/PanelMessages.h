// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>
#include <QList>
#include <QSize>
#include <QString>
#include <QVariant>
#include <optional>

class QDBusMessage;

namespace kestrum {

/// What the agent tells bridges. Its interface is described in KestrumAgent/Bridge/com.orvale.kestrum.Panel1.xml. A message of
/// another shape, or with numbers that do not fit together, is read as nothing.
namespace PanelMessages {

/// More than any screen has, in pixels a side.
constexpr int greatestSide = 16384;
constexpr int mostItems = 64;

/// An item of the panel.
struct Item {
    QString id;
    double x = 0;     ///< in points
    double width = 0; ///< in points
    QString text;
    QSize size;     ///< of the picture, in pixels
    QImage picture; ///< null if the picture is as before
};

struct Items {
    uint bridge = 0;
    QList<Item> list;
};

/// Some whole rows of a popover's picture.
struct Band {
    int top = 0;
    int rows = 0;
    QByteArray pixels;
};

struct Popover {
    uint bridge = 0;
    QString item;
    QString text;
    QString focus;
    QSize size; ///< of the picture, in pixels
    QList<Band> bands;
};

std::optional<Items> items(const QDBusMessage& message);
std::optional<Popover> popover(const QDBusMessage& message);
/// The entries of a menu, each a map of "id", "title", "isEnabled" and "isSeparator".
std::optional<QVariantList> actions(const QDBusMessage& message);

/// Puts the bands into `picture`, which becomes as large as the popover's. Returns false, and leaves the picture as it is, if its
/// size is another and the bands do not cover all of the new one.
bool apply(const Popover& popover, QImage& picture);

} // namespace PanelMessages
} // namespace kestrum
