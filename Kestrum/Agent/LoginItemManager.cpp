#include "Kestrum/Agent/LoginItemManager.h"

#include "KestrumShared/Agent/LoginItemPolicy.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Log/Identifier.h"
#include "Platform/Log/Log.h"

#include <QCoreApplication>
#include <QPointer>
#include <QThread>
#include <QThreadPool>
#include <atomic>
#include <chrono>

namespace kestrum {

namespace {

using Error = std::optional<LoginItemService::Error>;
using Status = LoginItemService::Status;

constexpr char logArea[] = "loginItem";
constexpr std::chrono::milliseconds pauseBeforeRegisteringAgain { 300 };
constexpr std::chrono::milliseconds patienceAtTheEnd { 2000 };

/// What any manager of this process read or set last.
std::optional<Status>& lastKnownStatus()
{
    static std::optional<Status> status;
    return status;
}

/// Taken by whoever deals with the application object: by the worker while it hands over a result, and for good by the end of
/// an application that a change outlasts.
std::atomic_flag applicationIsTaken;

QThreadPool& worker();

/// At the end of the application: changes that were asked for are made, though nobody hears of their outcome any more. One that
/// hangs, as on a network mount whose server is gone, is left behind in the kernel with its thread, which ends with the process.
/// Should it come back before that it finds nothing to do and the application out of its reach; its own copy of the service
/// and the pool, which is never destroyed, are all that it needs.
void endWorker()
{
    if (worker().waitForDone(int(patienceAtTheEnd.count())))
        return;
    worker().clear();
    while (applicationIsTaken.test_and_set())
        QThread::yieldCurrentThread();
}

/// A single thread, so that of two quick changes the later one is what remains.
QThreadPool& worker()
{
    static QThreadPool* const pool = [] {
        auto* made = new QThreadPool;
        made->setMaxThreadCount(1);
        qAddPostRoutine(endWorker);
        return made;
    }();
    return *pool;
}

/// Runs `work` on the worker and then `done` with its result on the main thread.
template <class Work, class Done> void run(Work work, Done done)
{
    worker().start([work = std::move(work), done = std::move(done)] {
        const auto result = work();
        if (applicationIsTaken.test_and_set())
            return;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [done, result] { done(result); }, Qt::QueuedConnection);
        applicationIsTaken.clear();
    });
}

Error change(const LoginItemService& service, bool enabled, bool wasOn)
{
    if (!enabled)
        return service.unregister();
    if (wasOn) {
        // One that waits for approval, or is of another copy of ours, gives way to a fresh one.
        service.unregister();
        QThread::msleep(pauseBeforeRegisteringAgain.count());
    }
    return service.registerItem();
}

std::optional<QString> message(const Error& error)
{
    if (!error || AgentLoginItem::isHarmless(*error))
        return std::nullopt;
    switch (error->code) {
    case LoginItemService::notTrusted:
        return AppLanguage::string("This build is not signed. Login items need a signed build.");
    case LoginItemService::refused:
        return AppLanguage::string("Kestrum is not allowed to run in the background.");
    case LoginItemService::notForRoot:
        return AppLanguage::string("No login item is registered for root.");
    default:
        return error->text; // in the system's own words
    }
}

} // namespace

LoginItemManager::LoginItemManager(QObject* parent)
    : QObject(parent)
    , m_status(lastKnownStatus().value_or(Status::notRegistered))
{
}

bool LoginItemManager::isOn() const
{
    return m_status == Status::enabled || m_status == Status::requiresApproval;
}

bool LoginItemManager::needsApproval() const
{
    return m_status == Status::requiresApproval;
}

bool LoginItemManager::isKnown()
{
    return lastKnownStatus().has_value();
}

std::optional<LoginItemManager::Block> LoginItemManager::block()
{
    return AgentLoginItem::block();
}

QString LoginItemManager::message(Block block)
{
    return AppLanguage::string(AgentLoginItem::message(block));
}

void LoginItemManager::setStatus(Status status)
{
    const bool isNews = !isKnown() || status != m_status;
    m_status = status;
    lastKnownStatus() = status;
    if (isNews)
        Q_EMIT changed();
}

void LoginItemManager::refresh()
{
    read(this);
}

void LoginItemManager::read(const QPointer<LoginItemManager>& asker)
{
    run([service = AgentLoginItem::service()] { return service.status(); },
        [asker](Status status) {
            if (!asker) {
                lastKnownStatus() = status;
                return;
            }
            asker->setStatus(status);
            Q_EMIT asker->refreshed();
        });
}

void LoginItemManager::setEnabled(bool enabled)
{
    if (block())
        return;
    const bool wasOn = isOn();
    m_lastError.reset();
    setStatus(enabled ? Status::enabled : Status::notRegistered);
    Q_EMIT changed();
    run([service = AgentLoginItem::service(), enabled, wasOn] { return change(service, enabled, wasOn); },
        [self = QPointer(this)](const Error& error) {
            const auto message = kestrum::message(error);
            if (message) {
                const QString line = QStringLiteral("login item: %1");
                Log::error(logArea, line.arg(*message));
                // The sentence for people does not name the place and the reason.
                if (*message != error->text)
                    Log::warning(logArea, line.arg(error->text));
            }
            if (self)
                self->finish(message);
            else
                read({});
        });
}

void LoginItemManager::finish(const std::optional<QString>& message)
{
    if (m_lastError != message) {
        m_lastError = message;
        Q_EMIT changed();
    }
    refresh();
}

void LoginItemManager::unregisterLegacyMainAppOnce()
{
    if (Setting(Keys::didUnregisterLegacyLoginItem).value() || LoginItemPolicy::isSuppressedHere())
        return;
    const LoginItemService legacy(applicationIdentifier, {}, {});
    run([legacy] { return legacy.unregister(); },
        [](const Error&) { Setting(Keys::didUnregisterLegacyLoginItem).set(true); });
}

} // namespace kestrum
