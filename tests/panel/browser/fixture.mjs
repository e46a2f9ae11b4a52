// A page in a headless browser before a scanner of its own, for each test.
import assert from 'node:assert/strict';
import { after, afterEach, before, beforeEach } from 'node:test';
import { chromium } from 'playwright-core';
import { Scanner, limit_ms } from './scanner.mjs';

export let scanner;
export let page;
let browser;
let complaints;

before(async () => {
  browser = await chromium.launch({
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    // As root, in containers, the browser's own sandbox does not start.
    args: process.getuid() === 0 ? ['--no-sandbox'] : [],
  });
});
after(() => browser?.close());

beforeEach(async () => {
  complaints = [];
  scanner = await Scanner.start();
  await open();
});
afterEach(async () => {
  await page?.close();
  await scanner?.end();
  assert.deepEqual(complaints, [], 'errors in the page');
});

/** The panel in a window of its own; an earlier one is closed. */
export async function open(options = {}) {
  await page?.close();
  page = await browser.newPage({ viewport: { width: 1280, height: 900 }, ...options });
  page.setDefaultTimeout(limit_ms);
  page.on('pageerror', (error) => complaints.push(String(error)));
  page.on('console', (message) => {
    // What an action or a lost scanner is answered with is the test's.
    const answered = /\/(actions|events)$/.test(message.location().url);
    if (message.type() === 'error' && !answered) complaints.push(message.text());
  });
  await page.goto(scanner.panel);
  await shows('#scanner-word', 'Idle');
}

/** Waits until the text is in the element. */
export const shows = (selector, text) =>
  page.locator(selector).filter({ hasText: text }).first().waitFor({ state: 'attached' });

/** Waits until that many scanned pages are listed, and their pictures are there. */
export const pagesAre = (count) => page.waitForFunction(
  (n) => document.querySelectorAll('#pages img').length === n &&
    [...document.querySelectorAll('#pages img')].every((i) => i.complete && i.naturalWidth > 0),
  count);

export const button = (name, within = page) => within.getByRole('button', { name, exact: true });
