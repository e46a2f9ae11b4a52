'use strict';
// The page shows what the scanner tells and sends what the operator does; it keeps no state of its
// own. Names of hosts and jobs come from strangers: they are only ever set as text.

const $ = (id) => document.getElementById(id);

/** An element with text and attributes; children are elements or null. */
function make(tag, { text, children = [], ...attributes } = {}) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
    else if (value === true) element.setAttribute(name, '');
    else if (value !== false && value != null) element.setAttribute(name, value);
  }
  if (text != null) element.textContent = text;
  element.append(...children.filter(Boolean));
  return element;
}

/**
 * Rebuilds a list only when what it shows has changed. Focus and choices stay where they are; the
 * focus of an entry that has gone moves to the heading, or a keyboard would start over.
 */
const shown = new Map();
const byKey = (target, key) => target.querySelector(`[data-key="${CSS.escape(key)}"]`);
function show(id, value, build) {
  const key = JSON.stringify(value);
  if (shown.get(id) === key) return;
  shown.set(id, key);
  const target = $(id);
  const focused = target.contains(document.activeElement) ? document.activeElement.dataset.key : null;
  const choices = [...target.querySelectorAll('select')].map((s) => [s.dataset.key, s.selectedOptions[0]?.text]);
  target.replaceChildren(...build(value));
  for (const [key, text] of choices) {
    const same = [...byKey(target, key)?.options ?? []].find((option) => option.text === text);
    if (same) same.selected = true;
  }
  if (focused) (byKey(target, focused) ?? target.closest('section').querySelector('h2')).focus();
}

// --- actions -------------------------------------------------------------------------------------

async function act(action, values = {}) {
  try {
    const response = await fetch('actions', {
      method: 'POST',
      headers: { 'Content-Type': 'application/json', 'X-Varn-Panel': '1' },
      body: JSON.stringify({ action, ...values }),
    });
    const answer = await response.json().catch(() => ({}));
    tell(response.ok ? null : answer.error || `The scanner refused (${response.status}).`);
    return { ok: response.ok, ...answer };
  } catch {
    const error = 'The scanner does not answer.';
    tell(error);
    return { ok: false, error };
  }
}

function tell(problem) {
  $('problem').hidden = !problem;
  $('problem').textContent = problem || '';
}

// --- stored jobs and their PIN -------------------------------------------------------------------

let pinRequest = null;

function askPin(action, job) {
  pinRequest = { action, job };
  $('pin-title').textContent = action === 'stored.release' ? 'Release a stored job' : 'Delete a stored job';
  $('pin-job').textContent = job.name;
  $('pin-send').textContent = action === 'stored.release' ? 'Release' : 'Delete';
  $('pin').value = '';
  $('pin-error').hidden = true;
  holdPin(job.locked_for_s);
  if (job.has_pin) $('pin-dialog').showModal();
  else act(action, { uuid: job.uuid, pin: '' });
}

async function sendPin(event) {
  event.preventDefault();
  const answer = await act(pinRequest.action, { uuid: pinRequest.job.uuid, pin: $('pin').value });
  if (answer.ok) {
    $('pin-dialog').close();
    return;
  }
  tell(null);
  const wait = answer.retry_after_s ? ` Try again in ${answer.retry_after_s} s.` : '';
  $('pin-error').textContent = (answer.error || 'Refused.') + wait;
  $('pin-error').hidden = false;
  $('pin').select();
  $('pin').focus();
  holdPin(answer.retry_after_s || 0);
}

/** Keeps the button from being pressed before the scanner listens again. */
let pinHold = null;
function holdPin(seconds) {
  clearInterval(pinHold);
  const until = Date.now() + seconds * 1000;
  const look = () => {
    $('pin-send').disabled = Date.now() < until;
    if (!$('pin-send').disabled) clearInterval(pinHold);
  };
  pinHold = setInterval(look, 100);
  look();
}

// --- what the scanner tells ----------------------------------------------------------------------

const FEEDER_WORDS = {
  ScannerAdfLoaded: 'loaded', ScannerAdfEmpty: 'empty', ScannerAdfJam: 'paper jam',
  ScannerAdfMispick: 'sheet not picked', ScannerAdfHatchOpen: 'hatch open',
  ScannerAdfMultipickDetected: 'two sheets at once', ScannerAdfProcessing: 'feeding',
  ScannerAdfDuplexPageTooLong: 'sheet too long', ScannerAdfDuplexPageTooShort: 'sheet too short',
  ScannerAdfOutputTrayClosed: 'output tray closed', ScannerAdfInputTrayFailed: 'input tray failed',
};
const FEEDER_GOOD = ['ScannerAdfLoaded', 'ScannerAdfEmpty', 'ScannerAdfProcessing'];
const LINK_NAMES = { usb: 'USB', eth0: 'Ethernet', wlan0: 'Wi-Fi', wlan1: 'Access point' };
const JOB_KINDS = { host: 'Scan for a host', stored: 'Stored job', walkup: 'Scan to computer', preview: 'Preview' };
const TONE_NAMES = { brightness: 'Brightness', contrast: 'Contrast', gamma: 'Gamma', highlight: 'Highlight', shadow: 'Shadow' };

const sheets = (n) => `${n} ${n === 1 ? 'sheet' : 'sheets'}`;
const pages = (n) => `${n} ${n === 1 ? 'page' : 'pages'}`;

function showScanner({ scanner }) {
  const feeder = scanner.feeder_state;
  const broken = feeder && !FEEDER_GOOD.includes(feeder);
  const word = broken ? FEEDER_WORDS[feeder] || feeder : scanner.state;
  $('scanner-state').dataset.tone = broken ? 'bad' : scanner.state === 'Processing' ? 'busy' : 'good';
  $('scanner-word').textContent = word;
  $('identity').textContent = [scanner.serial && `Serial ${scanner.serial}`, scanner.firmware && `Firmware ${scanner.firmware}`]
    .filter(Boolean).join(' · ');
}

function showFeeder({ feeder, scanner }) {
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

function showGlass({ glass, links, addresses }) {
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

const JOB_REASONS = {
  JobCompletedSuccessfully: '', JobScanning: '', JobScanningAndTransferring: '', None: '',
  ErrorsDetected: 'an error was found', JobCanceledAtDevice: 'cancelled at the device',
  JobCanceledByUser: 'cancelled by the user', JobTimedOut: 'nobody fetched the pages',
};
const JOB_TONES = { Pending: 'busy', Processing: 'busy', Completed: 'good', Aborted: 'bad', Canceled: 'bad' };

function showJob({ job, pages: scanned }) {
  const line = job
    ? [JOB_KINDS[job.kind] || job.kind, pages(job.pages), JOB_REASONS[job.reason] ?? job.reason].filter(Boolean).join(' · ')
    : 'No job yet.';
  $('job-line').textContent = line;
  $('job-state').textContent = job ? job.state : '';
  $('job-state').dataset.tone = job ? JOB_TONES[job.state] || '' : '';
  $('job-state').hidden = !job || !job.state;
  const running = job && ['Pending', 'Processing'].includes(job.state);
  if (!running && document.activeElement === $('job-cancel')) $('h-job').focus();
  $('job-cancel').hidden = !running;
  $('pages-none').hidden = scanned.length > 0;
  const listed = scanned.map((page) => ({ ...page, own: page.job === job?.uuid }));
  show('pages', listed, (all) => all.map((page) => make('li', {
    class: page.own ? 'own' : null,
    children: [make('a', {
      href: `pages/${page.id}`, target: '_blank', rel: 'noopener', 'data-key': String(page.id),
      children: [
        make('img', { src: `pages/${page.id}`, alt: `Scanned page ${page.id},`, width: page.width, height: page.height }),
        make('span', { text: `${page.width} × ${page.height}` }),
      ],
    })],
  })));
}

let storedJobs = [];
const storedNow = (job) => storedJobs.find((each) => each.uuid === job.uuid) || job;
const duration = (s) => (s >= 60 ? `${Math.floor(s / 60)} min ${s % 60} s left` : `${s} s left`);

function showStored({ stored_jobs: jobs }) {
  storedJobs = jobs;
  const rows = jobs.map((job) => ({ ...job, expires_in_s: undefined, age_s: undefined, locked_for_s: undefined }));
  show('stored', rows, (all) => all.length === 0
    ? [make('li', { class: 'quiet', text: 'No stored jobs. A host leaves one here for you to release.' })]
    : all.map((job) => make('li', {
      children: [
        make('div', { class: 'name', text: job.name || 'Job without a name' }),
        make('div', { class: 'quiet', children: [
          make('span', { text: `${job.flatbed ? 'Flatbed' : 'Feeder'} · ${job.has_pin ? 'with PIN' : 'without PIN'} · ` }),
          make('span', { 'data-expires': job.uuid }),
        ] }),
        make('div', { class: 'row', children: [
          make('button', { type: 'button', class: 'primary', text: 'Release', 'aria-label': `Release ${job.name}`, 'data-key': `r${job.uuid}`, onclick: () => askPin('stored.release', storedNow(job)) }),
          make('button', { type: 'button', text: 'Delete', 'aria-label': `Delete ${job.name}`, 'data-key': `d${job.uuid}`, onclick: () => askPin('stored.delete', storedNow(job)) }),
        ] }),
      ],
    })));
  for (const job of jobs) {
    const span = document.querySelector(`[data-expires="${CSS.escape(job.uuid)}"]`);
    if (span) span.textContent = duration(job.expires_in_s) + (job.locked_for_s ? ` · locked for ${job.locked_for_s} s` : '');
  }
}

function showDestinations({ destinations }) {
  show('destinations', destinations, (all) => all.length === 0
    ? [make('li', { class: 'quiet', text: 'No computer waits for scans.' })]
    : all.map((host) => {
      const choice = make('select', { class: 'grow', hidden: host.shortcuts.length === 0, 'aria-label': `Shortcut for ${host.name}`, 'data-key': `s${host.family}${host.uuid}`, children: host.shortcuts.map((name, i) => make('option', { value: i, text: name })) });
      const pick = () => act('walkup.pick', { family: host.family, uuid: host.uuid, shortcut: Number(choice.value || 0), duplex: $('duplex').checked });
      return make('li', {
        children: [
          make('div', { class: 'name', text: host.name || 'Computer without a name' }),
          make('div', { class: 'quiet', text: `${host.link} · ${host.family === 'escl' ? 'eSCL' : 'VARN'}` }),
          make('div', { class: 'row', children: [
            choice,
            make('button', { type: 'button', class: 'primary', text: 'Scan', 'aria-label': `Scan to ${host.name}`, 'data-key': `p${host.family}${host.uuid}`, onclick: pick }),
            host.family === 'varn' ? make('button', { type: 'button', text: 'Next page', 'data-key': `n${host.uuid}`, onclick: () => act('walkup.next') }) : null,
            host.family === 'varn' ? make('button', { type: 'button', text: 'Done', 'data-key': `e${host.uuid}`, onclick: () => act('walkup.stop') }) : null,
          ] }),
        ],
      });
    }));
}

function showTables({ jobs, events }) {
  const row = (...cells) => make('tr', { children: cells.map((text) => make('td', { text })) });
  const none = (width, text) => [make('tr', { children: [make('td', { class: 'none', colspan: width, text })] })];
  show('jobs', jobs, (all) => all.length === 0 ? none(4, 'None yet.')
    : all.map((job) => row(job.id, job.category, job.state, job.source)));
  show('events', events, (all) => all.length === 0 ? none(3, 'None yet.')
    : all.map((event) => row(event.category, event.stamp, event.resources.join(', '))));
}

function showTone({ tone }) {
  show('sliders', tone.ranges, (ranges) => Object.entries(ranges).map(([name, [min, normal, max]]) => {
    const output = make('output', { for: `tone-${name}`, text: normal });
    return make('div', { class: 'slider', children: [
      make('label', { for: `tone-${name}`, text: TONE_NAMES[name] || name }), output,
      make('input', { id: `tone-${name}`, name, type: 'range', min, max, value: normal, 'data-normal': normal, 'data-key': name, oninput: (e) => { output.textContent = e.target.value; } }),
    ] });
  }));
  const curve = tone.curve;
  $('curve-line').setAttribute('points', curve ? curve.map((y, x) => `${x * 256 / (curve.length - 1)},${256 - y * 256 / 255}`).join(' ') : '');
  const words = curve ? `black is sent as ${curve[0]}, middle grey as ${curve[curve.length >> 1]}, white as ${curve[curve.length - 1]}` : 'none yet';
  $('curve-title').textContent = `Tone curve that the scan engine received: ${words}`;
  $('curve-caption').textContent = curve ? `What the engine received: ${words}.` : 'The engine has no curve yet.';
}

// A screen reader hears of states and finished pages, not of every number that moves.
let spoken = '';
function speak() {
  const words = [$('scanner-word').textContent, $('job-line').textContent, $('job-state').textContent].join('. ');
  if (words !== spoken) $('live').textContent = spoken = words;
}

function render(state) {
  showScanner(state);
  showFeeder(state);
  showGlass(state);
  showJob(state);
  showStored(state);
  showDestinations(state);
  showTone(state);
  showTables(state);
  speak();
}

// --- wiring --------------------------------------------------------------------------------------

function listen() {
  const events = new EventSource('events');
  events.addEventListener('state', (event) => render(JSON.parse(event.data)));
  events.onerror = () => {
    $('scanner-state').dataset.tone = 'off';
    $('scanner-word').textContent = 'No connection';
    speak();
    // The browser tries again by itself after a loss, but not after a refusal: too many listeners.
    if (events.readyState === EventSource.CLOSED) setTimeout(listen, 3000);
  };
}

function onSubmit(id, run) {
  $(id).addEventListener('submit', (event) => {
    event.preventDefault();
    run();
  });
}

for (const button of document.querySelectorAll('[data-action]'))
  button.addEventListener('click', () => act(button.dataset.action));
onSubmit('load-form', () => act('feeder.load', { count: Number($('load-count').value) }));
onSubmit('fault-form', () => act('fault.set', { kind: $('fault-kind').value, sheet: Number($('fault-sheet').value) }));
onSubmit('glass-form', () => act('glass.put', { picture: $('glass-picture').value }));
onSubmit('tone-form', () => {
  const values = Object.fromEntries([...$('sliders').querySelectorAll('input')].map((i) => [i.name, Number(i.value)]));
  act('preview.start', { source: $('preview-source').value, ...values });
});
$('tone-reset').addEventListener('click', () => {
  for (const input of $('sliders').querySelectorAll('input')) {
    input.value = input.dataset.normal;
    input.dispatchEvent(new Event('input'));
  }
});
$('job-cancel').addEventListener('click', () => act('job.cancel'));
$('hatch-button').addEventListener('click', (e) => act(e.currentTarget.dataset.on === 'true' ? 'hatch.close' : 'hatch.open'));
$('tray-button').addEventListener('click', (e) => act(e.currentTarget.dataset.on === 'true' ? 'tray.open' : 'tray.close'));
$('pin-form').addEventListener('submit', sendPin);
$('pin-cancel').addEventListener('click', () => $('pin-dialog').close());
listen();
