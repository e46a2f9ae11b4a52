// How the page looks, and how it is reached without a mouse.
import assert from 'node:assert/strict';
import { mkdir } from 'node:fs/promises';
import { join } from 'node:path';
import { before, test } from 'node:test';
import { open, page, pagesAre, scanner, shows } from './fixture.mjs';

const pictures = process.env.VARN_PICTURES;
before(() => mkdir(pictures, { recursive: true }));

/** Every text's contrast against the first opaque ground behind it, the lowest first. */
function lowContrast() {
  const canvas = document.createElement('canvas').getContext('2d');
  const channels = (color) => {
    canvas.clearRect(0, 0, 1, 1);
    canvas.fillStyle = color;
    canvas.fillRect(0, 0, 1, 1);
    return [...canvas.getImageData(0, 0, 1, 1).data];
  };
  const light = (color) => {
    const [r, g, b] = channels(color).map((c) => c / 255)
      .map((c) => (c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4));
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  const ground = (element) => {
    const own = element ? getComputedStyle(element).backgroundColor : 'Canvas';
    return !element || channels(own)[3] === 255 ? own : ground(element.parentElement);
  };
  const found = [];
  for (const element of document.querySelectorAll('body *')) {
    const hasText = [...element.childNodes].some((n) => n.nodeType === 3 && n.data.trim());
    if (!hasText || !element.checkVisibility()) continue;
    const style = getComputedStyle(element);
    const color = element instanceof SVGElement ? style.fill : style.color;
    const [a, b] = [light(color), light(ground(element))].sort((x, y) => y - x);
    found.push({ text: element.textContent.trim().slice(0, 30), ratio: (a + 0.05) / (b + 0.05) });
  }
  return found.sort((x, y) => x.ratio - y.ratio);
}

/** Walks the page with the Tab key; tells what it met. */
async function walkWithTab() {
  const met = [];
  for (let i = 0; i < 100; ++i) {
    await page.keyboard.press('Tab');
    const at = await page.evaluate(() => {
      const e = document.activeElement;
      if (e === document.body) return null;
      const name = e.getAttribute('aria-label') || e.labels?.[0]?.textContent || e.textContent ||
        e.querySelector?.('img')?.alt || document.getElementById(e.getAttribute('aria-labelledby'))?.textContent || '';
      const again = e.dataset.met;
      e.dataset.met = 'yes';
      return { id: e.id, name: name.trim(), ring: getComputedStyle(e).outlineStyle, again };
    });
    if (!at || at.again) break;
    met.push(at);
  }
  return met;
}

for (const colorScheme of ['light', 'dark']) {
  test(`phone to desk, ${colorScheme}: nothing overflows, everything is readable`, async () => {
    await scanner.act('glass.put', { picture: 'chart' });
    await scanner.act('preview.start', { source: 'glass', gamma: 260 });
    await pagesAre(1);
    await shows('#job-state', 'Completed');
    await scanner.store('Invoices <March>', '4711');
    await scanner.subscribe('Anna’s desk', 'Save as PDF', 'E-mail');
    await scanner.subscribe('x'.repeat(60), 'A shortcut with quite a long name');
    await scanner.act('feeder.load', { count: 3 });
    assert.equal(await scanner.scan('--resolution', '100'), true);
    await scanner.act('feeder.load', { count: 8 });
    await scanner.act('folders.put', { name: 'n'.repeat(60), path: `//host/${'p'.repeat(80)}`, user: 'ann', password: 'x' });
    await scanner.act('addressbook.put', { address: `${'a'.repeat(80)}@example.org` });
    await scanner.act('mail.put', { values: { ServerName: 's'.repeat(80), EmailAddress: 'a@b' } });
    await scanner.prepareSharePoint('j'.repeat(60), `https://host/${'p'.repeat(80)}`);
    await scanner.ctl('wear', 'rollers', 'now');
    for (const [name, width] of [['phone', 390], ['tablet', 800], ['desk', 1280]]) {
      await open({ viewport: { width, height: 900 }, colorScheme, reducedMotion: 'reduce' });
      await pagesAre(4);
      await shows('#destinations', 'Anna');
      await shows('#folders', 'ann');
      await shows('#sharepoint', 'https');
      await shows('#due', 'separation pad');
      const wider = await page.evaluate(() => document.documentElement.scrollWidth - innerWidth);
      assert.ok(wider <= 0, `${name}: ${wider} pixels too wide`);
      const [worst] = await page.evaluate(lowContrast);
      assert.ok(worst.ratio >= 4.5, `${name}: ${worst.text} has contrast ${worst.ratio}`);
      await page.screenshot({ path: join(pictures, `${name}-${colorScheme}.png`), fullPage: true });
    }
  });
}

test('the keyboard reaches everything in the order of the page, with a ring and a name', async () => {
  await scanner.subscribe('Desk', 'Letters');
  await scanner.store('Rent', '');
  await shows('#destinations', 'Desk');
  await shows('#stored', 'Rent');
  const expected = await page.evaluate(() =>
    [...document.querySelectorAll('a[href], button, input, select, [tabindex="0"]')]
      .filter((e) => e.checkVisibility() && !e.closest('dialog')).length);
  const met = await walkWithTab();
  assert.equal(met.length, expected);
  assert.equal(met[0].name, 'Skip to the panel');
  for (const at of met) {
    assert.ok(at.name, `no name: ${JSON.stringify(at)}`);
    assert.equal(at.ring, 'solid', at.name);
  }
  const ids = met.map((at) => at.id);
  assert.ok(ids.indexOf('load-count') < ids.indexOf('glass-picture'));
  assert.ok(ids.indexOf('glass-picture') < ids.indexOf('preview-source'));
});

test('nothing moves for those who asked for rest', async () => {
  await open({ reducedMotion: 'reduce' });
  const moving = () => page.evaluate(() => {
    document.getElementById('scanner-state').dataset.tone = 'busy';
    const of = (selector) => getComputedStyle(document.querySelector(selector));
    return [of('.lamp').animationName, of('.hatch').transitionProperty];
  });
  assert.deepEqual(await moving(), ['none', 'none']);
  await open({ reducedMotion: 'no-preference' });
  assert.deepEqual(await moving(), ['pulse', 'transform']);
});
