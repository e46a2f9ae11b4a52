// The page shows what the scanner tells and sends what the operator does; it keeps no state of its
// own. Each section of the page is a module with a function that shows the scanner's state in it.
import { act } from './actions.js';
import { $ } from './dom.js';
import './addressbook.js';
import './clock.js';
import * as destinations from './destinations.js';
import * as feeder from './feeder.js';
import './folders.js';
import * as glass from './glass.js';
import * as job from './job.js';
import './mail.js';
import * as maintenance from './maintenance.js';
import * as network from './network.js';
import * as scanner from './scanner.js';
import * as settings from './settings.js';
import * as sharepoint from './sharepoint.js';
import * as stored from './stored.js';
import * as tables from './tables.js';
import * as tone from './tone.js';

const sections = [scanner, feeder, glass, job, stored, destinations, tone, network, maintenance, settings, sharepoint, tables];

// A screen reader hears of states and finished pages, not of every number that moves.
let spoken = '';
function speak() {
  const words = [$('scanner-word').textContent, $('job-line').textContent, $('job-state').textContent].join('. ');
  if (words !== spoken) $('live').textContent = spoken = words;
}

function render(state) {
  for (const section of sections) section.render(state);
  speak();
}

function listen() {
  const events = new EventSource('events');
  events.addEventListener('state', (event) => render(JSON.parse(event.data)));
  events.onerror = () => {
    $('scanner-state').dataset.tone = 'off';
    $('scanner-word').textContent = 'No connection';
    speak();
    settings.forget();
    // The browser tries again by itself after a loss, but not after a refusal: too many listeners.
    if (events.readyState === EventSource.CLOSED) setTimeout(listen, 3000);
  };
}

// Buttons that name an action in the document need no more than this.
for (const button of document.querySelectorAll('[data-action]'))
  button.addEventListener('click', () => act(button.dataset.action));
listen();
