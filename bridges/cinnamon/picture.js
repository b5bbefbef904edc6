// SPDX-License-Identifier: MIT

/** The stage's units are device pixels. */
const PanelScale = {
    get theme() {
        return global.ui_scale;
    },
    resource: 1,
};

function setPictureContent(actor, bytes, width, height) {
    if (!actor.content)
        actor.content = new Clutter.Image();
    actor.content.set_bytes(bytes, Cogl.PixelFormat.RGBA_8888_PRE, width, height, width * 4);
}
