// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SignalListener.h"

#include <QMenu>
#include <QObject>
#include <memory>
#include <optional>

namespace kestrum {

class PanelChannels;
class PanelOffer;
class PanelService;
class PanelStrip;
class PlacedPopover;
class PopoverController;
class PopoverSource;
class PopoverStand;
class Sampler;
enum class PopoverRequest;
class UpdateChecker;
class UpdateNotice;

/// The agent, which has no ordinary window. It shows the items at the panel with live readings, follows the shared settings,
/// and handles the signals of the settings application. The agent runs until it is asked to quit or is switched off.
class Agent final : public QObject {
    Q_OBJECT
public:
    explicit Agent(QObject* parent = nullptr);
    ~Agent() override;

    /// Registers the defaults, starts to listen for signals, and shows the items. Also carries out requests that were posted
    /// while the program was loading: after `launched`, in seconds since 1970. Must be called once only.
    void start(std::optional<double> launched = std::nullopt);

    /// Ends the program. Logs `reason` unless an earlier reason was logged.
    void leave(const QString& reason);

    /// Ends the program too, so that another goes on in its place. Whoever ends it otherwise until then prevents that.
    void makeWay(const QString& reason);
    /// Once the program has ended: since when, in seconds since 1970, requests are the business of the one that goes on.
    /// Nothing if none is to go on. Requests of the last moments are done by both, because none must be lost.
    std::optional<double> madeWaySince() const { return m_madeWaySince; }

    /// Starts the settings application, or brings its window forward if it runs already. The application gets a token with
    /// the time of the last click or key press, so that the desktop allows its window to take the focus.
    void openSettings();

    /// The items at the panel; null before `start`.
    PanelStrip* strip() const { return m_strip.get(); }
    /// The popovers of the items; null before `start`.
    PopoverController* popovers() const { return m_popovers.get(); }
    /// The agent on the session bus, for bridges; null before `start`.
    PanelService* service() const { return m_service.get(); }
    /// The menu that a right click on the items opens. Its entries are those of the moment when it is about to be shown.
    QMenu& menu() { return m_menu; }

private:
    bool eventFilter(QObject* watched, QEvent* event) override;
    QByteArray activationToken() const;
    void logEnd(const QString& reason);
    void obey(PopoverRequest request);
    void adoptLanguage();
    void useStand(PopoverStand* stand);
    void rememberBridge(const QString& host);
    void adoptSettings();
    void doWhatWasAskedSince(double launched);
    void fillMenu();
    void addEntries(QMenu& menu);
    void switchOff();

    SignalListener m_signals;
    QMenu m_menu;
    Sampler* m_sampler;
    UpdateChecker* m_updates;
    UpdateNotice* m_updateNotice;
    PanelOffer* m_panelOffer;
    bool m_isLeaving = false;
    std::optional<double> m_madeWaySince;
    bool m_isAdopting = false; ///< an immediate sample is not drawn: the rebuild after it draws all items
    quint32 m_lastAct = 0;     ///< time of the last input event, by the display's clock
    QString m_language;        ///< language of Qt's texts and of the layout direction
    std::unique_ptr<PanelStrip> m_strip;
    std::unique_ptr<PanelChannels> m_channels;
    std::unique_ptr<PopoverSource> m_popoverSource;
    std::unique_ptr<PopoverController> m_popovers;
    std::unique_ptr<PlacedPopover> m_placedPopover;
    std::unique_ptr<PanelService> m_service;
};

} // namespace kestrum
