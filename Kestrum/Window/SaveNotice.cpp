// SPDX-License-Identifier: MIT
#include "Kestrum/Window/SaveNotice.h"

#include "Kestrum/Form/FormPage.h"
#include "Kestrum/Form/Theme.h"
#include "Kestrum/Form/WrappedLabel.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Store/UserDefaults.h"

#include <QAccessible>
#include <QPainter>
#include <QVBoxLayout>

namespace kestrum {

namespace {

constexpr int noticePadding = 8; // above and below

QString reasonOf(SettingsFile::Trouble trouble)
{
    using Trouble = SettingsFile::Trouble;
    switch (trouble) {
    case Trouble::diskFull:
        return AppLanguage::string("The disk is full.");
    case Trouble::notAllowed:
        return AppLanguage::string("Access to the settings file is denied.");
    case Trouble::busy:
        return AppLanguage::string("Another program is using the settings file.");
    case Trouble::none:
    case Trouble::other:
        break;
    }
    return AppLanguage::string("The settings file cannot be written.");
}

} // namespace

SaveNotice::SaveNotice(const UserDefaults& store, QWidget* parent)
    : QWidget(parent)
    , m_store(store)
    , m_text(new WrappedLabel(Theme::TextStyle::body, {}, this))
{
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    m_text->setForegroundRole(QPalette::BrightText);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_text);
    hide();
}

void SaveNotice::look()
{
    const QString particulars = m_store.lastError();
    if (particulars.isEmpty()) {
        hide();
        return;
    }
    m_text->setText(
        AppLanguage::string("Settings are not being saved:") + u' ' + reasonOf(m_store.lastTrouble()));
    setAccessibleName(m_text->text());
    setAccessibleDescription(particulars);
    setToolTip(particulars);
    show();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void SaveNotice::resizeEvent(QResizeEvent* event)
{
    const int margin = FormPage::margin(width());
    layout()->setContentsMargins(margin, noticePadding, margin, noticePadding + 1);
    QWidget::resizeEvent(event);
}

void SaveNotice::paintEvent(QPaintEvent*)
{
    QPainter(this).fillRect(0, height() - 1, width(), 1, Theme::colour(Theme::Colour::separator));
}

} // namespace kestrum
