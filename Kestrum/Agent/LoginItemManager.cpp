// SPDX-License-Identifier: MIT
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
#include <chrono>
#include <mutex>

namespace kestrum {

namespace {

using Status = LoginItemService::Status;

constexpr char logArea[] = "loginItem";
constexpr std::chrono::milliseconds pauseBeforeRegisteringAgain { 300 };
constexpr std::chrono::milliseconds patienceAtTheEnd { 2000 };

/// The state that was last read or set in this process; none before that.
std::optional<Status>& lastKnownStatus()
{
    static std::optional<Status> status;
    return status;
}

/// Guards `isApplicationGone`. The worker holds the lock while it posts a result, so that the application object still exists.
std::mutex applicationMutex;
bool isApplicationGone = false;

QThreadPool& worker();

/// Waits for the requested changes when the application ends. If a change hangs, for example on a network mount without a server,
/// the wait ends after `patienceAtTheEnd`, and the thread ends with the process. If the change returns in the meantime, the
/// worker posts nothing. The worker uses only its copy of the service and the pool, which is never destroyed.
void endWorker()
{
    if (worker().waitForDone(int(patienceAtTheEnd.count())))
        return;
    worker().clear();
    const std::scoped_lock lock(applicationMutex);
    isApplicationGone = true;
}

/// A pool with a single thread, so that the changes are made in the order of the requests.
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
        const std::scoped_lock lock(applicationMutex);
        if (!isApplicationGone)
            QMetaObject::invokeMethod(
                QCoreApplication::instance(), [done, result] { done(result); }, Qt::QueuedConnection);
    });
}

Result<> change(const LoginItemService& service, bool enabled, bool wasOn)
{
    if (!enabled)
        return service.unregister();
    if (wasOn) {
        // Unregister first: an existing entry may wait for approval or belong to another copy of Kestrum.
        (void)service.unregister();
        QThread::msleep(pauseBeforeRegisteringAgain.count());
    }
    return service.registerItem();
}

std::optional<QString> message(const Result<>& result)
{
    if (result || AgentLoginItem::isHarmless(result.failure()))
        return std::nullopt;
    switch (result.failure().error) {
    case LoginItemService::notTrusted:
        return AppLanguage::string("This build is not signed. Login items need a signed build.");
    case LoginItemService::refused:
        return AppLanguage::string("Kestrum is not allowed to run in the background.");
    case LoginItemService::notForRoot:
        return AppLanguage::string("No login item is registered for root.");
    default:
        return result.failureText(); // the system's error text, not translated
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
        [self = QPointer(this)](const Result<>& result) {
            const auto message = kestrum::message(result);
            if (message) {
                const QString line = QStringLiteral("login item: %1");
                Log::error(logArea, line.arg(*message));
                // A translated message names neither the file nor the reason, so log the original text too.
                if (const QString reason = result.failureText(); *message != reason)
                    Log::warning(logArea, line.arg(reason));
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
        [](const Result<>&) { Setting(Keys::didUnregisterLegacyLoginItem).set(true); });
}

} // namespace kestrum
