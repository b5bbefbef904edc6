#include "Kestrum/General/GeneralPage.h"

#include "Kestrum/Agent/LaunchAtLoginSection.h"
#include "Kestrum/Form/Rows.h"
#include "Kestrum/General/LanguageSection.h"
#include "Kestrum/General/UnitsSection.h"
#include "Kestrum/General/UpdatesSection.h"

namespace kestrum {

namespace {

/// In seconds. Any other number may be stored by hand; the agent goes by it and no choice is shown.
QList<Choice<double>> intervals()
{
    return {
        { 1, AppLanguage::string("Every Second") },
        { 2, AppLanguage::string("Every 2 Seconds") },
        { 5, AppLanguage::string("Every 5 Seconds") },
    };
}

} // namespace

GeneralPage::GeneralPage(QWidget* parent)
    : FormPage(parent)
{
    add(new LaunchAtLoginSection);
    add(new LanguageSection);
    add(new UnitsSection);
    add(new Card("Sampling",
        { Form::picker<double>("Refresh interval", Setting { Keys::refreshInterval }, intervals()) }));
    add(new UpdatesSection);
}

} // namespace kestrum
