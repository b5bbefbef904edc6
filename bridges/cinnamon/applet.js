// SPDX-License-Identifier: MIT

const itemHeight = 22; // points
/** Whom the desktop takes for the maker of a window that is to come. */
const windowMaker = Gio.AppInfo.create_from_commandline('kestrum', 'Kestrum', Gio.AppInfoCreateFlags.NONE);
/** Entries that open a window. For the others, the desktop would wait for a window that never comes. */
const windowEntries = ['settings', 'install-update', 'system-monitor'];

/** The agent's items in a panel. */
class KestrumApplet extends Applet.Applet {
    constructor(orientation, panelHeight, instanceId) {
        super(orientation, panelHeight, instanceId);
        this.actor.remove_style_class_name('applet-box'); // each item is one
        this._items = new Map();
        this.menus = new KestrumMenuManager(this);
        // Above the host's own entries.
        this._entries = new PopupMenuSection();
        this._applet_context_menu.addMenuItem(this._entries);
    }

    on_applet_added_to_panel() {
        this.agent = new PanelAgent('cinnamon', this);
        this.popover = new PanelPopover(this.agent, this);
        this._styleChanged = this.actor.connect('style-changed', () => this.agent.lookChanged());
        this._scaleChanged = global.connect('scale-changed', () => this.agent.lookChanged());
    }

    on_applet_removed_from_panel() {
        this.actor.disconnect(this._styleChanged);
        global.disconnect(this._scaleChanged);
        this.agentLeft();
        this.agent.destroy();
        this.menus.destroy();
    }

    on_panel_height_changed() {
        this.agent.lookChanged();
    }

    on_orientation_changed(orientation) {
        for (const item of this._items.values())
            item.setOrientation(orientation);
    }

    /** Whether the user moves applets about. */
    get isBeingArranged() {
        return !this._draggable.inhibit;
    }

    itemPressed(item) {
        if (this._applet_context_menu.isOpen)
            this._applet_context_menu.close(true);
        else
            item.menu.toggle();
    }

    openEntries(item) {
        this.popover.close();
        if (this._applet_context_menu.isOpen) {
            this._applet_context_menu.close(true);
            return;
        }
        this.agent.actions(item.id, entries => {
            if (this._items.get(item.id) !== item || this._applet_context_menu.isOpen)
                return;
            this._fillEntries(entries, item.id);
            const [x] = item.actor.get_transformed_position();
            this._applet_context_menu.shiftToPosition(x + item.actor.width / 2);
            this._applet_context_menu.open(true);
        });
    }

    _fillEntries(entries, item) {
        this._entries.removeAll();
        for (const {id, title, isEnabled} of entries) {
            if (id)
                this._entries.addAction(title, () => this.choose(id, item)).setSensitive(isEnabled);
            else
                this._entries.addMenuItem(new PopupSeparatorMenuItem());
        }
    }

    choose(entry, item) {
        this.agent.choose(entry, item, windowEntries.includes(entry) ? this._activationToken() : '');
    }

    /** The agent may ask for it a moment after what the user has done: that event has no time to be had any more. */
    _activationToken() {
        try {
            const context = global.create_app_launch_context();
            context.set_timestamp(global.display.get_current_time_roundtrip());
            return context.get_startup_notify_id(windowMaker, []) || '';
        } catch (error) {
            this.agent.complain('activation token', error.message);
            return '';
        }
    }

    // For PanelAgent

    look() {
        const {red, green, blue} = this.actor.get_theme_node().get_foreground_color();
        const foreground = [red, green, blue].map(part => part.toString(16).padStart(2, '0')).join('');
        // Smaller than usual where the panel has not the room.
        const scale = Math.min(PanelScale.theme, this._panelHeight / itemHeight);
        return {scale, foreground: `#${foreground}`};
    }

    showItems(items) {
        for (const item of items) {
            if (!this._items.has(item.id)) {
                const shown = new KestrumItem(this, item.id, this._orientation);
                this._items.set(item.id, shown);
                this.actor.add(shown.actor);
            }
            this._items.get(item.id).update(item);
        }
        const ids = [...new Set(items.map(item => item.id))];
        for (const id of this._items.keys()) {
            if (!ids.includes(id))
                this._remove(id);
        }
        const isMirrored = this.actor.get_text_direction() === Clutter.TextDirection.RTL;
        (isMirrored ? ids.reverse() : ids).forEach((id, index) => this.actor.set_child_at_index(this._items.get(id).actor, index));
    }

    showPopover(news) {
        this.popover.told(news);
    }

    popoverRequested(id) {
        this.popover.open(id);
    }

    popoverClosed() {
        this.popover.agentClosed();
    }

    copied(text) {
        St.Clipboard.get_default().set_text(St.ClipboardType.CLIPBOARD, text);
    }

    lookTold() {
        this.popover.lookChanged();
    }

    agentLeft() {
        for (const id of this._items.keys())
            this._remove(id);
        this._applet_context_menu.close(false);
        this._entries.removeAll();
        this.popover.reset();
    }

    warn(text) {
        global.logWarning(text);
    }

    // For PanelPopover

    popoverLook() {
        const monitor = Main.layoutManager.findMonitorForActor(this.actor);
        const panels = Main.panelManager.getPanelsInMonitor(monitor.index)
            .filter(panel => [PanelLoc.top, PanelLoc.bottom].includes(panel.panelPosition));
        const room = monitor.height - panels.reduce((height, panel) => height + panel.actor.height, 0);
        return {scale: PanelScale.theme, room: room / PanelScale.theme};
    }

    drawPopover(id, picture) {
        const item = this._items.get(id);
        if (item)
            item.menu.picture.draw(picture);
    }

    openMenu(id) {
        const item = this._items.get(id);
        if (!item || !item.actor.mapped)
            return false;
        this._applet_context_menu.close(false);
        this.menus.turnTo(item.menu);
        item.menu.picture.actor.grab_key_focus();
        return item.menu.isOpen;
    }

    closeMenu(id) {
        const item = this._items.get(id);
        if (item)
            item.menu.close(true);
    }

    _remove(id) {
        this._items.get(id).destroy();
        this._items.delete(id);
    }
}

function main(metadata, orientation, panelHeight, instanceId) {
    return new KestrumApplet(orientation, panelHeight, instanceId);
}
