// SPDX-License-Identifier: MIT
// A bridge in JavaScript without a shell: what the shells' bridges share, and a view that notes what it is told. Runs each line of
// the input as a script, and answers with its value as JSON. What is shared stands behind it, and then a call of `main`.

const {Gio, GLib} = imports.gi;

/** The part of the shells' library that is needed: keys by the display's numbers, and modifiers. */
const Clutter = {
    KEY_Tab: 0xff09, KEY_ISO_Left_Tab: 0xfe20, KEY_Return: 0xff0d, KEY_Left: 0xff51, KEY_Right: 0xff53, KEY_Escape: 0xff1b,
    KEY_Page_Up: 0xff55, KEY_KP_Enter: 0xff8d, KEY_space: 0x20,
    ModifierType: {SHIFT_MASK: 1, CONTROL_MASK: 4, MOD1_MASK: 8, MOD4_MASK: 64, SUPER_MASK: 1 << 26},
    ActorAlign: {CENTER: 2}, BUTTON_PRIMARY: 1, EVENT_STOP: true, EVENT_PROPAGATE: false,
};

/** The shells' actors, as far as pictures need them. */
const St = {
    Widget: class {
        handlers = {};

        set_size(...size) {
            this.size = size;
        }

        connect(signal, handler) {
            this.handlers[signal] = handler;
        }

        transform_stage_point(x, y) {
            return [true, x, y];
        }
    },
};
const Atk = {Role: {PANEL: 39}};
const PanelScale = {theme: 1, resource: 1};
function setPictureContent(actor, bytes, width, height) {
    actor.pixels = [width, height];
}

const view = {
    scale: 2,
    popoverScale: 2,
    mapped: true,
    items: [],
    menu: null,
    popover: null,
    events: [],
    warnings: [],
    isAnswered: false,

    look: () => ({scale: view.scale, foreground: '#ffffff'}),
    showItems(items) {
        view.items = items.map(({pixels, ...item}) => {
            const before = view.items.find(({id}) => id === item.id);
            return {...item, sum: pixels ? checksum(pixels) : before ? before.sum : null};
        });
    },
    showPopover: news => popover.told(news),
    popoverRequested: id => popover.open(id),
    popoverClosed: () => popover.agentClosed(),
    choose: (action, id) => agent.choose(action, id, 'a token'),
    copied: text => view.events.push(`copied ${text.length}`),
    agentLeft() {
        view.items = [];
        view.menu = null;
        popover.reset();
        view.events.push('left');
    },
    warn: text => view.warnings.push(text),

    lookTold: () => popover.lookChanged(),

    popoverLook: () => ({scale: view.popoverScale, room: 700}),
    drawPopover(id, {bytes, ...picture}) {
        view.popover = {id, ...picture, sum: checksum(bytes)};
        if (id !== view.menu)
            view.events.push(`draw ${id}`);
    },
    openMenu(id) {
        if (!view.mapped)
            return false;
        const before = view.menu;
        view.menu = id;
        view.events.push(`open ${id}`);
        if (before !== null)
            popover.menuClosed(before);
        return true;
    },
    closeMenu(id) {
        if (view.menu !== id)
            return;
        view.menu = null;
        view.events.push(`close ${id}`);
        popover.menuClosed(id);
    },
};

function checksum(bytes) {
    return GLib.compute_checksum_for_bytes(GLib.ChecksumType.SHA1, bytes);
}

let agent = null;
let popover = null;

function main() {
    agent = new PanelAgent('test', view);
    popover = new PanelPopover(agent, view);
    const loop = new GLib.MainLoop(null, false);
    const input = new Gio.DataInputStream({base_stream: new Gio.UnixInputStream({fd: 0})});
    const readLine = () => input.read_line_async(GLib.PRIORITY_DEFAULT, null, (stream, result) => {
        const [line] = stream.read_line_finish_utf8(result);
        if (line === null) {
            loop.quit();
            return;
        }
        print(JSON.stringify(eval(line)) ?? 'null');
        readLine();
    });
    readLine();
    loop.run();
}
