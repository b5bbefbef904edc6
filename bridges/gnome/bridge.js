// SPDX-License-Identifier: MIT

/** Whom the shell takes for the maker of a window that is to come. */
const windowMaker = Gio.AppInfo.create_from_commandline('kestrum', 'Kestrum', Gio.AppInfoCreateFlags.NONE);
/** Entries that open a window. For the others, the shell would wait for a window that never comes. */
const windowEntries = ['settings', 'install-update', 'system-monitor'];

/** The agent's items at the top bar, left of the shell's own. */
class KestrumBridge {
    constructor() {
        this._items = new Map();
        this.agent = new PanelAgent('gnome-shell', this);
        this.popover = new PanelPopover(this.agent, this);
        const changed = () => this.agent.lookChanged();
        St.ThemeContext.get_for_stage(global.stage).connectObject('notify::scale-factor', changed, 'changed', changed, this);
        Main.panel.connectObject('resource-scale-changed', changed, 'style-changed', changed, this);
        Main.sessionMode.connectObject('updated', () => this._showOrHide(), this);
    }

    destroy() {
        St.ThemeContext.get_for_stage(global.stage).disconnectObject(this);
        Main.panel.disconnectObject(this);
        Main.sessionMode.disconnectObject(this);
        this.agentLeft();
        this.agent.destroy();
    }

    item(id) {
        return this._items.get(id);
    }

    choose(entry, id) {
        this.agent.choose(entry, id, windowEntries.includes(entry) ? this._activationToken() : '');
    }

    /** The agent may ask for it a moment after what the user has done: that event has no time to be had any more. */
    _activationToken() {
        try {
            return global.create_app_launch_context(global.display.get_current_time_roundtrip(), -1).get_startup_notify_id(windowMaker, []) ?? '';
        } catch (error) {
            this.agent.complain('activation token', error.message);
            return '';
        }
    }

    get _scale() {
        return PanelScale.theme * PanelScale.resource;
    }

    // For PanelAgent

    look() {
        // A button beside ours has the colour of texts there.
        const {red, green, blue} = (Main.panel.statusArea.quickSettings ?? Main.panel).get_theme_node().get_foreground_color();
        const foreground = [red, green, blue].map(part => part.toString(16).padStart(2, '0')).join('');
        return {scale: this._scale, foreground: `#${foreground}`};
    }

    showItems(items) {
        for (const item of items) {
            if (!this._items.has(item.id)) {
                const button = new KestrumItem(this, item.id);
                this._items.set(item.id, button);
                Main.panel.addToStatusArea(`kestrum-${item.id}`, button);
            }
            this.item(item.id).update(item);
        }
        const ids = [...new Set(items.map(item => item.id))];
        for (const id of this._items.keys()) {
            if (!ids.includes(id))
                this._remove(id);
        }
        this._arrange(ids);
        this._showOrHide();
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
        this._order = '';
        this.popover.reset();
    }

    warn(text) {
        console.warn(text);
    }

    // For PanelPopover

    popoverLook() {
        const {height} = Main.layoutManager.getWorkAreaForMonitor(Main.layoutManager.primaryIndex);
        const [menu] = [...this._items.values()].map(item => item.menu.actor);
        const distance = menu ? menu.get_theme_node().get_length('-arrow-rise') + menu.margin_top + menu.margin_bottom : 0;
        return {scale: this._scale, room: (height - distance) / PanelScale.theme};
    }

    drawPopover(id, picture) {
        this.item(id)?.menu.picture.draw(picture);
    }

    openMenu(id) {
        const menu = this.item(id)?.menu;
        if (!menu?.sourceActor.mapped)
            return false;
        menu.openPopover();
        return menu.isOpen;
    }

    closeMenu(id) {
        this.item(id)?.menu.close(PopupAnimation.FULL);
    }

    _remove(id) {
        this.item(id).destroy();
        this._items.delete(id);
    }

    /**
     * What the items tell is not for everybody who sees the locked screen. The bridge stays attached there: without one, the agent
     * would put the items elsewhere on the screen, and windows would have another size after the lock than before it.
     */
    _showOrHide() {
        const {isLocked} = Main.sessionMode;
        for (const item of this._items.values()) {
            item.container.visible = !isLocked;
            if (isLocked)
                item.menu.close(PopupAnimation.NONE);
        }
        if (isLocked)
            this.popover.close();
    }

    /** Puts the items side by side. Where the first one stands is left to the shell and other extensions. */
    _arrange(ids) {
        if (ids.join() === this._order)
            return;
        this._order = ids.join();
        const isMirrored = Main.panel.get_text_direction() === Clutter.TextDirection.RTL;
        let before = null;
        for (const id of isMirrored ? [...ids].reverse() : ids) {
            const {container} = this.item(id);
            if (before)
                container.get_parent().set_child_above_sibling(container, before);
            before = container;
        }
    }
}
