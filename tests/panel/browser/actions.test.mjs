// What a person does on the page, a real scanner behind it and a real host beside it.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { button, page, pagesAre, scanner, shows } from './fixture.mjs';

test('sheets loaded at the panel are scanned by a host while the page shows it', async () => {
  await page.getByLabel('Sheets').fill('8');
  await button('Load').click();
  await shows('#feeder-line', '8 sheets in the feeder');
  await scanner.ctl('slow', 'strip', '20');
  const scanned = scanner.scan('--resolution', '100');
  await shows('#scanner-word', 'Processing');
  await shows('#live', 'Processing');
  await shows('#pages', /×/);
  await scanner.ctl('slow', 'off');
  assert.equal(await scanned, true);
  await pagesAre(8);
  await shows('#job-line', 'Scan for a host · 8 pages');
  await shows('#job-state', 'Completed');
  await shows('#feeder-line', 'No sheets');
  await shows('#jobs', 'Completed');
});

test('cancel ends the running scan, and its button does not take the focus along', async () => {
  await scanner.act('feeder.load', { count: 20 });
  await scanner.ctl('slow', 'strip', '50');
  const scanned = scanner.scan('--resolution', '300');
  await button('Cancel scan').focus();
  await page.keyboard.press('Enter');
  await scanned;
  await shows('#job-state', 'Canceled');
  await button('Cancel scan').waitFor({ state: 'hidden' });
  assert.equal(await page.evaluate(() => document.activeElement.id), 'h-job');
});

test('a stored job is scanned with its PIN and not with another', async () => {
  await scanner.store('Rent', '4711');
  await button('Release Rent').click();
  await page.getByLabel('PIN of the job').fill('4712');
  await page.keyboard.press('Enter');
  await shows('#pin-error', /wrong.*Try again in 1 s/);
  assert.equal(await page.locator('#pin-send').isDisabled(), true);
  assert.equal((await scanner.state()).stored_jobs.length, 1);

  await page.getByLabel('PIN of the job').fill('4711');
  await button('Release', page.locator('#pin-dialog')).click();
  await page.locator('#pin-dialog').waitFor({ state: 'hidden' });
  await pagesAre(1);
  await shows('#job-line', 'Stored job');
  await shows('#stored', 'No stored jobs');
});

test('a computer that waits for scans hears what was picked for it', async () => {
  const host = await scanner.subscribe('Desk', 'Letters', 'Photos');
  await page.getByLabel('Shortcut for Desk').selectOption('Photos');
  // A second computer appears while the first is being chosen: the choice stays.
  await scanner.subscribe('Reception');
  await shows('#destinations', 'Reception');
  assert.equal(await page.getByLabel('Shortcut for Desk').inputValue(), '1');
  await page.getByLabel('Two-sided').check();
  await button('Scan to Desk').click();
  const begun = await scanner.walkupEvent(host);
  assert.match(begun, />Photos</);
  assert.match(begun, /Duplex>true</);
  await scanner.act('feeder.load', { count: 1 });
  assert.equal(await scanner.scan('--resolution', '75'), true);
  await shows('#job-line', 'Scan to computer · 1 page');
  await button('Done: Desk').click();
  assert.match(await scanner.walkupEvent(host), /ScanPagesComplete/);
  await button('Done: Desk').waitFor({ state: 'detached' });
});

test('a jam is told, and after it the scanner scans on', async () => {
  await page.getByLabel('Sheets').fill('3');
  await button('Load').click();
  await page.getByLabel('What happens in the next scan').selectOption('Paper jam');
  await page.getByLabel('at sheet').fill('2');
  await button('Set').click();
  await shows('#feeder-line', 'Waiting: paper jam at sheet 2.');
  await scanner.scan('--resolution', '75');
  await shows('#scanner-word', 'paper jam');
  await shows('#job-state', 'Aborted');
  assert.equal(await page.locator('#scanner-state').getAttribute('data-tone'), 'bad');

  await button('Open hatch').click();
  await button('Take out').click();
  await button('Close hatch').click();
  await shows('#scanner-word', 'Idle');
  await button('Load').click();
  await shows('#feeder-line', '3 sheets');
  assert.equal(await scanner.scan('--resolution', '75'), true);
  await shows('#job-state', 'Completed');
});

test('names of strangers are text', async () => {
  const name = '<img src=x onerror=document.title=1>';
  await scanner.store(name, '');
  await scanner.subscribe(name, '<b>Bold</b>');
  await shows('#stored', name);
  await shows('#destinations', name);
  assert.equal(await page.locator('#stored img, #destinations img, #destinations b').count(), 0);
  assert.equal(await page.locator('#destinations option').first().textContent(), '<b>Bold</b>');
  assert.match(await page.title(), /front panel/);
});

test('a preview draws the curve of its settings', async () => {
  await button('Put on glass').click();
  await shows('#glass-line', 'chart');
  const curves = [];
  for (const gamma of ['120', '300']) {
    await page.getByLabel('Gamma').fill(gamma);
    await button('Preview scan').click();
    await pagesAre(curves.length + 1);
    await shows('#job-state', 'Completed');
    const { curve } = (await scanner.state()).tone;
    const drawn = await page.locator('#curve-line').getAttribute('points');
    const heights = drawn.split(' ').map((point) => (256 - Number(point.split(',')[1])) * 255 / 256);
    assert.deepEqual(heights.map(Math.round), curve);
    curves.push(curve.join());
  }
  assert.notEqual(curves[0], curves[1]);
});

test('what the scanner refuses is told, and a switch falls back', async () => {
  await page.getByLabel('From').selectOption('feeder');
  await button('Preview scan').click();
  await page.locator('#problem').waitFor();
  assert.equal(await page.locator('#problem').getAttribute('role'), 'alert');
  await page.route('**/actions', (route) => route.fulfill({ status: 409, json: { error: 'Not now.' } }));
  await page.getByLabel('Wi-Fi', { exact: true }).click();
  await shows('#problem', 'Not now.');
  assert.equal(await page.getByLabel('Wi-Fi', { exact: true }).isChecked(), false);
});

test('a lost scanner is told', async () => {
  await page.evaluate(() => { window.stillHere = true; });
  scanner.child.kill();
  await shows('#scanner-word', 'No connection');
  assert.equal(await page.evaluate(() => window.stillHere), true);
});
