// SPDX-License-Identifier: MIT
#pragma once

#include "PanelMessages.h"

#include <QAbstractListModel>

namespace kestrum {

/// The items of the panel from left to right, as a model for views: an item that stays is the same row, wherever it moves.
class PanelItems final : public QAbstractListModel {
    Q_OBJECT
    /// The room between two items, in points.
    Q_PROPERTY(double gap READ gap NOTIFY measured)
    /// The width of the widest item, in points.
    Q_PROPERTY(double widest READ widest NOTIFY measured)
public:
    enum Role { idRole = Qt::UserRole, widthRole, textRole, pictureRole };

    using QAbstractListModel::QAbstractListModel;

    /// Takes what the agent has told. An item without a picture keeps the one it had, if its size is the same.
    void adopt(const QList<PanelMessages::Item>& told);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    double gap() const;
    double widest() const;
    /// The row of the item; -1 if it is not shown.
    Q_INVOKABLE int row(const QString& id) const;
    /// The item of that row; empty if there is no such row.
    Q_INVOKABLE QString id(int row) const;

Q_SIGNALS:
    void measured();

private:
    void place(int row, const PanelMessages::Item& told);

    QList<PanelMessages::Item> m_items;
};

} // namespace kestrum
