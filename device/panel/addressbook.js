// Mail addresses that scans can be sent to.
import { entries } from './entries.js';
import { onSettings } from './settings.js';

const render = entries({
  list: 'addressbook',
  what: 'address',
  none: 'No addresses yet.',
  title: ({ address }) => address || 'Empty address',
  details: () => '',
  was: ({ address }) => address,
  fields: ({ address }) => [{ name: 'address', label: 'Mail address', value: address, width: 255, required: true }],
});
onSettings(({ addressbook }) => render(addressbook));
