// SPDX-License-Identifier: MIT

const {Atk, Clutter, Cogl, Gio, GLib, St} = imports.gi;
const Applet = imports.ui.applet;
const {PanelLoc, PopupMenu, PopupMenuManager, PopupMenuSection, PopupSeparatorMenuItem} = imports.ui.popupMenu;
const {PanelItemTooltip} = imports.ui.tooltips;
const Main = imports.ui.main;
const Tweener = imports.ui.tweener;
