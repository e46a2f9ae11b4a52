// The tone settings of a preview, and the curve that came of them.
import { act } from './actions.js';
import { $, make, onSubmit, show } from './dom.js';

const TONE_NAMES = { brightness: 'Brightness', contrast: 'Contrast', gamma: 'Gamma', highlight: 'Highlight', shadow: 'Shadow' };

export function render({ tone }) {
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
