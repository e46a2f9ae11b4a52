// The administrator's page on the public port, a real scanner behind it.
import assert from 'node:assert/strict';
import { writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, afterEach, before, beforeEach, test } from 'node:test';
import { setTimeout as pause } from 'node:timers/promises';
import { chromium } from 'playwright-core';
import { Scanner, limit_ms } from './scanner.mjs';

let browser;
let scanner;
let page;
let complaints;

before(async () => {
  browser = await chromium.launch({
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    args: process.getuid() === 0 ? ['--no-sandbox'] : [],
  });
});
after(() => browser?.close());
beforeEach(async () => {
  complaints = [];
  scanner = await Scanner.start();
});
afterEach(async () => {
  await page?.close();
  await scanner?.end();
  assert.deepEqual(complaints, [], 'errors in the page');
});

async function open(options = {}) {
  await page?.close();
  page = await browser.newPage(options);
  page.setDefaultTimeout(limit_ms);
  page.on('pageerror', (error) => complaints.push(String(error)));
  page.on('console', (message) => {
    const refused = /status of (401|403|429)/.test(message.text());
    if (message.type() === 'error' && !refused) complaints.push(message.text());
  });
  await page.goto(scanner.url);
  await shows('#password-state', /password is set/);
}
const shows = (selector, text) =>
  page.locator(selector).filter({ hasText: text }).first().waitFor({ state: 'attached' });
const press = (name) => page.getByRole('button', { name, exact: true }).click();
const read = async (path) => (await fetch(scanner.url + path)).text();

test('settings are written and shown again, as text', async () => {
  await open();
  await shows('#identity', 'Serial number');
  await page.getByLabel('Asset number').fill('<img src=x> & "Desk"');
  await page.getByLabel('Sleeps after').selectOption('1hour');
  await press('Save settings');
  await shows('#done', 'Settings saved.');
  await shows('#asset-line', '<img src=x> & "Desk"');
  assert.match(await read('/DevMgmt/ProductConfigDyn.xml'), /PowerSaveTimeout>1hour</);
  assert.equal(await page.locator('img').count(), 0);

  await page.getByLabel('Hosts may scan over the network').uncheck();
  await press('Save');
  await shows('#done', 'Saved.');
  assert.match(await read('/eSCL/eSCLConfig'), />disabled</);

  await press('Show');
  await page.getByLabel('Service name').fill('Scanner <7>');
  await press('Save names');
  await shows('#done', 'Names saved.');
  await page.reload();
  await press('Show');
  await page.waitForFunction(() => document.getElementById('service-name').value === 'Scanner <7>');
});

test('an alert is acknowledged', async () => {
  await writeFile(join(scanner.root, 'tmp/cleanp'), '');
  await open();
  await shows('#alerts', 'The rollers are to be cleaned.');
  await press('OK');
  await shows('#done', 'Acknowledged.');
  await page.waitForFunction(() => document.querySelectorAll('#alerts li').length === 0);
});

test('a password keeps others out and lets the administrator in', async () => {
  await open();
  await page.getByLabel('New password').first().fill('open "sesame"');
  await page.getByLabel('Again').fill('other');
  await press('Set password');
  await shows('#problem', 'The two passwords differ.');
  await page.getByLabel('Again').fill('open "sesame"');
  await press('Set password');
  await shows('#password-state', 'A password is set.');

  await open({ httpCredentials: { username: 'admin', password: 'guess' } });
  await page.getByLabel('Asset number').fill('stranger');
  await press('Save settings');
  await shows('#problem', 'Only the administrator may do this.');
  await pause(1100); // what a wrong password costs

  await open({ httpCredentials: { username: 'admin', password: 'open "sesame"' } });
  await page.getByLabel('Asset number').fill('mine');
  await press('Save settings');
  await shows('#done', 'Settings saved.');
  await press('Show');
  await page.getByLabel('Host name').waitFor();
  await page.locator('#pages-new').fill('of the pages');
  await press('Set');
  await shows('#done', 'Password of the web pages changed.');
  page.once('dialog', (dialog) => dialog.accept());
  await press('Set password');
  await shows('#password-state', 'No password is set');
});

test('the page fits a phone', async () => {
  await open({ viewport: { width: 360, height: 740 } });
  assert.ok(await page.evaluate(() => document.documentElement.scrollWidth <= 360));
});
