// SPDX-License-Identifier: MIT
#include "PanelItems.h"

#include <algorithm>

namespace kestrum {

void PanelItems::adopt(const QList<PanelMessages::Item>& told)
{
    const double gapBefore = gap();
    const double widestBefore = widest();
    for (int i = 0; i < told.size(); ++i)
        place(i, told[i]);
    if (m_items.size() > told.size()) {
        beginRemoveRows({}, int(told.size()), int(m_items.size()) - 1);
        m_items.erase(m_items.begin() + told.size(), m_items.end());
        endRemoveRows();
    }
    if (gap() != gapBefore || widest() != widestBefore)
        Q_EMIT measured();
}

/// Brings the item to that row and lets it be as told. The rows before it are right already.
void PanelItems::place(int row, const PanelMessages::Item& told)
{
    const int before = this->row(told.id);
    if (before < 0) {
        beginInsertRows({}, row, row);
        m_items.insert(row, told);
        endInsertRows();
        return;
    }
    if (before != row) {
        beginMoveRows({}, before, before, {}, row);
        m_items.move(before, row);
        endMoveRows();
    }
    PanelMessages::Item now = told;
    if (now.picture.isNull() && now.size == m_items[row].size)
        now.picture = m_items[row].picture;
    m_items[row] = now;
    Q_EMIT dataChanged(index(row), index(row));
}

int PanelItems::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_items.size());
}

QVariant PanelItems::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() || index.row() >= m_items.size())
        return {};
    const PanelMessages::Item& item = m_items[index.row()];
    switch (role) {
    case idRole:
        return item.id;
    case widthRole:
        return item.width;
    case textRole:
        return item.text;
    case pictureRole:
        return item.picture;
    default:
        return {};
    }
}

QHash<int, QByteArray> PanelItems::roleNames() const
{
    return { { idRole, "itemId" }, { widthRole, "points" }, { textRole, "text" },
        { pictureRole, "picture" } };
}

double PanelItems::gap() const
{
    return m_items.size() < 2 ? 0 : std::max(m_items[1].x - m_items[0].x - m_items[0].width, 0.0);
}

double PanelItems::widest() const
{
    double widest = 0;
    for (const PanelMessages::Item& item : m_items)
        widest = std::max(widest, item.width);
    return widest;
}

int PanelItems::row(const QString& id) const
{
    for (int i = 0; i < m_items.size(); ++i) {
        if (m_items[i].id == id)
            return i;
    }
    return -1;
}

QString PanelItems::id(int row) const
{
    return row >= 0 && row < m_items.size() ? m_items[row].id : QString();
}

} // namespace kestrum
