// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SignalListener.h"

#include <QMenu>
#include <QObject>
#include <memory>
#include <optional>

namespace kestrum {

class PanelChannel;
class PanelStrip;
class Sampler;
class UpdateChecker;
class UpdateNotice;

/// The window-less agent: it puts the items at the panel, draws them with live readings, follows the shared settings, and
/// answers the signals of the settings application. Whoever started it, it runs until it is told to quit or is switched off.
class Agent final : public QObject {
    Q_OBJECT
public:
    explicit Agent(QObject* parent = nullptr);
    ~Agent() override;

    /// Registers the defaults, begins to listen and to show. What was asked of the agent since `launched`, in seconds since
    /// 1970, is done too: nobody listened while the program was being loaded. Called once.
    void start(std::optional<double> launched = std::nullopt);

    /// Ends the program; the log gets the reason, as of everything that ends it.
    void leave(const QString& reason);

    /// Brings the settings application forward, and starts it: a start where it runs already opens no second window. It is told
    /// by what click or key somebody asked for it, so that the desktop lets it take the focus.
    void openSettings();

    /// The items at the panel; null before `start`.
    PanelStrip* strip() const { return m_strip.get(); }
    /// What a right click on them opens. Its entries are made when it is about to be shown.
    QMenu& menu() { return m_menu; }

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    QByteArray activationToken() const;
    void logEnd(const QString& reason);
    void adoptLanguage();
    void adoptSettings();
    void doWhatWasAskedSince(double launched);
    void fillMenu();
    void switchOff();

    SignalListener m_signals;
    QMenu m_menu;
    Sampler* m_sampler;
    UpdateChecker* m_updates;
    UpdateNotice* m_updateNotice;
    bool m_isLeaving = false;
    quint32 m_lastAct = 0; ///< when somebody last clicked or pressed a key, by the display's clock
    QString m_language;    ///< of the toolkit's texts and the direction of writing
    std::unique_ptr<PanelStrip> m_strip;
    std::unique_ptr<PanelChannel> m_channel;
};

} // namespace kestrum
