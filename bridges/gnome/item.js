// SPDX-License-Identifier: MIT

/** The menu of an item: either the popover's picture, or the entries that a right click opens. */
class KestrumMenu extends PopupMenu.PopupMenu {
    constructor(button, bridge, id) {
        super(button, 0.5, St.Side.TOP);
        this._bridge = bridge;
        this._id = id;
        this.picture = new PopoverPicture(bridge.popover);
        this.box.add_child(this.picture.actor);
        this._entries = new PopupMenu.PopupMenuSection();
        this.addMenuItem(this._entries);
        this.connect('open-state-changed', (menu, isOpen) => {
            if (!isOpen)
                bridge.popover.menuClosed(id);
        });
    }

    /** The shell's way to open a menu, whoever wants it open. The popover opens when its picture is there. */
    open() {
        if (!this.isOpen)
            this._bridge.popover.toggle(this._id);
    }

    openPopover() {
        this._show(true);
        this.picture.actor.grab_key_focus();
    }

    openEntries(entries) {
        this._entries.removeAll();
        for (const {id, title, isEnabled} of entries) {
            if (id)
                this._entries.addAction(title, () => this._bridge.choose(id, this._id)).setSensitive(isEnabled);
            else
                this._entries.addMenuItem(new PopupMenu.PopupSeparatorMenuItem());
        }
        this._show(false);
        this.actor.navigate_focus(null, St.DirectionType.TAB_FORWARD, false);
    }

    _show(isPopover) {
        this.picture.actor.visible = isPopover;
        this._entries.actor.visible = !isPopover;
        // The picture brings its own ground with it.
        for (const actor of [this.actor, this.box]) {
            if (isPopover)
                actor.add_style_class_name('kestrum-popover');
            else
                actor.remove_style_class_name('kestrum-popover');
        }
        super.open(Main.panel.menuManager.activeMenu ? PopupAnimation.FADE : PopupAnimation.FULL);
    }
}

/** An item in the top bar. */
const KestrumItem = GObject.registerClass(
class KestrumItem extends PanelMenu.Button {
    _init(bridge, id) {
        super._init(0.5, '', true);
        this._bridge = bridge;
        this._id = id;
        this.add_style_class_name('kestrum-item');
        this._picture = new PanelPicture({y_align: Clutter.ActorAlign.CENTER});
        this.add_child(this._picture.actor);
        this.setMenu(new KestrumMenu(this, bridge, id));
        this.connect('popup-menu', () => this._openEntries());
        this.menu.picture.actor.connect('popup-menu', () => this._openEntries());
        this.menu.picture.actor.connect('button-press-event', (actor, event) => this._pressed(event));
    }

    vfunc_event(event) {
        if (event.type() === Clutter.EventType.BUTTON_PRESS && this._pressed(event) === Clutter.EVENT_STOP)
            return Clutter.EVENT_STOP;
        return super.vfunc_event(event);
    }

    update({text, pixels, width, height}) {
        this.accessible_name = text;
        if (pixels)
            this._picture.setPixels(pixels, width, height);
    }

    _pressed(event) {
        if (event.get_button() !== Clutter.BUTTON_SECONDARY)
            return Clutter.EVENT_PROPAGATE;
        this._openEntries();
        return Clutter.EVENT_STOP;
    }

    _openEntries() {
        this._bridge.popover.close();
        this._bridge.agent.actions(this._id, entries => {
            // The item may have gone, or been clicked, while the agent answered.
            if (this._bridge.item(this._id) === this && !this.menu.isOpen)
                this.menu.openEntries(entries);
        });
    }
});
