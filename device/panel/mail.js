// The mail server that scans are sent through.
import { act } from './actions.js';
import { $, make, show } from './dom.js';
import { edit } from './edit.js';
import { onSettings } from './settings.js';

let mail = {};

const pair = (name, text) => [make('dt', { text: name }), make('dd', { text })];

onSettings(({ mail: now }) => {
  mail = now ?? {};
  show('mail', now, () => {
    if (!mail.ServerName && !mail.EmailAddress) return pair('Server', 'none yet');
    return [
      ...pair('Server', [mail.ServerName, mail.ServerPort].filter(Boolean).join(', port ')),
      ...pair('Sender', mail.EmailAddress),
      ...pair('Secure connection', mail.Security === 'ON' ? 'on' : 'off'),
      ...pair('User', mail.UserName || 'none'),
      ...pair('Password', mail.has_Password ? 'stored' : 'none'),
    ];
  });
});

$('mail-change').addEventListener('click', () => edit({
  title: 'Mail server',
  fields: [
    { name: 'ServerName', label: 'Server', value: mail.ServerName, width: 256 },
    { name: 'ServerPort', label: 'Port', value: mail.ServerPort, width: 10 },
    { name: 'EmailAddress', label: 'Address of the sender', value: mail.EmailAddress, width: 128 },
    { name: 'Security', label: 'Secure connection', value: mail.Security ?? 'ON', options: [['ON', 'on'], ['OFF', 'off']] },
    { name: 'UserName', label: 'User', value: mail.UserName, width: 256 },
    { name: 'Password', label: 'Password', type: 'password', width: 255, kept: mail.has_Password },
  ],
  save: (values) => act('mail.put', { values }),
}));
