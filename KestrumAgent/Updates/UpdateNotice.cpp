// SPDX-License-Identifier: MIT
#include "KestrumAgent/Updates/UpdateNotice.h"

#include "KestrumAgent/Updates/UpdateChecker.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Log/Identifier.h"

namespace kestrum {

UpdateNotice::UpdateNotice(QObject* parent)
    : QObject(parent)
    , m_centre(applicationIdentifier, UpdateChecker::packageName)
{
    connect(&m_notification, &DesktopNotification::pressed, &m_centre, &SoftwareCentre::open);
    connect(&m_centre, &SoftwareCentre::failed, this, [this] {
        m_notification.show({ m_outcome, advice(), {}, {} });
    });
}

void UpdateNotice::notify(const QString& outcome, bool isOnOffer)
{
    m_outcome = outcome;
    m_isOnOffer = isOnOffer;
    if (isOnOffer)
        m_centre.look([this] { show(); });
    else
        m_notification.show({ outcome, {}, {}, {} });
}

void UpdateNotice::show()
{
    // The search for a software centre takes time. Meanwhile, another check may have ended with another outcome.
    if (!m_isOnOffer)
        return;
    if (m_centre.isThere())
        m_notification.show({ m_outcome, {}, AppLanguage::string("Install"), advice() });
    else
        m_notification.show({ m_outcome, advice(), {}, {} });
}

void UpdateNotice::addTo(QMenu& menu, const std::function<QByteArray()>& token)
{
    if (m_outcome.isEmpty())
        return;
    const auto say = [&menu](const QString& text, const char* name) {
        QAction* entry = menu.addAction(text);
        entry->setEnabled(false);
        entry->setObjectName(QLatin1StringView(name));
    };
    // Without a name, an entry is a separator to a panel's own menu.
    say(m_outcome, "update-outcome");
    if (!m_isOnOffer)
        return;
    if (m_centre.isThere())
        menu.addAction(AppLanguage::string("Install"), this, [this, token] { m_centre.open(token()); })
            ->setObjectName(QStringLiteral("install-update"));
    else
        say(advice(), "update-advice");
}

QString UpdateNotice::advice()
{
    return AppLanguage::string("To install it, type in a terminal: %1")
        .arg(QStringLiteral("sudo apt install --only-upgrade ") + UpdateChecker::packageName);
}

} // namespace kestrum
