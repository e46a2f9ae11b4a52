// Elements of the page. Names of hosts and jobs come from strangers: they are only set as text.

export const $ = (id) => document.getElementById(id);

/** An element with text and attributes; children are elements or null. */
export function make(tag, { text, children = [], ...attributes } = {}) {
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
export const byKey = (target, key) => target.querySelector(`[data-key="${CSS.escape(key)}"]`);
export function show(id, value, build) {
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

export function onSubmit(id, run) {
  $(id).addEventListener('submit', (event) => {
    event.preventDefault();
    run();
  });
}
