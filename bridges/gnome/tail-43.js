// SPDX-License-Identifier: MIT

class Extension {
    enable() {
        this._bridge = new KestrumBridge();
    }

    disable() {
        this._bridge.destroy();
        this._bridge = null;
    }
}

function init() {
    return new Extension();
}
