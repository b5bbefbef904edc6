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

/// The window-less agent: it shows the items at the panel with live readings, follows the shared settings, and answers the
/// signals of the settings application. It runs until it is asked to quit or switched off, whatever started it.
class Agent final : public QObject {
    Q_OBJECT
public:
    explicit Agent(QObject* parent = nullptr);
    ~Agent() override;

    /// Registers the defaults and starts to listen and to show. Requests that were posted since `launched`, in seconds
    /// since 1970, are carried out too: nothing listened while the program was being loaded. Called once.
    void start(std::optional<double> launched = std::nullopt);

    /// Ends the program; the log gets the reason, which it does for every end.
    void leave(const QString& reason);

    /// Starts the settings application, which comes forward if it runs already: a second start opens no second window. It
    /// is given the time of the click or key, so that the desktop lets it take the focus.
    void openSettings();

    /// The items at the panel; null before `start`.
    PanelStrip* strip() const { return m_strip.get(); }
    /// The menu of a right click on them. Its entries are made when it is about to be shown.
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
    quint32 m_lastAct = 0; ///< time of the last click or key, by the display's clock
    QString m_language;    ///< of the toolkit's texts and the direction of writing
    std::unique_ptr<PanelStrip> m_strip;
    std::unique_ptr<PanelChannel> m_channel;
};

} // namespace kestrum
