// The clock: its zone, and where network time comes from.
import { act } from './actions.js';
import { $ } from './dom.js';
import { edit } from './edit.js';
import { onSettings } from './settings.js';

let clock = null;
let time = {};

onSettings((settings) => {
  clock = settings.clock;
  time = settings.time ?? {};
  $('clock-zone').textContent = clock ? clock.zone : 'The scanner does not tell its time zone.';
  $('clock-time').textContent = time.NTP_Flag === 'Enable' ? `from ${time.NTPServer || 'no server yet'}` : 'off';
});

$('clock-zone-change').addEventListener('click', () => edit({
  title: 'Time zone',
  fields: [{ name: 'zone', label: 'Zone', value: clock?.zone, options: (clock?.zones ?? []).map((zone) => [zone, zone]) }],
  save: (values) => act('clock.put', values),
}));

$('clock-time-change').addEventListener('click', () => edit({
  title: 'Network time',
  fields: [
    { name: 'NTP_Flag', label: 'Network time', value: time.NTP_Flag ?? 'Disable', options: [['Enable', 'on'], ['Disable', 'off']] },
    { name: 'NTPServer', label: 'Server', value: time.NTPServer, width: 255 },
  ],
  save: (values) => act('time.put', { values }),
}));
