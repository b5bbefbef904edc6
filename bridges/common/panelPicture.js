// SPDX-License-Identifier: MIT

/** A picture of the agent's, pixel for pixel. The host's part has `PanelScale` and `setPictureContent`. */
class PanelPicture {
    constructor(properties = {}) {
        this.actor = new St.Widget(properties);
    }

    setPixels(bytes, width, height) {
        this.actor.set_size(width / PanelScale.resource, height / PanelScale.resource);
        setPictureContent(this.actor, bytes, width, height);
    }
}

/** The picture of the open popover. What the user does with it goes to the agent. */
class PopoverPicture extends PanelPicture {
    constructor(popover) {
        super({reactive: true, can_focus: true, accessible_role: Atk.Role.PANEL, x_align: Clutter.ActorAlign.CENTER});
        this._popover = popover;
        const handlers = {
            'motion-event': event => this._move(event),
            'leave-event': () => this._point('leave', 0, 0),
            'button-press-event': event => this._button('press', event),
            'button-release-event': event => this._button('release', event),
            'touch-event': event => this._touch(event),
            'scroll-event': event => this._scroll(event),
            'key-press-event': event => popover.press(event.get_key_symbol(), event.get_state()),
        };
        for (const [signal, handle] of Object.entries(handlers))
            this.actor.connect(signal, (actor, event) => handle(event) ? Clutter.EVENT_STOP : Clutter.EVENT_PROPAGATE);
    }

    /** Takes a picture as `PanelPopover` gives it. */
    draw({bytes, width, height, text, focus}) {
        this.setPixels(bytes, width, height);
        // A screen reader says what the keyboard is at, else all of it.
        this.actor.accessible_name = focus || text;
    }

    /** The event's place in points of the picture. */
    _place(event) {
        const [, x, y] = this.actor.transform_stage_point(...event.get_coords());
        return [x / PanelScale.theme, y / PanelScale.theme];
    }

    _point(kind, x, y, notches) {
        this._popover.point(kind, x, y, notches);
        return true;
    }

    _move(event) {
        this._popover.move(...this._place(event));
        return true;
    }

    _button(kind, event) {
        return event.get_button() === Clutter.BUTTON_PRIMARY && this._point(kind, ...this._place(event));
    }

    _touch(event) {
        const {TOUCH_BEGIN, TOUCH_END} = Clutter.EventType;
        const kind = {[TOUCH_BEGIN]: 'press', [TOUCH_END]: 'release'}[event.type()];
        return kind !== undefined && this._point(kind, ...this._place(event));
    }

    _scroll(event) {
        const {UP, DOWN, SMOOTH} = Clutter.ScrollDirection;
        const direction = event.get_scroll_direction();
        const notches = direction === SMOOTH ? -event.get_scroll_delta()[1] : {[UP]: 1, [DOWN]: -1}[direction];
        // What the display makes of a smooth movement comes a second time, in whole notches.
        if (notches && !event.is_pointer_emulated())
            this._point('scroll', ...this._place(event), notches);
        return true;
    }
}
