// The dialog in which an entry is changed, or its removal confirmed.
import { tell } from './actions.js';
import { $, byKey, make } from './dom.js';

let request = null;
let opener = null;

const bytes = (text) => new TextEncoder().encode(text).length;

/**
 * title    of the dialog; `text` is a line below it
 * fields   {name, label, value, width: most bytes, type, required, options: [[value, text]],
 *          kept: a secret that is stored}. A secret (type "password") is never shown: left empty it
 *          stays, and one that is stored can be taken away.
 * button   its word; `danger` when it takes something away
 * save     gets the values by name, without the secrets that stay; gives the scanner's answer
 */
export function edit({ title, text = '', fields = [], button = 'Save', danger = false, save }) {
  request = { fields, save };
  opener = { element: document.activeElement, key: document.activeElement.dataset.key,
    section: document.activeElement.closest('section') };
  $('edit-title').textContent = title;
  $('edit-text').textContent = text;
  $('edit-text').hidden = !text;
  $('edit-fields').replaceChildren(...fields.map(row));
  $('edit-send').textContent = button;
  $('edit-send').className = danger ? 'danger' : 'primary';
  $('edit-send').disabled = false;
  fail(null);
  $('edit-dialog').showModal();
}

const id = (name) => `edit-${name}`;

function row(field) {
  const { name, label, value = '', type = 'text', required, options, kept } = field;
  const shared = { id: id(name), required };
  const control = options
    ? make('select', { ...shared, children: options.map(([v, text]) => make('option', { value: v, text, selected: v === value })) })
    : make('input', { ...shared, type, value, autocomplete: type === 'password' ? 'new-password' : 'off', spellcheck: 'false',
      'aria-describedby': kept ? `${id(name)}-hint` : null });
  const children = [make('label', { for: id(name), text: label }), control];
  if (kept) {
    children.push(make('span', { id: `${id(name)}-hint`, class: 'quiet', text: 'One is stored. Leave this empty to keep it.' }));
    children.push(make('label', { class: 'check', children: [
      make('input', { type: 'checkbox', id: `${id(name)}-remove`, onchange: ({ target }) => { control.disabled = target.checked; } }),
      make('span', { text: `Remove the stored ${label.replace(/^[A-Z](?=[a-z])/, (c) => c.toLowerCase())}` }),
    ] }));
  }
  return make('div', { class: 'field', children });
}

function fail(error, name = null) {
  $('edit-error').hidden = !error;
  $('edit-error').textContent = error || '';
  if (name) $(id(name)).focus();
}

/** The values, or null when one of them cannot be sent. */
function collect() {
  const values = {};
  for (const { name, label, type, width, options } of request.fields) {
    const { value } = $(id(name));
    if (!options && bytes(value) > width) {
      fail(`${label} is too long: at most ${width} bytes.`, name);
      return null;
    }
    const removed = $(`${id(name)}-remove`)?.checked;
    if (removed) values[name] = '';
    else if (type !== 'password' || value !== '') values[name] = value;
  }
  return values;
}

async function send(event) {
  event.preventDefault();
  const values = collect();
  if (values === null) return;
  const mine = request;
  $('edit-send').disabled = true;
  const answer = await mine.save(values);
  if (mine !== request || !$('edit-dialog').open) return;
  $('edit-send').disabled = false;
  if (answer.ok) {
    $('edit-dialog').close();
    return;
  }
  tell(null); // it is told here
  fail(answer.error || 'Refused.');
}

$('edit-form').addEventListener('submit', send);
$('edit-cancel').addEventListener('click', () => $('edit-dialog').close());
$('edit-dialog').addEventListener('close', () => {
  $('edit-fields').replaceChildren(); // no secret stays behind
  if (opener.element.isConnected) return;
  const { key, section } = opener;
  ((key && byKey(section, key)) || section.querySelector('h2')).focus();
});
