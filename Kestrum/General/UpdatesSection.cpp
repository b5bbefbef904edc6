#include "Kestrum/General/UpdatesSection.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Rows.h"
#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Agent/AppLinks.h"

#include <QHBoxLayout>
#include <QLabel>

namespace kestrum {

namespace {

constexpr int versionGap = 12; ///< between the version and the button

/// The version of the agent that runs, which may be another copy's, else our own, and its build, also where the two are equal:
/// whoever reports a fault reads them here.
QString versionText()
{
    const Bundle bundle = AppLinks::runningAgentBundle().value_or(Bundle::main());
    const auto text
        = [&bundle](const QString& key) { return bundle.infoText(key).value_or(QStringLiteral("—")); };
    return text(QStringLiteral("CFBundleShortVersionString")) + QStringLiteral(" (")
        + text(QStringLiteral("CFBundleVersion")) + u')';
}

/// The version that runs, and the button that has the agent look for another.
QWidget* versionAndButton()
{
    auto* version = new QLabel(versionText());
    version->setFont(Theme::font(Theme::TextStyle::body));
    version->setForegroundRole(QPalette::PlaceholderText);
    version->setTextFormat(Qt::PlainText);

    auto* check = new PushButton(AppLanguage::string("Check Now"));
    QObject::connect(check, &PushButton::clicked, check,
        [] { SharedSettings::post(SharedSettings::Signal::checkForUpdates); });
    // Until the agent has said that it can.
    Setting { Keys::updaterCanCheck }.follow(check, [check](bool canCheck) { check->setEnabled(canCheck); });

    auto* both = new QWidget;
    auto* layout = new QHBoxLayout(both);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(versionGap);
    layout->addWidget(version);
    layout->addWidget(check);
    return both;
}

} // namespace

UpdatesSection::UpdatesSection()
    : Card("Updates",
        { Form::toggle("Check automatically", Setting { Keys::updatesCheckAutomatically }),
            new Row(AppLanguage::string("Version"), versionAndButton()) })
{
}

} // namespace kestrum
