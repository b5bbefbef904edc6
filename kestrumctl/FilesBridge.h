// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QImage>
#include <QObject>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QVariantMap>
#include <functional>

class QDBusMessage;

namespace kestrum {

/// Shows the agent's items as files, for bars that show pictures: "<item>.png", "<item>.txt" with the item's text, and
/// "strip.png" with all items side by side. A file is replaced as a whole, and only if it has changed. Files are there only while
/// an agent shows items.
class FilesBridge final : public QObject {
    Q_OBJECT
public:
    /// `directory` is made if it is not there. `look` is what the agent is told of the place.
    FilesBridge(const QString& directory, const QVariantMap& look, QObject* parent = nullptr);
    /// Removes the files.
    ~FilesBridge() override;

    /// Waits for agents on the session bus, on another thread at first.
    void start();

Q_SIGNALS:
    /// From now on, no agent is missed.
    void ready();
    /// An agent has bridges enough. It is asked again later.
    void refused(const QString& reason);
    /// Nothing more will be shown.
    void failed(const QString& reason);

private Q_SLOTS:
    void ownerChanged(const QDBusMessage& message);
    void itemsCame(const QDBusMessage& message);
    void popoverRequested(uint bridge, const QString& item);
    void busLost();

private:
    struct Item {
        QString text;
        double x = 0;
        double width = 0;
        QImage picture;
        QByteArray file; ///< the picture as a file's content
    };

    void follow(const QString& owner);
    void attach();
    void write(const QHash<QString, Item>& items);
    bool writeFile(const QString& name, const QByteArray& content);
    void keepOnly(const QSet<QString>& names);
    QImage strip(const QHash<QString, Item>& items) const;

    QString m_directory;
    QVariantMap m_look;
    double m_scale;
    QString m_owner; ///< the agent's own name on the bus; empty without an agent
    uint m_number = 0;
    QTimer m_attachTimer;
    QHash<QString, Item> m_items;
    QHash<QString, QByteArray> m_written; ///< by file name
};

} // namespace kestrum
