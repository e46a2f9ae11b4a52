// The settings, which are read again when the scanner says that they have changed. A host may
// change some of them unseen, so they are also read when the operator comes back to the page.
import { tell } from './actions.js';

const listeners = [];
let revision = null;
let latest = 0;

/** Calls `listener` with the settings as often as they are read. */
export function onSettings(listener) { listeners.push(listener); }

export async function readSettings() {
  const mine = ++latest;
  try {
    const response = await fetch('settings');
    if (!response.ok) throw new Error(`The settings cannot be read (${response.status}).`);
    const settings = await response.json();
    if (mine === latest) for (const listener of listeners) listener(settings);
  } catch (error) {
    // A lost connection is told already, and its return reads them again.
    if (mine === latest && !(error instanceof TypeError)) tell(error.message);
  }
}

export function render({ settings_revision: now }) {
  if (now === revision) return;
  revision = now;
  readSettings();
}

/** After a loss: a number that has been seen is no proof of what is there now. */
export function forget() { revision = null; }

window.addEventListener('focus', readSettings);
