// Stored jobs and their PIN.
import { act, tell } from './actions.js';
import { $, make, show } from './dom.js';

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

let storedJobs = [];
const storedNow = (job) => storedJobs.find((each) => each.uuid === job.uuid) || job;
const duration = (s) => (s >= 60 ? `${Math.floor(s / 60)} min ${s % 60} s left` : `${s} s left`);

export function render({ stored_jobs: jobs }) {
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

$('pin-form').addEventListener('submit', sendPin);
$('pin-cancel').addEventListener('click', () => $('pin-dialog').close());
