// SPDX-License-Identifier: MIT

const agentService = 'com.orvale.kestrum.Agent';
const agentPath = '/com/orvale/kestrum/Panel';
const agentInterface = 'com.orvale.kestrum.Panel1';
/** How long a call may take, in milliseconds. */
const answerLimit = 2000;
/** When an agent that has refused is asked again, in seconds: it has bridges enough, and one of them may go. */
let attachAgain = 10;
/** Larger pictures are mistakes: no texture is so wide, and none of ours so heavy. */
const longestSide = 16384;
const mostBytes = 64 << 20;

function isPicture(width, height, bytes) {
    return width > 0 && width <= longestSide && height > 0 && height <= longestSide
        && bytes === width * height * 4 && bytes <= mostBytes;
}

function variantChildren(variant) {
    return Array.from({length: variant.n_children()}, (_, index) => variant.get_child_value(index));
}

/**
 * The agent on the session bus. While it is there, this bridge is attached to it.
 *
 * `panel` is the part that knows the host. It has
 *   look()                the place's look: { scale, foreground }
 *   showItems(items)      all items from left to right: { id, text, width, height, pixels }, where pixels are a GLib.Bytes,
 *                         or null if the picture is as before
 *   showPopover(news)     what has changed of the popover, see PanelPopover.told
 *   popoverRequested(id), popoverClosed(), copied(text)
 *   choose(action, id)    must call PanelAgent.choose, with an activation token
 *   lookTold()            the agent has been told of another look
 *   agentLeft()           nothing of the agent may stay
 *   warn(text)            a line for the host's log
 */
class PanelAgent {
    constructor(hostName, panel) {
        this._hostName = hostName;
        this._panel = panel;
        this._complaints = new Set();
        this._stay = 0;
        this._forget();
        this._watch = Gio.bus_watch_name(Gio.BusType.SESSION, agentService, Gio.BusNameWatcherFlags.NONE,
            (bus, name, owner) => this._appeared(bus, owner), () => this._vanished());
    }

    /** Leaves the agent. The panel hears nothing any more, not even `agentLeft`. */
    destroy() {
        Gio.bus_unwatch_name(this._watch);
        if (this._bridge)
            this._call('Detach', new GLib.Variant('(u)', [this._bridge]));
        this._forget();
    }

    /** Must be called when the place looks different, and is cheap if it does not. */
    lookChanged() {
        if (!this._bridge)
            return;
        const look = this._panel.look();
        if (JSON.stringify(look) === this._toldLook)
            return;
        this._toldLook = JSON.stringify(look);
        this._call('Look', new GLib.Variant('(ua{sv})', [this._bridge, this._lookVariant(look)]));
        this._panel.lookTold();
    }

    /** Calls `fail` if the agent does not answer. */
    openPopover(id, {scale, room}, fail) {
        const look = {scale: new GLib.Variant('d', scale), room: new GLib.Variant('u', Math.max(0, Math.floor(room)))};
        this._call('OpenPopover', new GLib.Variant('(usa{sv})', [this._bridge, id, look]), answer => answer ?? fail());
    }

    closePopover(then) {
        this._call('ClosePopover', new GLib.Variant('(u)', [this._bridge]), then);
    }

    pointer(kind, x, y, notches, then) {
        this._call('Pointer', new GLib.Variant('(usddd)', [this._bridge, kind, x, y, notches]), then);
    }

    key(name) {
        this._call('Key', new GLib.Variant('(us)', [this._bridge, name]));
    }

    /** Asks for the menu's entries: { id, title, isEnabled }, where a separator has no id. Without an answer, `then` is not called. */
    actions(item, then) {
        this._call('Actions', new GLib.Variant('(s)', [item]), answer => {
            if (answer?.get_type_string() !== '(a(ssb))')
                return;
            then(answer.deepUnpack()[0].map(([id, title, isEnabled]) => ({id, title, isEnabled})));
        });
    }

    choose(action, item, token) {
        this._call('Choose', new GLib.Variant('(sss)', [action, item, token]));
    }

    /** Logs the first trouble of each kind. */
    complain(kind, text) {
        if (this._complaints.has(kind))
            return;
        this._complaints.add(kind);
        this._panel.warn(`Kestrum: ${kind}: ${text}`);
    }

    _lookVariant({scale, foreground}) {
        return {scale: new GLib.Variant('d', scale), foreground: new GLib.Variant('s', foreground)};
    }

    _appeared(bus, owner) {
        this._forget();
        this._bus = bus;
        this._owner = owner;
        // By the owner's own name, so that nobody else is believed.
        const signals = {
            Items: ['(ua(sddsiiay))', list => this._panel.showItems(this._items(list))],
            Popover: ['(usssiia(iiay))', (...news) => this._panel.showPopover(this._popover(...news))],
            PopoverRequested: ['(us)', item => this._panel.popoverRequested(item.unpack())],
            PopoverClosed: ['(u)', () => this._panel.popoverClosed()],
            ChoiceRequested: ['(uss)', (action, item) => this._panel.choose(action.unpack(), item.unpack())],
            Copied: ['(us)', text => this._panel.copied(text.unpack())],
        };
        this._subscriptions = Object.entries(signals).map(([name, [type, tell]]) =>
            bus.signal_subscribe(owner, agentInterface, name, agentPath, null, Gio.DBusSignalFlags.NONE,
                (connection, sender, path, interfaceName, signal, values) => this._heard(name, type, tell, values)));
        this._attach();
    }

    _attach() {
        const look = this._panel.look();
        this._toldLook = JSON.stringify(look);
        // Without a limit: an answer that nobody waits for would leave a bridge that nobody detaches.
        const [bus, owner, stay] = [this._bus, this._owner, this._stay];
        this._call('Attach', new GLib.Variant('(sa{sv})', [this._hostName, this._lookVariant(look)]), answer => {
            if (answer?.get_type_string() !== '(u)') {
                if (stay === this._stay)
                    this._attachLater();
                return;
            }
            if (stay === this._stay) {
                this._bridge = answer.get_child_value(0).get_uint32();
                this.lookChanged();
            } else {
                bus.call(owner, agentPath, agentInterface, 'Detach', answer, null, Gio.DBusCallFlags.NO_AUTO_START,
                    answerLimit, null, null);
            }
        }, {limit: GLib.MAXINT32, isAnsweredAlways: true});
    }

    _attachLater() {
        this._attachTimer = GLib.timeout_add_seconds(GLib.PRIORITY_DEFAULT, attachAgain, () => {
            this._attachTimer = 0;
            this._attach();
            return GLib.SOURCE_REMOVE;
        });
    }

    _vanished() {
        if (!this._bus)
            return;
        this._forget();
        this._panel.agentLeft();
    }

    _forget() {
        for (const subscription of this._subscriptions ?? [])
            this._bus.signal_unsubscribe(subscription);
        this._subscriptions = [];
        if (this._attachTimer)
            GLib.source_remove(this._attachTimer);
        this._attachTimer = 0;
        this._bus = null;
        this._owner = null;
        this._bridge = 0;
        this._toldLook = '';
        this._stay += 1;
    }

    /** Calls `then` with the answer, or with null after an error, unless the agent has left meanwhile. */
    _call(method, values, then = null, {limit = answerLimit, isAnsweredAlways = false} = {}) {
        if (!this._bus)
            return;
        const stay = this._stay;
        this._bus.call(this._owner, agentPath, agentInterface, method, values, null, Gio.DBusCallFlags.NO_AUTO_START, limit,
            null, (bus, result) => {
                let answer = null;
                try {
                    answer = bus.call_finish(result);
                } catch (error) {
                    // That the agent ends in the middle of a call is no trouble.
                    if (stay === this._stay && !error.matches(Gio.DBusError, Gio.DBusError.NO_REPLY))
                        this.complain(method, error.message);
                }
                if (then && (stay === this._stay || isAnsweredAlways))
                    then(answer);
            });
    }

    _heard(name, type, tell, values) {
        if (values.get_type_string() !== type) {
            this.complain(name, `${values.get_type_string()} instead of ${type}`);
            return;
        }
        const [bridge, ...rest] = variantChildren(values);
        // An earlier bridge of this client may still have been told something.
        if (bridge.get_uint32() === this._bridge)
            tell(...rest);
    }

    _items(list) {
        return variantChildren(list).map(item => {
            const [id, , , text, width, height, pixels] = variantChildren(item);
            const picture = {width: width.get_int32(), height: height.get_int32(), pixels: pixels.get_data_as_bytes()};
            if (!isPicture(picture.width, picture.height, picture.pixels.get_size())) {
                if (picture.pixels.get_size() > 0)
                    this.complain('Items', `${picture.pixels.get_size()} bytes of ${picture.width} x ${picture.height} pixels`);
                picture.pixels = null;
            }
            return {id: id.unpack(), text: text.unpack(), ...picture};
        });
    }

    _popover(item, text, focus, width, height, bands) {
        return {
            item: item.unpack(),
            text: text.unpack(),
            focus: focus.unpack(),
            width: width.get_int32(),
            height: height.get_int32(),
            bands: variantChildren(bands).map(band => {
                const [top, rows, pixels] = variantChildren(band);
                return {top: top.get_int32(), rows: rows.get_int32(), pixels: pixels.get_data_as_bytes()};
            }),
        };
    }
}
