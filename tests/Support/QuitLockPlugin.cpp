// A Qt plugin that holds one of the toolkit's quit locks for 300 ms, as a desktop's theme does while a status icon is shown.
// The plugin then writes to the file that its argument names.

#include <QEventLoopLocker>
#include <QFile>
#include <QGenericPlugin>
#include <QTimer>
#include <chrono>
#include <memory>

class QuitLockPlugin final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "QuitLockPlugin.json")
public:
    QObject* create(const QString&, const QString& report) override
    {
        auto* holder = new QObject;
        QTimer::singleShot(std::chrono::milliseconds(300), holder,
            [lock = std::make_shared<QEventLoopLocker>(), report]() mutable {
                lock.reset();
                QFile file(report);
                if (file.open(QIODevice::WriteOnly))
                    file.write("released\n");
            });
        return holder;
    }
};

#include "QuitLockPlugin.moc"
