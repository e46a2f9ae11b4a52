// Maintenance and settings on the page: what is due, lists, mail, clock and SharePoint jobs.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { button, page, scanner, shows } from './fixture.mjs';

const dialog = () => page.locator('#edit-dialog');
const closed = () => dialog().waitFor({ state: 'hidden' });
const focused = () => page.evaluate(() => document.activeElement.id || document.activeElement.ariaLabel);

async function send(word, values = {}) {
  for (const [label, value] of Object.entries(values))
    await dialog().getByLabel(label, { exact: true }).fill(value);
  await button(word, dialog()).click();
}

test('what is due is told at the top, and OK takes it away', async () => {
  await scanner.ctl('wear', 'clean', 'now');
  await shows('#due', 'Due: clean the rollers');
  await button('OK: Clean the rollers').focus();
  await page.keyboard.press('Enter');
  await shows('#alerts-line', 'Nothing is due.');
  await page.locator('#due').waitFor({ state: 'hidden' });
  assert.equal(await focused(), 'h-maintenance');
});

test('a folder is added, changed without its secrets, and deleted once it is confirmed', async () => {
  const name = '<img src=x onerror=alert(1)>';
  await button('Add a folder').click();
  await send('Save', { Name: name, 'Network path': '//host/scans', User: 'ann', Password: 's3cret', PIN: '4711' });
  await shows('#folders', '//host/scans · as ann · with password · with PIN');
  assert.equal(await page.locator('#folders img').count(), 0);
  await closed();
  assert.equal(await focused(), 'folders-add');

  await button(`Change ${name}`).click();
  assert.equal(await dialog().getByLabel('Password', { exact: true }).inputValue(), '');
  await dialog().getByLabel('Remove the stored PIN').check();
  await send('Save', { 'Network path': '//other' });
  await shows('#folders', '//other · as ann · with password');
  const [folder] = (await scanner.settings()).folders;
  assert.deepEqual([folder.has_password, folder.has_pin], [true, false]);
  await closed();
  assert.equal(await focused(), `Change ${name}`);

  await button(`Delete ${name}`).click();
  await button('Back', dialog()).click();
  assert.equal((await scanner.settings()).folders.length, 1);
  await button(`Delete ${name}`).click();
  await send('Delete');
  await shows('#folders', 'No folders yet.');
  await closed();
  assert.equal(await focused(), 'h-folders');
});

test('an entry that another page has moved meanwhile is not the one that is deleted', async () => {
  await scanner.act('addressbook.put', { address: 'first@example.org' });
  await scanner.act('addressbook.put', { address: 'second@example.org' });
  await button('Delete first@example.org').click();
  await scanner.act('addressbook.delete', { row: 1, was: 'first@example.org' });
  await send('Delete');
  await shows('#edit-error', 'not there any more');
  await button('Back', dialog()).click();
  await button('Delete second@example.org').waitFor();
  await page.locator('#addressbook').filter({ hasNotText: 'first' }).waitFor();
  assert.equal((await scanner.settings()).addressbook.length, 1);
});

test('what does not fit is told in the dialog, by bytes, and nothing is lost', async () => {
  await button('Change the mail server').click();
  await send('Save', { Server: 'ä'.repeat(129), Port: '587' });
  await shows('#edit-error', 'Server is too long: at most 256 bytes.');
  assert.equal(await dialog().getByLabel('Port').inputValue(), '587');
  await page.route('**/actions', (route) => route.fulfill({ status: 409, json: { error: 'Not now.' } }));
  await send('Save', { Server: 'ä'.repeat(128) });
  await shows('#edit-error', 'Not now.');
  await page.unroute('**/actions');
  await send('Save');
  await shows('#mail', 'ä, port 587');
});

test('the password of the mail server stays until it is removed', async () => {
  await button('Change the mail server').click();
  await send('Save', { Server: 'mail', Password: 's3cret' });
  await shows('#mail', 'stored');
  await button('Change the mail server').click();
  await dialog().getByLabel('Secure connection').selectOption('off');
  await send('Save');
  await shows('#mail', 'Secure connectionoff');
  assert.equal((await scanner.settings()).mail.has_Password, true);
  await button('Change the mail server').click();
  await dialog().getByLabel('Remove the stored password').check();
  await send('Save');
  await page.locator('#mail').filter({ hasNotText: 'stored' }).waitFor();
  assert.equal((await scanner.settings()).mail.has_Password, false);
});

test('the zone of the clock is chosen by its name', async () => {
  await shows('#clock-zone', 'Coordinated Universal Time');
  await button('Change zone').click();
  await dialog().getByLabel('Zone').selectOption({ label: '(GMT-05:00) Eastern Time (US & Canada)' });
  await send('Save');
  await shows('#clock-zone', 'Eastern Time');
  const clock = await (await fetch(`${scanner.url}/TimeService/RTCSetting`)).text();
  assert.match(clock, />\(GMT-05:00\) Eastern Time \(US &amp; Canada\)</);
});

test('a SharePoint job that a host has prepared is shown and tested', async () => {
  await scanner.prepareSharePoint('<b>Bills</b>', 'https://share.example/bills');
  await page.evaluate(() => window.dispatchEvent(new Event('focus')));
  await shows('#sharepoint', 'https://share.example/bills');
  assert.equal(await page.locator('#sharepoint b').count(), 0);
  await scanner.ctl('sharepoint', 'wrong-credentials', '300');
  await button('Test <b>Bills</b>').click();
  await shows('#sharepoint-test', 'being tested');
  await shows('#sharepoint-test', 'user or password were refused');
});
