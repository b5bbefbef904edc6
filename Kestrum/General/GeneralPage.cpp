// SPDX-License-Identifier: MIT
#include "Kestrum/General/GeneralPage.h"

#include "Kestrum/Agent/LaunchAtLoginSection.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Rows.h"
#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Agent/AppLinks.h"

#include <QHBoxLayout>
#include <QLabel>

namespace kestrum {

namespace {

constexpr int versionGap = 12; ///< between the version and the button

/// Each language is listed by its own name, so users find their language in any interface language.
QList<Choice<QString>> languages()
{
    QList<Choice<QString>> choices { { QLatin1StringView(AppLanguage::systemChoice),
        AppLanguage::string("System") } };
    for (const auto& [code, name] : AppLanguage::available())
        choices.append({ code, name });
    return choices;
}

/// The refresh intervals, in seconds. Users may store another number by hand: the agent uses it, and the picker shows no choice.
QList<Choice<double>> intervals()
{
    return {
        { 1, AppLanguage::string("Every Second") },
        { 2, AppLanguage::string("Every 2 Seconds") },
        { 5, AppLanguage::string("Every 5 Seconds") },
    };
}

/// Version and build of the running agent, or of this bundle if no agent runs. The agent may belong to another copy of Kestrum.
/// The build is always shown, because bug reports need it.
QString versionText()
{
    const Bundle bundle = AppLinks::runningAgentBundle().value_or(Bundle::main());
    const auto text
        = [&bundle](const QString& key) { return bundle.infoText(key).value_or(QStringLiteral("—")); };
    return text(QStringLiteral("CFBundleShortVersionString")) + QStringLiteral(" (")
        + text(QStringLiteral("CFBundleVersion")) + u')';
}

/// The version, and the button that asks the agent to check for updates.
QWidget* versionAndButton()
{
    auto* version = new QLabel(versionText());
    version->setFont(Theme::font(Theme::TextStyle::body));
    version->setForegroundRole(QPalette::PlaceholderText);
    version->setTextFormat(Qt::PlainText);

    auto* check = new PushButton(AppLanguage::string("Check Now"));
    QObject::connect(check, &PushButton::clicked, check,
        [] { SharedSettings::post(SharedSettings::Signal::checkForUpdates); });
    // The button is disabled until the agent reports that it can check for updates.
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

GeneralPage::GeneralPage(QWidget* parent)
    : FormPage(parent)
{
    add(new LaunchAtLoginSection);
    add(new Card({ Form::picker<QString>("Language", Setting { Keys::language }, languages()) }));
    add(new Card("Units",
        { Form::picker<Units::TemperatureChoice>("Temperature", Setting { Keys::temperatureUnit }) }));
    add(new Card("Sampling",
        { Form::picker<double>("Refresh interval", Setting { Keys::refreshInterval }, intervals()) }));
    add(new Card("Updates",
        { Form::toggle("Check automatically", Setting { Keys::updatesCheckAutomatically }),
            new Row(AppLanguage::string("Version"), versionAndButton()) }));
}

} // namespace kestrum
