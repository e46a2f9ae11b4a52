// Computers that can be picked for a scan.
import { act } from './actions.js';
import { $, make, show } from './dom.js';

const FAMILY_NAMES = { escl: 'eSCL', varn: 'VARN' };

export function render({ destinations, picked }) {
  const listed = destinations.map((host) => ({
    ...host, picked: picked?.family === host.family && picked.uuid === host.uuid,
  }));
  show('destinations', listed, (all) => all.length === 0
    ? [make('li', { class: 'quiet', text: 'No computer waits for scans.' })]
    : all.map(entry));
}

function entry(host) {
  const key = host.family + host.uuid;
  const choice = make('select', {
    class: 'grow', hidden: host.shortcuts.length === 0, 'aria-label': `Shortcut for ${host.name}`, 'data-key': `s${key}`,
    children: host.shortcuts.map((name, i) => make('option', { value: i, text: name })),
  });
  const pick = () => act('walkup.pick', {
    family: host.family, uuid: host.uuid, shortcut: Number(choice.value || 0), duplex: $('duplex').checked,
  });
  const press = (text, action) =>
    make('button', { type: 'button', text, 'aria-label': `${text}: ${host.name}`, 'data-key': text + key, onclick: () => act(action) });
  return make('li', {
    children: [
      make('div', { class: 'name', text: host.name || 'Computer without a name' }),
      make('div', { class: 'quiet', text: `${host.link} · ${FAMILY_NAMES[host.family]}${host.picked ? ' · picked' : ''}` }),
      make('div', { class: 'row', children: [
        choice,
        make('button', { type: 'button', class: 'primary', text: 'Scan', 'aria-label': `Scan to ${host.name}`, 'data-key': `p${key}`, onclick: pick }),
        // A host of the other family takes all pages in one scan.
        host.picked && host.family === 'varn' ? press('Next page', 'walkup.next') : null,
        host.picked ? press('Done', 'walkup.stop') : null,
      ] }),
    ],
  });
}
