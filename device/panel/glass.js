// The glass, the cables and the addresses behind them.
import { act } from './actions.js';
import { $, make, onSubmit, show } from './dom.js';

const LINK_NAMES = { usb: 'USB', eth0: 'Ethernet', wlan0: 'Wi-Fi', wlan1: 'Access point' };

export function render({ glass, links, addresses }) {
  $('glass-line').textContent = glass.picture ? `On the glass: ${glass.picture}.` : 'Nothing on the glass.';
  show('links', links, (all) => Object.entries(all).map(([link, up]) => make('li', {
    children: [make('label', {
      class: 'check',
      children: [
        make('input', { type: 'checkbox', checked: up, 'data-key': link, onchange: (e) => setLink(e.target, link) }),
        make('span', { text: LINK_NAMES[link] || link }),
      ],
    })],
  })));
  show('addresses', addresses, (all) => all.map((text) => make('li', {
    children: [make('a', { text, href: text, target: '_blank', rel: 'noopener noreferrer' })],
  })));
}

async function setLink(box, link) {
  const answer = await act('link.set', { link, up: box.checked });
  if (!answer.ok) box.checked = !box.checked;
}

onSubmit('glass-form', () => act('glass.put', { picture: $('glass-picture').value }));
