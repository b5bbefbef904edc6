// SPDX-License-Identifier: MIT

export default class KestrumExtension extends Extension {
    enable() {
        this._bridge = new KestrumBridge();
    }

    disable() {
        this._bridge.destroy();
        this._bridge = null;
    }
}
