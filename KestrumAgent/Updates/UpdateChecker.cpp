// SPDX-License-Identifier: MIT
#include "KestrumAgent/Updates/UpdateChecker.h"

#include "KestrumAgent/Updates/AptPolicy.h"
#include "KestrumAgent/Updates/AptQuery.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Log/Log.h"

#include <QRandomGenerator>
#include <optional>

namespace kestrum {

namespace {

using namespace std::chrono_literals;

constexpr char logArea[] = "updates";
constexpr auto timeLimit = 30s; // "apt-cache" usually answers within a tenth of a second

// The times of checks are random between these limits, so that not all machines check at the same time. The first check
// is delayed because a session may be starting.
constexpr std::chrono::seconds firstCheck[] { 1min, 10min };
constexpr std::chrono::seconds nextCheck[] { 23h, 25h };

std::chrono::seconds someTimeWithin(const std::chrono::seconds (&span)[2])
{
    return span[0]
        + std::chrono::seconds(QRandomGenerator::global()->bounded(int((span[1] - span[0]).count()) + 1));
}

bool isSwitchedOff()
{
    return !KESTRUM_UPDATER || qEnvironmentVariable("KESTRUM_DISABLE_UPDATER") == u'1';
}

/// Stores `version` as the offer, or removes the offer. Notifies the settings window of a change.
void publish(const std::optional<QString>& version)
{
    UserDefaults& store = SharedSettings::store();
    const char* key = Keys::updatesAvailable.name;
    if (store.string(key) == version)
        return;
    if (version ? store.set(key, *version) : store.remove(key))
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
}

} // namespace

UpdateChecker::UpdateChecker(QObject* parent)
    : QObject(parent)
    , m_daily(this)
{
    m_daily.setSingleShot(true);
    m_daily.setTimerType(Qt::VeryCoarseTimer);
    connect(&m_daily, &QTimer::timeout, this, [this] {
        m_daily.start(someTimeWithin(nextCheck));
        begin();
    });
}

void UpdateChecker::start()
{
    const bool canCheck = !isSwitchedOff() && !AptQuery::program().isEmpty();
    const Setting said { Keys::updaterCanCheck };
    if (said.value() != canCheck)
        said.set(canCheck);
    if (!canCheck) {
        // An earlier agent may have stored an offer. It is removed here, because no check will run.
        publish(std::nullopt);
        return;
    }
    Setting { Keys::updatesCheckAutomatically }.follow(this, [this](bool checksAutomatically) {
        if (checksAutomatically)
            m_daily.start(someTimeWithin(firstCheck));
        else
            m_daily.stop();
    });
}

void UpdateChecker::check()
{
    m_isAskedFor = true;
    m_isAskedAgain = m_query != nullptr;
    begin();
}

void UpdateChecker::begin()
{
    if (m_query)
        return;
    if (isSwitchedOff()) {
        const auto refuse = [this] { fail(AppLanguage::string("It is switched off.")); };
        QMetaObject::invokeMethod(this, refuse, Qt::QueuedConnection);
        return;
    }
    m_query = new AptQuery(packageName, timeLimit, this);
    connect(m_query, &AptQuery::answered, this, &UpdateChecker::adopt);
    connect(m_query, &AptQuery::failed, this, &UpdateChecker::fail);
    m_query->start();
}

void UpdateChecker::adopt(const QByteArray& answer)
{
    const auto policy = AptPolicy::read(answer, packageName);
    if (!policy) {
        fail(AppLanguage::string("APT's answer is not understood."));
        return;
    }
    // APT updates only programs that it has installed.
    if (policy->installed.isEmpty() || !policy->hasSource) {
        Log::info(logArea,
            QStringLiteral("no source of updates: %1")
                .arg(policy->installed.isEmpty() ? QStringLiteral("not installed as a package")
                                                 : QStringLiteral("no repository has the package")));
        publish(std::nullopt);
        end(AppLanguage::string("No source of updates is known."));
    } else if (const QString version = AptPolicy::versionText(policy->candidate);
               // The same build for the next release of Debian is newer to APT, but nobody gains by it.
               policy->isCandidateNewer && version != AptPolicy::versionText(policy->installed)) {
        Log::info(logArea,
            QStringLiteral("%1 is installed, %2 is on offer").arg(policy->installed, policy->candidate));
        publish(version);
        end(AppLanguage::string("Kestrum %1 is available.").arg(version), true);
    } else {
        Log::info(logArea, QStringLiteral("up to date: %1").arg(policy->installed));
        publish(std::nullopt);
        end(AppLanguage::string("Kestrum is up to date."));
    }
}

void UpdateChecker::fail(const QString& reason)
{
    // The stored offer stays, because it is still the latest known result.
    Log::warning(logArea, QStringLiteral("the check failed: %1").arg(Log::escaped(reason)));
    end(AppLanguage::string("The check for updates failed: %1").arg(reason));
}

void UpdateChecker::end(const QString& outcome, bool isOnOffer)
{
    if (m_query) {
        m_query->deleteLater();
        m_query = nullptr;
    }
    // Another check was requested during this one. It must run, because APT's lists may have changed after this check read
    // them.
    if (std::exchange(m_isAskedAgain, false)) {
        begin();
        return;
    }
    if (std::exchange(m_isAskedFor, false))
        Q_EMIT finished(outcome, isOnOffer);
}

} // namespace kestrum
