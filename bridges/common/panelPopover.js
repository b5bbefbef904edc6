// SPDX-License-Identifier: MIT

/**
 * The popover, of which at most one is open: whose it is, its picture, and what the user does with it.
 *
 * A menu of the host opens only when its picture is there, so it never opens empty, and a click, the pointer that moves on to the
 * next item and the agent that turns to a neighbour all go the same way.
 *
 * `view` is the part that knows the host. It has
 *   popoverLook()              { scale, room }, where room is the greatest height for a picture, in points
 *   drawPopover(id, picture)   { width, height, bytes, text, focus }
 *   openMenu(id)               opens the item's menu, in place of another one; returns whether it is open
 *   closeMenu(id)              must lead to `menuClosed`
 */
class PanelPopover {
    constructor(agent, view) {
        this._agent = agent;
        this._view = view;
        this.reset();
    }

    /** Forgets all, without a word to the agent or the view. */
    reset() {
        this._asked = null; // the item that the user wants
        this._shown = null; // the item whose menu is open
        this._closing = 0; // calls on their way
        this._isMoving = false;
        this._clear();
    }

    _clear() {
        this._pixels = null;
        this._width = 0;
        this._height = 0;
        this._moved = null;
    }

    /** The user wants the item's popover. */
    open(id) {
        if (id === this._asked)
            return;
        this._asked = id;
        this._ask(id);
    }

    /** The panel looks different now: what is open comes again in its scale. */
    lookChanged() {
        if (this._asked !== null)
            this._ask(this._asked);
    }

    _ask(id) {
        // What the user wanted long ago must not come up by itself.
        this._agent.openPopover(id, this._view.popoverLook(), () => this._asked === id && this._shown !== id && this.close());
    }

    /** What a second click does while the menu of the first is on its way: nothing is wanted any more. */
    toggle(id) {
        if (id === this._asked && id !== this._shown)
            this.close();
        else
            this.open(id);
    }

    close() {
        if (this._asked === null)
            return;
        const shown = this._shown;
        this._finish();
        this._closing += 1;
        this._agent.closePopover(() => (this._closing -= 1));
        if (shown !== null)
            this._view.closeMenu(shown);
    }

    _finish() {
        this._asked = null;
        this._shown = null;
        this._clear();
    }

    /** The host's menu of this item has closed, by whatever means. */
    menuClosed(id) {
        if (id === this._shown)
            this.close();
    }

    /** The agent has closed the popover. An answer to our own wish must not close the next one. */
    agentClosed() {
        if (this._closing > 0)
            return;
        const shown = this._shown;
        this._finish();
        if (shown !== null)
            this._view.closeMenu(shown);
    }

    /** What has changed: { item, text, focus, width, height, bands }. */
    told(news) {
        const {item} = news;
        // The last words about a popover that was closed meanwhile, or about neither the old nor the new item.
        const isExpected = item === this._shown || item === this._asked || this._asked === this._shown;
        if (this._closing > 0 || this._asked === null || !isExpected)
            return;
        if (!this._patch(news)) {
            this._agent.complain('Popover', `bands that do not fit ${news.width} x ${news.height} pixels`);
            return;
        }
        this._view.drawPopover(item, {
            width: this._width,
            height: this._height,
            bytes: GLib.Bytes.new(this._pixels),
            text: news.text,
            focus: news.focus,
        });
        if (item === this._shown)
            return;
        this._asked = item;
        this._shown = item; // before the old menu closes, which is then not the end of the popover
        if (!this._view.openMenu(item))
            this.close();
    }

    _patch({width, height, bands}) {
        const stride = width * 4;
        const fits = ({top, rows, pixels}) => top >= 0 && rows > 0 && top + rows <= height && pixels.get_size() === rows * stride;
        if (!isPicture(width, height, stride * height) || !bands.every(fits))
            return false;
        if (width !== this._width || height !== this._height) {
            this._pixels = new Uint8Array(stride * height);
            this._width = width;
            this._height = height;
        }
        for (const {top, pixels} of bands)
            this._pixels.set(pixels.toArray(), top * stride);
        return true;
    }

    /** What the pointer does: "press", "release", "scroll" or "leave", at a place in points of the picture. */
    point(kind, x, y, notches = 0) {
        this._moved = null;
        this._agent.pointer(kind, x, y, notches);
    }

    /** The pointer has moved. Only the last place counts while an earlier one is on its way. */
    move(x, y) {
        if (this._isMoving) {
            this._moved = [x, y];
            return;
        }
        this._isMoving = true;
        this._agent.pointer('move', x, y, 0, () => {
            this._isMoving = false;
            const next = this._moved;
            this._moved = null;
            if (next && this._asked !== null)
                this.move(...next);
        });
    }

    /** Whether the key is one for the agent, which then gets it. */
    press(symbol, modifiers) {
        const name = panelKeyName(symbol, modifiers);
        if (name)
            this._agent.key(name);
        return name !== null;
    }
}

/** Keys by their names in the contract. Those of the keypad have a "KP_" before their name. */
const panelKeys = new Map(Object.entries({
    Tab: 'Tab', ISO_Left_Tab: 'Tab', Return: 'Return', ISO_Enter: 'Return', KP_Enter: 'Enter', space: 'Space', KP_Space: 'Space',
    Up: 'Up', Down: 'Down', Left: 'Left', Right: 'Right', Home: 'Home', End: 'End', Page_Up: 'PgUp', Page_Down: 'PgDown',
    KP_Up: 'Up', KP_Down: 'Down', KP_Left: 'Left', KP_Right: 'Right', KP_Home: 'Home', KP_End: 'End', KP_Page_Up: 'PgUp',
    KP_Page_Down: 'PgDown',
}).map(([key, name]) => [Clutter[`KEY_${key}`], name]));

/** Null for keys that are the host's: Esc, and all with Alt or Super. */
function panelKeyName(symbol, modifiers) {
    const {SHIFT_MASK, CONTROL_MASK, MOD1_MASK, MOD4_MASK, SUPER_MASK} = Clutter.ModifierType;
    if (modifiers & (MOD1_MASK | MOD4_MASK | SUPER_MASK))
        return null;
    const control = modifiers & CONTROL_MASK ? 'Ctrl+' : '';
    const named = panelKeys.get(symbol);
    if (named)
        return `${control}${modifiers & SHIFT_MASK ? 'Shift+' : ''}${named}`;
    const letter = String.fromCodePoint(symbol < 0x80 ? symbol : 0).toUpperCase();
    return /^[A-Z]$/.test(letter) ? `${control}${letter}` : null;
}
