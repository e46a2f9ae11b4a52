// SharePoint jobs that hosts have prepared, and the test of their connection.
import { act } from './actions.js';
import { $, make, show } from './dom.js';
import { onSettings, readSettings } from './settings.js';

const OUTCOMES = {
  'never ran': '', running: 'The connection is being tested …', success: 'The last test succeeded.',
  'not-found': 'The last test found no server.', 'no-folder': 'The last test found no such folder.',
  'wrong-credentials': 'In the last test, user or password were refused.',
};

export function render({ sharepoint_test: outcome }) {
  const words = outcome === null ? '' : OUTCOMES[outcome] ?? outcome;
  if ($('sharepoint-test').textContent !== words) $('sharepoint-test').textContent = words;
}

async function test(uuid) {
  const answer = await act('sharepoint.test', { uuid });
  if (!answer.ok) readSettings();
}

const item = ({ uuid, name, path }) => make('li', { class: 'entry', children: [
  make('div', { children: [
    make('div', { class: 'name', text: name || 'Job without a name' }),
    make('div', { class: 'quiet', text: path }),
  ] }),
  make('button', { type: 'button', text: 'Test', 'aria-label': `Test ${name}`, 'data-key': uuid, onclick: () => test(uuid) }),
] });

onSettings(({ sharepoint }) => show('sharepoint', sharepoint, (all) => (all.length === 0
  ? [make('li', { class: 'quiet', text: 'No jobs. A host prepares them.' })]
  : all.map(item))));
