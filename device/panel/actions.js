// What the operator does, sent to the scanner; what it refuses is told at the top of the page.
import { $ } from './dom.js';

export async function act(action, values = {}) {
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

export function tell(problem) {
  $('problem').hidden = !problem;
  $('problem').textContent = problem || '';
}
