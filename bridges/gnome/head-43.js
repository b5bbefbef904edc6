// SPDX-License-Identifier: MIT

/* exported init */
const {Atk, Clutter, Cogl, Gio, GLib, GObject, St} = imports.gi;
const {PopupAnimation} = imports.ui.boxpointer;
const Main = imports.ui.main;
const PanelMenu = imports.ui.panelMenu;
const PopupMenu = imports.ui.popupMenu;
