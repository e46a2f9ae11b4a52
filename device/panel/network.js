// Adapters, networks in range and Wi-Fi Protected Setup. Names on the air come from strangers.
import { act } from './actions.js';
import { $, make, show } from './dom.js';

const NAMES = { eth0: 'Ethernet', wifi0: 'Wi-Fi', wifi1: 'Access point' };
const SESSIONS = {
  idle: 'No session yet.', running: 'Looking for the access point …', succeeded: 'Joined the network.',
  'no partner': 'No access point answered.', 'bad PIN': 'The PIN was refused.', cancelled: 'Cancelled.',
};
const SECURITY = { NONE: 'open' };
const MOST_SIGNAL = 5;

const bars = (signal) => make('meter', {
  min: 0, max: MOST_SIGNAL, value: signal, title: `Signal ${signal} of ${MOST_SIGNAL}`,
  'aria-label': `Signal ${signal} of ${MOST_SIGNAL}`,
});

function status({ on, link, dhcp }) {
  if (!on) return 'off';
  if (!link) return 'no link';
  return dhcp ? 'connected, address by DHCP' : 'connected';
}

function adapterRow(adapter) {
  const name = NAMES[adapter.name] || adapter.name;
  const facts = [
    ...adapter.addresses,
    adapter.link && adapter.gateway !== '0.0.0.0' && `Gateway ${adapter.gateway}`,
    adapter.dns.length > 0 && `DNS ${adapter.dns.join(', ')}`,
    `MAC ${adapter.mac}`,
    adapter.clients.length > 0 && `Clients: ${adapter.clients.join(', ')}`,
  ].filter(Boolean);
  return make('li', {
    children: [
      make('div', { class: 'net-head', children: [
        make('span', { class: 'name', text: name }),
        make('span', { class: 'quiet', text: status(adapter) }),
        make('button', {
          type: 'button', 'data-key': `power-${adapter.name}`, text: adapter.on ? 'Switch off' : 'Switch on',
          'aria-label': `Switch ${name} ${adapter.on ? 'off' : 'on'}`,
          onclick: () => act('adapter.power', { adapter: adapter.name, on: !adapter.on }),
        }),
      ] }),
      adapter.network == null ? null : make('div', { class: 'net-head', children: [
        make('span', { class: 'ssid', text: adapter.network }),
        adapter.signal == null ? null : bars(adapter.signal),
      ] }),
      make('ul', { class: 'addresses plain', children: facts.map((text) => make('li', { text })) }),
    ],
  });
}

const networkRow = (network) => make('tr', { children: [
  make('td', { class: 'ssid', text: network.ssid }),
  make('td', { text: SECURITY[network.security] || network.security }),
  make('td', { text: network.channel }),
  make('td', { children: [bars(network.signal)] }),
] });

export function render({ network }) {
  $('net-host').textContent = network ? `Host name ${network.host_name}` : 'The net service does not answer.';
  show('adapters', network?.adapters ?? [], (all) => all.map(adapterRow));
  show('networks', network?.networks ?? [], (all) => all.length === 0
    ? [make('tr', { children: [make('td', { class: 'none', colspan: 4, text: 'No networks in range.' })] })]
    : all.map(networkRow));
  const wps = network?.wps ?? {};
  $('wps-state').textContent = SESSIONS[wps.session] || wps.session || '';
  $('wps-pin').textContent = wps.pin ? `PIN of this scanner: ${wps.pin}` : '';
  $('wps-partner').checked = wps.partner === true;
}

$('wps-push').addEventListener('click', () => act('wps.push'));
$('wps-start-pin').addEventListener('click', () => act('wps.pin'));
$('wps-cancel').addEventListener('click', () => act('wps.cancel'));
$('wps-partner').addEventListener('change', async ({ target }) => {
  const answer = await act('wps.partner', { on: target.checked });
  if (!answer.ok) target.checked = !target.checked;
});
