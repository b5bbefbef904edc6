#include "Kestrum/Agent/LoginItemManager.h"

#include "KestrumShared/Machine/LoginItemPolicy.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Log.h"

#include <QCoreApplication>
#include <QFuture>
#include <QPointer>
#include <QPromise>
#include <QThread>
#include <QThreadPool>
#include <chrono>
#include <memory>

namespace kestrum {

namespace {

using Error = std::optional<LoginItemService::Error>;
using Status = LoginItemService::Status;

constexpr char logArea[] = "loginItem";
constexpr std::chrono::milliseconds pauseBeforeRegisteringAgain { 300 };

/// What any manager of this process read or set last.
std::optional<Status>& lastKnownStatus()
{
    static std::optional<Status> status;
    return status;
}

/// A single thread, so that of two quick changes the later one is what remains.
QThreadPool& worker()
{
    static QThreadPool* const pool = [] {
        auto* made = new QThreadPool;
        made->setMaxThreadCount(1);
        // A change that was begun is ended before the application goes, which hears of its end.
        qAddPostRoutine([] { worker().waitForDone(); });
        return made;
    }();
    return *pool;
}

/// Runs `work` on the worker and then `done` with its result on the main thread.
template <class Work, class Done> void run(Work work, Done done)
{
    using Result = std::invoke_result_t<Work>;
    auto promise = std::make_shared<QPromise<Result>>();
    promise->future().then(qApp, std::move(done));
    worker().start([promise, work = std::move(work)] {
        promise->start();
        promise->addResult(work());
        promise->finish();
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
    default:
        return AppLanguage::string(error->text);
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
    run([service = AgentLoginItem::service()] { return service.status(); },
        [self = QPointer(this)](Status status) {
            if (!self)
                return;
            self->setStatus(status);
            Q_EMIT self->refreshed();
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
            if (message)
                Log::error(logArea, QStringLiteral("login item: %1").arg(*message));
            if (self)
                self->finish(message);
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
    const LoginItemService legacy(QStringLiteral("com.orvale.kestrum"), {}, {});
    run([legacy] { return legacy.unregister(); },
        [](const Error&) { Setting(Keys::didUnregisterLegacyLoginItem).set(true); });
}

} // namespace kestrum
