// The job list and the event table.
import { make, show } from './dom.js';

export function render({ jobs, events }) {
  const row = (...cells) => make('tr', { children: cells.map((text) => make('td', { text })) });
  const none = (width, text) => [make('tr', { children: [make('td', { class: 'none', colspan: width, text })] })];
  show('jobs', jobs, (all) => all.length === 0 ? none(4, 'None yet.')
    : all.map((job) => row(job.id, job.category, job.state, job.source)));
  show('events', events, (all) => all.length === 0 ? none(3, 'None yet.')
    : all.map((event) => row(event.category, event.stamp, event.resources.join(', '))));
}
