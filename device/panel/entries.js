// A list of settings whose entries are added, changed and deleted. The scanner knows an entry by its
// row, which moves when another page deletes one: it is told what was shown there, too.
import { act } from './actions.js';
import { $, make, show } from './dom.js';
import { edit } from './edit.js';
import { readSettings } from './settings.js';

const MOST = 50;

/** Reads again what a refusal has shown to be out of date. */
async function change(action, values) {
  const answer = await act(action, values);
  if (!answer.ok) readSettings();
  return answer;
}

/**
 * list     its name in actions and in the document, where "-add" behind it is the button
 * what     one entry, in words; `none` tells that there is none
 * title, details, was, fields   of an entry: its texts, what the scanner compares, its dialog
 * Gives the function that shows the entries; null is a file that is not there yet.
 */
export function entries({ list, what, none, title, details, was, fields }) {
  const put = (entry) => edit({
    title: entry.row ? `Change the ${what}` : `Add ${/^[aeiou]/.test(what) ? 'an' : 'a'} ${what}`,
    fields: fields(entry),
    save: (values) => change(`${list}.put`, entry.row ? { row: entry.row, was: was(entry), ...values } : values),
  });
  const remove = (entry) => edit({
    title: `Delete the ${what}?`,
    text: title(entry),
    button: 'Delete',
    danger: true,
    save: () => change(`${list}.delete`, { row: entry.row, was: was(entry) }),
  });
  const press = (text, entry, run) => make('button', {
    type: 'button', text, 'aria-label': `${text} ${title(entry)}`, 'data-key': `${text} ${entry.row} ${title(entry)}`, onclick: () => run(entry),
  });
  const item = (entry) => make('li', { class: 'entry', children: [
    make('div', { children: [
      make('div', { class: 'name', text: title(entry) }),
      make('div', { class: 'quiet', text: details(entry) }),
    ] }),
    make('div', { class: 'row', children: [press('Change', entry, put), press('Delete', entry, remove)] }),
  ] });
  $(`${list}-add`).addEventListener('click', () => put({}));
  return (all) => {
    const listed = all ?? [];
    show(list, listed, () => (listed.length === 0 ? [make('li', { class: 'quiet', text: none })] : listed.map(item)));
    $(`${list}-add`).hidden = listed.length >= MOST;
  };
}
