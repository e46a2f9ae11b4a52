// Feeder, hatch, output tray, and what goes wrong in the next scan.
import { act } from './actions.js';
import { $, make, onSubmit, show } from './dom.js';
import { FEEDER_WORDS } from './scanner.js';

const sheets = (n) => `${n} ${n === 1 ? 'sheet' : 'sheets'}`;

export function render({ feeder, scanner }) {
  const state = FEEDER_WORDS[scanner.feeder_state] || scanner.feeder_state || '';
  const option = [...$('fault-kind').options].find((o) => o.value === feeder.fault);
  const fault = feeder.fault ? ` Waiting: ${(option?.text || feeder.fault).toLowerCase()} at sheet ${feeder.fault_sheet}.` : '';
  const count = feeder.sheets ? `${sheets(feeder.sheets)} in the feeder` : 'No sheets in the feeder';
  $('feeder-line').textContent = `${count}${['loaded', 'empty', ''].includes(state) ? '' : `, ${state}`}.${fault}`;
  show('stack', feeder.sheets, (n) => Array.from({ length: Math.min(n, 10) }, () => make('div', { class: 'sheet' })));
  setButton('hatch-button', feeder.hatch_open, 'Close hatch', 'Open hatch');
  setButton('tray-button', feeder.tray_closed, 'Open output tray', 'Close output tray');
  $('hatch-picture').dataset.open = feeder.hatch_open;
  $('tray-picture').dataset.closed = feeder.tray_closed;
}

function setButton(id, on, whenOn, otherwise) {
  $(id).dataset.on = on;
  $(id).textContent = on ? whenOn : otherwise;
}

onSubmit('load-form', () => act('feeder.load', { count: Number($('load-count').value) }));
onSubmit('fault-form', () => act('fault.set', { kind: $('fault-kind').value, sheet: Number($('fault-sheet').value) }));
$('hatch-button').addEventListener('click', (e) => act(e.currentTarget.dataset.on === 'true' ? 'hatch.close' : 'hatch.open'));
$('tray-button').addEventListener('click', (e) => act(e.currentTarget.dataset.on === 'true' ? 'tray.open' : 'tray.close'));
