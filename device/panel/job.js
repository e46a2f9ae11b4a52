// The job that runs or ran last, and the scanned pages.
import { act } from './actions.js';
import { $, make, show } from './dom.js';

const JOB_KINDS = { host: 'Scan for a host', stored: 'Stored job', walkup: 'Scan to computer', preview: 'Preview' };
const JOB_REASONS = {
  JobCompletedSuccessfully: '', JobScanning: '', JobScanningAndTransferring: '', None: '',
  ErrorsDetected: 'an error was found', JobCanceledAtDevice: 'cancelled at the device',
  JobCanceledByUser: 'cancelled by the user', JobTimedOut: 'nobody fetched the pages',
};
const JOB_TONES = { Pending: 'busy', Processing: 'busy', Completed: 'good', Aborted: 'bad', Canceled: 'bad' };

const pages = (n) => `${n} ${n === 1 ? 'page' : 'pages'}`;

export function render({ job, pages: scanned }) {
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

$('job-cancel').addEventListener('click', () => act('job.cancel'));
