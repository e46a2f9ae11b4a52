// The network on the page: what is around the scanner, and Wi-Fi Protected Setup.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { button, page, scanner, shows } from './fixture.mjs';

test('a stranger names a network in markup and it is shown as it is', async () => {
  const name = '<img src=x onerror=alert(1)>&lt;';
  await scanner.ctl('net', 'network', 'add', name, 'NONE');
  await shows('#networks', name);
  assert.equal(await page.locator('#networks img').count(), 0);
  await scanner.ctl('net', 'network', 'remove', name);
  await page.locator('#networks').filter({ hasNotText: name }).waitFor();
});

test('a session with the PIN joins the network of the access point nearby', async () => {
  await shows('#wps-pin', /PIN of this scanner: \d{8}/);
  await page.getByLabel('An access point nearby waits for it').check();
  await button('Start with PIN').click();
  await shows('#wps-state', 'Looking for');
  await shows('#wps-state', 'Joined the network');
  await shows('#adapters', 'Office');
  await page.getByLabel('Signal 5 of 5').first().waitFor();
});

test('a push-button session is cancelled, and the focus stays on its button', async () => {
  await button('Push button').click();
  await shows('#wps-state', 'Looking for');
  await button('Push button').click();
  await shows('#problem', 'running already');
  await button('Cancel setup').click();
  await shows('#wps-state', 'Cancelled');
  await button('Switch Access point on').focus();
  await page.keyboard.press('Enter');
  await button('Switch Access point off').waitFor();
  assert.equal(await page.evaluate(() => document.activeElement.dataset.key), 'power-wifi1');
});
