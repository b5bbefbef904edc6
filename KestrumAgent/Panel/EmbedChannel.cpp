// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/EmbedChannel.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Items/StripBackground.h"
#include "Platform/Desktop/Translucency.h"

#include <QEvent>
#include <QPalette>
#include <QScreen>
#include <QToolTip>
#include <QWindow>
#include <chrono>
#include <utility>

namespace kestrum {

namespace {

/// How long an area may take until it takes the strip in. At the beginning of a session its panel is busy with other parts.
constexpr std::chrono::seconds entryTime { 10 };
/// How long it may take then until the strip has its room. Panels arrange their parts in several steps.
constexpr std::chrono::seconds trialTime { 1 };
/// The least part of the strip's height: a low panel may cut what is empty above and below the items.
constexpr double leastHeight = 0.8;

} // namespace

EmbedChannel::EmbedChannel(PanelStrip& strip, QMenu& menu, NotificationArea& area)
    : m_strip(strip)
    , m_area(area)
    , m_popoverStand(strip)
    , m_menuWindow(strip, menu)
{
    m_trial.setSingleShot(true);
    connect(&m_trial, &QTimer::timeout, this, [this] {
        findPlace();
        if (!hasRoom())
            Q_EMIT refused(m_embedding->size().width() / m_strip.devicePixelRatioF());
    });
    m_strip.installEventFilter(this);
    // Not from within the event, because a new window may be needed.
    connect(&m_area, &NotificationArea::lookChanged, this, &EmbedChannel::adoptLook, Qt::QueuedConnection);
    connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, &EmbedChannel::adoptLook);
    connect(&m_strip, &PanelStrip::rebuilt, this, &EmbedChannel::fit);
    connect(&m_strip, &PanelStrip::menuRequested, this, [this](QPoint at) { m_menuWindow.open(at.x()); });
    connect(
        &m_strip, &PanelStrip::tipRequested, this, [this](QPoint at, const QString& text, const QRect& item) {
            QToolTip::showText(m_place.topLeft() + at, text, &m_strip, item);
        });
    connect(&m_strip, &PanelStrip::pointerLeft, this, [] { QToolTip::hideText(); });
    fit();
}

EmbedChannel::~EmbedChannel()
{
    undock();
}

void EmbedChannel::fit()
{
    if (m_strip.isEmpty()) {
        undock();
        return;
    }
    if (!m_frame) {
        dock();
        return;
    }
    const QSize size = m_strip.sizeHint();
    if (m_frame->minimumSize() == size)
        return;
    // The panel arranges its parts by the window's least size.
    m_frame->setFixedSize(size);
    arrange();
    if (m_embedding->isEmbedded())
        m_trial.start(trialTime);
}

void EmbedChannel::dock()
{
    m_frame = std::make_unique<QWidget>();
    m_frame->setWindowTitle(m_strip.windowTitle());
    m_frame->setWindowFlags(Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    m_frame->setAttribute(Qt::WA_ShowWithoutActivating);
    m_isTranslucent = isPanelSeen();
    m_frame->setAttribute(Qt::WA_TranslucentBackground, m_isTranslucent);
    m_frame->installEventFilter(this);
    m_frame->setFixedSize(m_strip.sizeHint());
    m_strip.setParent(m_frame.get()); // hidden until it is not cut
    adoptLook();
    arrange();
    m_frame->winId();
    QWindow& window = *m_frame->windowHandle();
    m_struts = std::make_unique<X11Struts>(window);
    m_embedding = std::make_unique<X11Embedding>(window);
    connect(m_struts.get(), &X11Struts::changed, this, &EmbedChannel::findPlace);
    // Shown earlier, it would be a window of its own for a moment. Not from within the event: the toolkit has not seen it yet.
    connect(
        m_embedding.get(), &X11Embedding::embedded, this,
        [this] {
            m_frame->show();
            findPlace();
            m_trial.start(trialTime);
        },
        Qt::QueuedConnection);
    connect(
        m_embedding.get(), &X11Embedding::configured, this,
        [this] {
            findPlace();
            if (!hasRoom() && !m_trial.isActive())
                m_trial.start(trialTime);
        },
        Qt::QueuedConnection);
    connect(m_embedding.get(), &X11Embedding::released, this, &EmbedChannel::released);
    m_area.dock(window);
    m_trial.start(entryTime);
}

void EmbedChannel::undock()
{
    m_trial.stop();
    m_menuWindow.close();
    m_embedding.reset();
    m_struts.reset();
    m_strip.leaveScreen();
    m_frame.reset();
}

/// Whether the panel is seen behind a transparent window, and its colour of texts is known. Some panels offer such windows even
/// if there is no compositing manager, without which the ground is black.
bool EmbedChannel::isPanelSeen() const
{
    return m_area.look().isTranslucent && m_area.look().scheme && isTranslucencyShown();
}

void EmbedChannel::adoptLook()
{
    if (!m_frame)
        return;
    if (m_isTranslucent != isPanelSeen()) {
        // A window cannot become transparent.
        undock();
        fit();
        return;
    }
    // A panel may be dark though the desktop is light: then the plate is dark, too.
    const std::optional<ColourScheme> scheme = m_area.look().scheme;
    // The plate fills the frame, which may be larger than the strip.
    if (!m_isTranslucent)
        m_frame->setPalette(
            QPalette(StripBackground::plate(scheme.value_or(SystemAppearance::shared().scheme()))));
    m_strip.setGround(scheme);
}

/// Puts the strip into the middle of the frame, whose size is the area's choice.
void EmbedChannel::arrange()
{
    m_strip.resize(m_strip.sizeHint());
    const QSize spare = m_frame->size() - m_strip.size();
    m_strip.move(spare.width() / 2, spare.height() / 2);
}

bool EmbedChannel::hasRoom() const
{
    if (!m_embedding)
        return true; // there is nothing to show
    const QSizeF wanted = QSizeF(m_strip.sizeHint()) * m_strip.devicePixelRatioF();
    const QSize got = m_embedding->size();
    // The toolkit may have rounded the width down.
    return m_embedding->isEmbedded() && got.width() >= int(wanted.width())
        && got.height() >= wanted.height() * leastHeight;
}

void EmbedChannel::findPlace()
{
    if (!m_embedding || !m_embedding->isEmbedded())
        return;
    const X11Embedding::Place at = m_embedding->place();
    m_strip.setVisible(hasRoom());
    const QRect now(at.topLeft + m_strip.pos(), m_strip.size());
    if (std::exchange(m_place, now) != now)
        m_menuWindow.close(); // it does not move with the strip
    if (!at.screen)
        return;
    const QRect free = m_struts->available(*at.screen);
    m_popoverStand.setGround(m_place, free);
    m_menuWindow.setGround(m_place, free);
}

bool EmbedChannel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_frame.get() && event->type() == QEvent::Resize)
        arrange();
    // The panel may have moved, which the toolkit does not hear.
    if (watched == &m_strip && (event->type() == QEvent::Enter || event->type() == QEvent::MouseButtonPress))
        findPlace();
    return QObject::eventFilter(watched, event);
}

} // namespace kestrum
