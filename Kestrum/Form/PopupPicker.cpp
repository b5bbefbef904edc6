#include "Kestrum/Form/PopupPicker.h"

#include <algorithm>

namespace kestrum {

namespace {

constexpr int positionRole = Qt::UserRole; ///< of a choice among the choices; a divider has none

} // namespace

PopupPicker::PopupPicker(QWidget* parent)
    : QComboBox(parent)
{
    connect(this, &QComboBox::activated, this,
        [this](int row) { Q_EMIT chosen(itemData(row, positionRole).toInt()); });
}

void PopupPicker::addEntry(const QString& title, const QIcon& picture)
{
    int position = 0;
    for (int row = 0; row < count(); ++row)
        position += itemData(row, positionRole).isValid() ? 1 : 0;
    addItem(picture, title, position);
}

void PopupPicker::addDivider()
{
    insertSeparator(count());
}

int PopupPicker::index() const
{
    const QVariant position = currentData(positionRole);
    return position.isValid() ? position.toInt() : -1;
}

void PopupPicker::setIndex(int index)
{
    setCurrentIndex(index < 0 ? -1 : findData(index, positionRole));
}

} // namespace kestrum
