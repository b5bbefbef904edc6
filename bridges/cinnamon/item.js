// SPDX-License-Identifier: MIT

/** The popover of an item, as a menu of the panel. */
class KestrumMenu extends PopupMenu {
    constructor(item, orientation) {
        super(item.actor, orientation);
        this.item = item;
        this.picture = new PopoverPicture(item.applet.popover);
        this.box.add(this.picture.actor, {x_fill: false});
        this.connect('open-state-changed', (menu, isOpen) => item.menuTurned(isOpen));
        Main.uiGroup.add_actor(this.actor);
        this.actor.hide();
    }

    /** The host's way to open a menu, whoever wants it open. The popover opens when its picture is there. */
    open(isAnimated) {
        if (this.isPictureThere)
            super.open(isAnimated);
        else if (!this.isOpen)
            this.item.applet.popover.toggle(this.item.id);
    }

    destroy() {
        this.close(false);
        Tweener.removeTweens(this.actor); // of an opening or closing that the item does not live to see
        super.destroy();
    }

    /** The picture brings its own ground with it. As a style of the actor's own, since themes say what they want of all menus. */
    setMaxHeight() {
        super.setMaxHeight();
        const nothing = 'margin: 0; padding: 0; border: 0; border-image: none; border-radius: 0; box-shadow: none; min-width: 0; '
            + 'background: transparent; background-color: transparent; background-gradient-direction: none;';
        this.actor.style += nothing;
        this.box.style = nothing;
    }
}

/** Turns from one popover to the next without a moment in between that has none. */
class KestrumMenuManager extends PopupMenuManager {
    /** The host wants to turn, because the pointer has come to another item. */
    _changeMenu(menu) {
        menu.item.applet.popover.open(menu.item.id);
    }

    turnTo(menu) {
        menu.isPictureThere = true;
        super._changeMenu(menu);
        menu.isPictureThere = false;
    }
}

/** An item in the panel. It looks like an applet of its own. */
class KestrumItem {
    constructor(applet, id, orientation) {
        this.applet = applet;
        this.id = id;
        this.actor = new St.BoxLayout({
            style_class: 'applet-box', reactive: true, track_hover: true, accessible_role: Atk.Role.PUSH_BUTTON,
        });
        this._picture = new PanelPicture();
        this.actor.add(this._picture.actor, {y_fill: false, y_align: St.Align.MIDDLE});
        this.actor.connect('button-press-event', (actor, event) => this._pressed(event));
        this._tip = new PanelItemTooltip(this, '', orientation);
        this.actor.connect('notify::hover', () => this._tip.set_text(this._text));
        this.menu = new KestrumMenu(this, orientation);
        applet.menus.addMenu(this.menu);
    }

    destroy() {
        this.menu.destroy();
        this.actor.destroy(); // and with it the tool tip
    }

    setOrientation(orientation) {
        this.menu.setOrientation(orientation);
        this._tip.orientation = orientation;
    }

    update({text, pixels, width, height}) {
        this.actor.accessible_name = text;
        this._text = text;
        // The tip's text is laid out even while nobody sees it, and with it all of the stage.
        if (this.actor.hover)
            this._tip.set_text(text);
        if (pixels)
            this._picture.setPixels(pixels, width, height);
    }

    menuTurned(isOpen) {
        this.actor.change_style_pseudo_class('checked', isOpen);
        if (!isOpen)
            this.applet.popover.menuClosed(this.id);
    }

    _pressed(event) {
        if (this.applet.isBeingArranged)
            return Clutter.EVENT_PROPAGATE;
        const button = event.get_button();
        if (button === Clutter.BUTTON_PRIMARY)
            this.applet.itemPressed(this);
        else if (button === Clutter.BUTTON_SECONDARY)
            this.applet.openEntries(this);
        else
            return Clutter.EVENT_PROPAGATE;
        return Clutter.EVENT_STOP;
    }
}
