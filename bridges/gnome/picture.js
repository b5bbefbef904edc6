// SPDX-License-Identifier: MIT

/**
 * How pictures, points and the stage go together. Where the shell scales its theme, the stage's units are device pixels. Where
 * monitors scale the stage, they are not, and the resource scale is what lies between.
 */
const PanelScale = {
    get theme() {
        return St.ThemeContext.get_for_stage(global.stage).scale_factor;
    },
    get resource() {
        return Main.panel.get_resource_scale();
    },
};

function setPictureContent(actor, bytes, width, height) {
    const [, oldWidth, oldHeight] = actor.content?.get_preferred_size() ?? [];
    if (width !== oldWidth || height !== oldHeight)
        actor.content = St.ImageContent.new_with_preferred_size(width, height);
    const picture = [bytes, Cogl.PixelFormat.RGBA_8888_PRE, width, height, width * 4];
    if (actor.content.set_bytes.length > picture.length) // from GNOME 48 on
        picture.unshift(global.stage.context.get_backend().get_cogl_context());
    actor.content.set_bytes(...picture);
}
