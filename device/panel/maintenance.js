// What is due at the scanner, how worn its parts are, and what it has counted.
import { act } from './actions.js';
import { $, make, show } from './dom.js';

const ALERTS = {
  scannerMaintenanceCleanRollersNeeded: 'Clean the rollers',
  scannerMaintenanceReplaceRollersNeeded: 'Replace the rollers',
  scannerMaintenanceReplacePadNeeded: 'Replace the separation pad',
};
const PARTS = { clean: 'Rollers cleaned', rollers: 'Rollers replaced', pad: 'Pad replaced' };
const COUNTS = {
  scans: 'Scans', feederPages: 'Pages from the feeder', flatbedPages: 'Pages from the glass',
  jams: 'Paper jams', mispicks: 'Sheets not picked', multipicks: 'Two sheets at once',
};

const words = (id) => ALERTS[id] || id;
const number = (text) => make('td', { class: 'number', text });
const row = (name, ...values) => make('tr', { children: [make('th', { scope: 'row', text: name }), ...values.map(number)] });
const away = (width) => [make('tr', { children: [make('td', { class: 'none', colspan: width, text: 'The scan engine does not answer.' })] })];

function alertRow(id) {
  return make('li', { class: 'entry', children: [
    make('span', { class: 'name', text: words(id) }),
    make('button', {
      type: 'button', class: 'primary', text: 'OK', 'aria-label': `OK: ${words(id)}`, 'data-key': id,
      onclick: () => act('alert.acknowledge', { alert: id }),
    }),
  ] });
}

export function render({ maintenance: { alerts, counts, wear } }) {
  const line = alerts.length === 0 ? 'Nothing is due.' : 'Press OK when it is done.';
  if ($('alerts-line').textContent !== line) $('alerts-line').textContent = line;
  show('alerts', alerts, (all) => all.map(alertRow));
  $('due').hidden = alerts.length === 0;
  $('due-link').textContent = `Due: ${alerts.map(words).join(', ').toLowerCase()}`;
  show('wear', wear, (parts) => parts === null ? away(3)
    : Object.entries(PARTS).map(([part, name]) => row(name, parts[part].pages, parts[part].interval)));
  show('counts', counts, (all) => all === null ? away(2)
    : Object.entries(COUNTS).map(([name, text]) => row(text, all[name])));
}
